#include "ActionDrags.h"
#include "ActionMimeData.h"
#include "KRXTest.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QUndoStack>

#include <memory>

using namespace ActionsWorld;

namespace {

/// An editor that is shown, with its actions open: Copy 1, Consolidate, Transcode 1.
class ShownEditor : public Editor
{
public:
    ShownEditor()
    {
        section = findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget"));
        controller = getAllActionsController();
        for (int count = 0; count < 3; ++count)
            controller->addNewAction();
        rows = controller->rows();
        section->setOpen(true);
        getProfilesBox()->addItems({QStringLiteral("A"), QStringLiteral("B")});
        clearModified();
        show();
        activateWindow();
    }

    /// The types of the rows, from top to bottom.
    QList<int> order() const
    {
        QList<ActionTWidget*> sorted = controller->rows();
        std::sort(sorted.begin(), sorted.end(), [](const ActionTWidget* a, const ActionTWidget* b) {
            return a->getActionIndex() < b->getActionIndex();
        });
        QList<int> types;
        for (const ActionTWidget* row : qAsConst(sorted))
            types << int(row->getCurrentAction()->getType());
        return types;
    }

    /// The rows that are drawn as selected.
    QList<ActionTWidget*> drawnSelected() const
    {
        QList<ActionTWidget*> selected;
        for (ActionTWidget* row : controller->rows()) {
            if (row->isSelected())
                selected << row;
        }
        return selected;
    }

    /// Presses Tab until \a wanted has the focus. \return what the focus went through, \a wanted included;
    /// nothing when it never got there.
    QList<QWidget*> tabTo(const QWidget* wanted)
    {
        QList<QWidget*> way;
        for (int presses = 0; presses < 500; ++presses) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            way << QApplication::focusWidget();
            if (way.last() == wanted)
                return way;
        }
        return {};
    }

    KRXTwistWidget* section;
    ProfileActionsController* controller;
    QList<ActionTWidget*> rows;
};

constexpr int kCopy = int(ActionType::Copy);
constexpr int kConsolidate = int(ActionType::Consolidate);
constexpr int kTranscode = int(ActionType::Transcode);

void press(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::keyClick(QApplication::focusWidget(), Qt::Key(key), modifiers);
}

} // namespace

/// The list of actions without a mouse.
class TestActionKeys : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<ShownEditor> m_editor;

private slots:
    void init()
    {
        reset();
        m_editor = std::make_unique<ShownEditor>();
        QVERIFY(QTest::qWaitForWindowActive(m_editor.get()));
    }

    void cleanup()
    {
        m_editor->clearModified();
        m_editor.reset();
    }

    void altAndArrowsMoveTheRowThatIsTheFocus()
    {
        m_editor->rows.first()->setFocus();
        press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kCopy, kTranscode}));
        QVERIFY(m_editor->isModified());
        press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kTranscode, kCopy}));
        press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kCopy, kTranscode}));
        QCOMPARE(QApplication::focusWidget(), m_editor->rows.first());
    }

    void altAndArrowsMoveTheRowThatTheFocusIsIn()
    {
        ActionTWidget* row = m_editor->rows.at(1);
        row->setOpen(true);
        auto* check = row->findChild<QCheckBox*>(QStringLiteral("videoSkipOnTarget"));
        check->setFocus();
        press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kCopy, kTranscode, kConsolidate}));
        QCOMPARE(QApplication::focusWidget(), check);
        // Whatever was selected otherwise.
        m_editor->rows.first()->select();
        press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kCopy, kConsolidate, kTranscode}));
    }

    void altDownOpensTheListOfABox_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("of the profiles") << QStringLiteral("profilesBox");
        QTest::newRow("of a row's options") << QStringLiteral("videoProjectType");
        QTest::newRow("of a row's type") << QString();
    }

    void altDownOpensTheListOfABox()
    {
        QFETCH(QString, name);
        ActionTWidget* row = m_editor->rows.at(1);
        row->setOpen(true);
        row->findChild<QCheckBox*>(QStringLiteral("performTranscodeIfConsolidateFails"))->setChecked(true);
        row->select();
        QComboBox* box =
            name.isEmpty() ? row->findChild<ActionTypeBox*>() : m_editor->findChild<QComboBox*>(name);
        box->setFocus();
        QCOMPARE(QApplication::focusWidget(), box);
        press(Qt::Key_Down, Qt::AltModifier);
        QVERIFY(box->view()->isVisible());
        box->hidePopup();
        QCOMPARE(m_editor->order(), QList<int>({kCopy, kConsolidate, kTranscode}));
    }

    void altAndArrowsDoNothingElsewhere()
    {
        m_editor->rows.first()->select();
        m_editor->findChild<QPushButton*>(QStringLiteral("addActionBtn"))->setFocus();
        press(Qt::Key_Down, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kCopy, kConsolidate, kTranscode}));
        QVERIFY(!m_editor->isModified());
    }

    void aRowIsSelectedByTheFocus()
    {
        for (ActionTWidget* row : m_editor->rows) {
            row->setFocus();
            QCOMPARE(m_editor->getCurrentSelectedAction(), row);
            QCOMPARE(m_editor->drawnSelected(), QList<ActionTWidget*>({row}));
        }
        // And by the focus of something in it.
        m_editor->rows.first()->findChild<ActionTypeBox*>()->setFocus();
        QCOMPARE(m_editor->getCurrentSelectedAction(), m_editor->rows.first());
        // What is somewhere else leaves it.
        m_editor->getProfilesBox()->setFocus();
        QCOMPARE(m_editor->drawnSelected(), QList<ActionTWidget*>({m_editor->rows.first()}));
    }

    void aClickGivesTheFocus() { QCOMPARE(m_editor->rows.first()->focusPolicy(), Qt::StrongFocus); }

    void everythingWorksFromTheKeyboardAlone()
    {
        m_editor->section->setOpen(false);
        m_editor->getProfilesBox()->setFocus();
        // Open the section, open the second row, move it up, remove it, bring it back.
        QVERIFY(!m_editor->tabTo(m_editor->section).isEmpty());
        press(Qt::Key_Space);
        QVERIFY(m_editor->section->isOpen());
        ActionTWidget* row = m_editor->rows.at(1);
        QVERIFY(!m_editor->tabTo(row).isEmpty());
        press(Qt::Key_Space);
        QVERIFY(row->isOpen());
        press(Qt::Key_Up, Qt::AltModifier);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kCopy, kTranscode}));
        press(Qt::Key_Delete);
        QCOMPARE(m_editor->order(), QList<int>({kCopy, kTranscode}));
        press(Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kCopy, kTranscode}));
        press(Qt::Key_Plus);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kCopy, kTranscode, kTranscode}));
    }

    void rowAfterRowIsRemovedByTheKeyAlone()
    {
        m_editor->rows.first()->setFocus();
        press(Qt::Key_Delete);
        QCOMPARE(m_editor->order(), QList<int>({kConsolidate, kTranscode}));
        // A removal leaves nothing selected, though the focus goes on to the next row.
        QVERIFY(!m_editor->getCurrentSelectedAction());
        QVERIFY(m_editor->drawnSelected().isEmpty());
        QCOMPARE(QApplication::focusWidget(), m_editor->rows.at(1));
        press(Qt::Key_Delete);
        QCOMPARE(m_editor->order(), QList<int>({kTranscode}));
    }

    void theTabKeyFollowsTheOrderOnScreen()
    {
        const QList<ActionTWidget*>& rows = m_editor->rows;
        const auto* cancel = m_editor->findChild<QPushButton*>(QStringLiteral("KRX_CancelBtn"));
        const auto* save = m_editor->findChild<QPushButton*>(QStringLiteral("KRX_SaveBtn"));
        const auto verifyOrder = [&](const QList<ActionTWidget*>& expected) {
            m_editor->getProfilesBox()->setFocus();
            const QList<QWidget*> way = m_editor->tabTo(save);
            QList<ActionTWidget*> passed;
            for (QWidget* widget : way) {
                if (auto* row = qobject_cast<ActionTWidget*>(widget))
                    passed << row;
                // What is in a row comes before the next one.
                for (ActionTWidget* row : m_editor->rows)
                    QVERIFY(!row->isAncestorOf(widget) || row == passed.last());
            }
            QCOMPARE(passed, expected);
            // The boxes of a row follow their row.
            for (ActionTWidget* row : expected)
                QCOMPARE(way.indexOf(row->findChild<ActionTypeBox*>()), way.indexOf(row) + 1);
            QVERIFY(way.size() > 2);
            QCOMPARE(way.at(way.size() - 2), cancel);
        };
        verifyOrder({rows.at(0), rows.at(1), rows.at(2)});
        rows.first()->select();
        m_editor->controller->moveSelectedDown();
        verifyOrder({rows.at(1), rows.at(0), rows.at(2)});
        m_editor->controller->removeAction();
        verifyOrder({rows.at(1), rows.at(0)});
        m_editor->controller->undoStack()->undo();
        verifyOrder({rows.at(1), rows.at(0), rows.at(2)});
        ActionMimeData dragged(rows.at(1));
        DragEvents(&dragged).drop(rows.at(2));
        verifyOrder({rows.at(0), rows.at(2), rows.at(1)});
        // Options that came with another type stand behind their row's box.
        rows.at(0)->setOpen(true);
        rows.at(0)->findChild<ActionTypeBox*>()->setCurrentIndex(kTranscode);
        verifyOrder({rows.at(0), rows.at(2), rows.at(1)});
    }

    void theFocusIsVisible()
    {
        for (KRXTwistWidget* section : {m_editor->section, static_cast<KRXTwistWidget*>(m_editor->rows[0])}) {
            m_editor->rows.first()->select();
            m_editor->getProfilesBox()->setFocus();
            const QImage without = section->grab().toImage();
            QVERIFY(!m_editor->tabTo(section).isEmpty());
            QVERIFY(section->grab().toImage() != without);
            section->setUseTransparentBackground(true);
            const QImage focused = section->grab().toImage();
            m_editor->getProfilesBox()->setFocus();
            QVERIFY(section->grab().toImage() != focused);
        }
    }

    void theSpaceBarOpensNothingThatIsDisabledOrNotTheFocus()
    {
        ActionTWidget* row = m_editor->rows.first();
        row->findChild<ActionTypeBox*>()->setFocus();
        QTest::keyClick(row, Qt::Key_Space);
        QVERIFY(!row->isOpen());
        row->setFocus();
        press(Qt::Key_Space);
        QVERIFY(row->isOpen());
        press(Qt::Key_Space);
        QVERIFY(!row->isOpen());
        row->setEnabled(false);
        QTest::keyClick(row, Qt::Key_Space);
        QVERIFY(!row->isOpen());
    }
};

QTEST_MAIN(TestActionKeys)
#include "test_action_keys.moc"

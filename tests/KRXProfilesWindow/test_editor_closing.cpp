#include "ActionTWidget.h"
#include "EditorUnderTest.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"

#include <QApplication>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

/// Closing the editor, and its keys.
class TestEditorClosing : public QObject, private EditorTest
{
    Q_OBJECT

private slots:
    void init() { start(); }
    void cleanup() { stop(); }

    // --- Closing ----------------------------------------------------------------------------------------

    void closingAnUnchangedEditorAsksNothing()
    {
        Editor editor;
        editor.show();
        editor.cancelBtnPressed();
        QVERIFY(!editor.isVisible());
        QVERIFY(StandInHost::messageLog().isEmpty());
        QCOMPARE(editor.result(), int(QDialog::Accepted));
    }

    void closingAChangedEditorAsksAndCancelKeepsItOpen()
    {
        Editor editor;
        editor.show();
        editor.updateModifiedState();
        answerWith(QMessageBox::Cancel);
        editor.cancelBtnPressed();
        QVERIFY(editor.isVisible());
        QCOMPARE(onlyMessage().title, QString());
        QCOMPARE(onlyMessage().text, QStringLiteral("Exit without saving profile ?"));
        QCOMPARE(onlyMessage().icon, QMessageBox::Question);
        QCOMPARE(onlyMessage().buttons, QMessageBox::StandardButtons(QMessageBox::Ok | QMessageBox::Cancel));
        QCOMPARE(onlyMessage().defaultButton, QMessageBox::Ok);
        answerWith(QMessageBox::Ok);
        editor.cancelBtnPressed();
        QVERIFY(!editor.isVisible());
    }

    void escapeAsksAboutUnsavedChangesToo()
    {
        Editor editor;
        editor.show();
        editor.updateModifiedState();
        answerWith(QMessageBox::Cancel);
        QTest::keyClick(&editor, Qt::Key_Escape);
        QVERIFY(editor.isVisible());
        QCOMPARE(onlyMessage().text, QStringLiteral("Exit without saving profile ?"));
    }

    void theEditorMayGoAwayWhileItAsks()
    {
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        editor->show();
        editor->updateModifiedState();
        StandInHost::setMessageAnswerer([panel](const StandInHost::MessageRequest&) {
            delete panel;
            return QMessageBox::Cancel;
        });
        const QPointer<Editor> guard(editor);
        editor->close();
        QVERIFY(!guard);
    }

    void theEditorMayGoAwayWhileTheSaveDialogIsOpen()
    {
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        editor->show();
        QTimer::singleShot(0, qApp, [panel] { delete panel; });
        const QPointer<Editor> guard(editor);
        editor->saveBtnPressed();
        QVERIFY(!guard);
        QVERIFY(m_service->requests().isEmpty());
    }

    void theEditorMayGoAwayWhileItAsksToDelete()
    {
        m_service->addProfile(QStringLiteral("x"), QStringLiteral("A"));
        m_service->load();
        auto* panel = new QWidget;
        auto* editor = new Editor(panel);
        m_service->open(*editor, QStringLiteral("x"));
        StandInHost::setMessageAnswerer([panel](const StandInHost::MessageRequest&) {
            delete panel;
            return QMessageBox::Yes;
        });
        editor->delBtnPressed();
        QVERIFY(m_service->requests().isEmpty());
    }

    // --- Keys -------------------------------------------------------------------------------------------

    void plusAndMinusWorkOnlyWhileTheActionsAreOpen()
    {
        Editor editor;
        editor.show();
        auto* section = editor.child<KRXTwistWidget>("xelSettingsTwistWidget");
        QVERIFY(!section->isOpen());
        QKeyEvent plus(QEvent::KeyPress, Qt::Key_Plus, Qt::NoModifier, QStringLiteral("+"));
        QApplication::sendEvent(&editor, &plus);
        QVERIFY(!plus.isAccepted());
        QVERIFY(!editor.getAllActionsController()->findAction(ActionType::Copy));

        section->setOpen(true);
        QKeyEvent plusAgain(QEvent::KeyPress, Qt::Key_Plus, Qt::NoModifier, QStringLiteral("+"));
        QApplication::sendEvent(&editor, &plusAgain);
        QVERIFY(plusAgain.isAccepted());
        QVERIFY(editor.getAllActionsController()->findAction(ActionType::Copy));
    }

    void minusOrDeleteRemovesTheSelectedActionAndControlZBringsItBack_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("minus") << Qt::Key_Minus;
        QTest::newRow("delete") << Qt::Key_Delete;
    }

    void minusOrDeleteRemovesTheSelectedActionAndControlZBringsItBack()
    {
        QFETCH(Qt::Key, key);
        Editor editor;
        editor.show();
        auto* section = editor.child<KRXTwistWidget>("xelSettingsTwistWidget");
        section->setOpen(true);
        QTest::keyClick(&editor, Qt::Key_Plus);
        auto* controller = editor.getAllActionsController();
        QVERIFY(controller->findAction(ActionType::Copy));
        KRXTwistWidget* row = nullptr;
        for (KRXTwistWidget* candidate : editor.findChildren<KRXTwistWidget*>()) {
            if (candidate->inherits("ActionTWidget"))
                row = candidate;
        }
        QVERIFY(row);
        editor.setCurrentSelectedAction(row);
        section->setOpen(false);
        QKeyEvent whileClosed(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&editor, &whileClosed);
        QVERIFY(!whileClosed.isAccepted());
        QVERIFY(controller->findAction(ActionType::Copy));
        section->setOpen(true);
        QTest::keyClick(&editor, key);
        QVERIFY(!controller->findAction(ActionType::Copy));
        QVERIFY(!editor.getCurrentSelectedAction());

        QKeyEvent plainZ(QEvent::KeyPress, Qt::Key_Z, Qt::NoModifier, QStringLiteral("z"));
        QApplication::sendEvent(&editor, &plainZ);
        QVERIFY(!plainZ.isAccepted());
        QVERIFY(!controller->findAction(ActionType::Copy));
        editor.heights.clear();
        QTest::keyClick(&editor, Qt::Key_Z, Qt::ControlModifier);
        QVERIFY(controller->findAction(ActionType::Copy));
        QVERIFY(!editor.heights.isEmpty());
        editor.setCurrentSelectedAction(row);
        QTest::keyClick(&editor, Qt::Key_Y, Qt::ControlModifier);
        QVERIFY(!controller->findAction(ActionType::Copy));
        QVERIFY(!editor.getCurrentSelectedAction());
        QKeyEvent nothingToRedo(QEvent::KeyPress, Qt::Key_Y, Qt::ControlModifier);
        QApplication::sendEvent(&editor, &nothingToRedo);
        QVERIFY(!nothingToRedo.isAccepted());
    }

    void theButtonRemovesTheSelectedAction()
    {
        Editor editor;
        ProfileActionsController* controller = editor.getAllActionsController();
        editor.child<QPushButton>("addActionBtn")->click();
        QVERIFY(controller->findAction(ActionType::Copy));
        editor.setCurrentSelectedAction(controller->rows().constFirst());
        editor.child<QPushButton>("delActionBtn")->click();
        QVERIFY(!controller->findAction(ActionType::Copy));
        QVERIFY(!editor.getCurrentSelectedAction());
        editor.getProfileState()->setModified(false);
    }

    void undoingLaysOutWhatIsClosedToo()
    {
        Editor editor;
        editor.show();
        ProfileActionsController* controller = editor.getAllActionsController();
        controller->addNewAction();
        const QWidget* body = controller->rows().constFirst()->parentWidget();
        editor.setCurrentSelectedAction(controller->rows().constFirst());
        controller->removeAction();
        const int without = body->minimumHeight();
        editor.heights.clear();
        QTest::keyClick(&editor, Qt::Key_Z, Qt::ControlModifier);
        const int with = body->minimumHeight();
        QVERIFY(with > without);
        QCOMPARE(editor.heights.size(), 1);
        QTest::keyClick(&editor, Qt::Key_Y, Qt::ControlModifier);
        QCOMPARE(body->minimumHeight(), without);
        QCOMPARE(editor.heights.size(), 2);
        editor.getProfileState()->setModified(false);
    }

    void enterPressesOnlySave()
    {
        Editor editor;
        editor.show();
        editor.child<KRXTwistWidget>("xelSettingsTwistWidget")->setOpen(true);
        QTest::keyClick(&editor, Qt::Key_Plus);
        for (QPushButton* button : editor.findChildren<QPushButton*>()) {
            const bool isSave = button->objectName() == QLatin1String("KRX_SaveBtn");
            QCOMPARE(button->autoDefault(), isSave);
            QCOMPARE(button->isDefault(), isSave);
        }
    }
};

QTEST_MAIN(TestEditorClosing)
#include "test_editor_closing.moc"

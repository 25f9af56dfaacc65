#include "ActionTWidget.h"
#include "ActionTypeBox.h"
#include "ActionsWorld.h"
#include "IAction.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"

#include <QApplication>
#include <QCheckBox>
#include <QLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

using namespace ActionsWorld;

/// The actions in the editor as it opens: everything can be read without scrolling sideways.
class TestEditorWidth : public QObject
{
    Q_OBJECT

private:
    static void speak(const QString& language)
    {
        reset();
        StandInHost::resetMedia();
        StandInHost::setLanguage(language);
    }

    static void addLanguages()
    {
        QTest::addColumn<QString>("language");
        for (const char* language : {"en", "de"})
            QTest::newRow(language) << QString::fromLatin1(language);
    }

    static QImage pictureOf(ActionTypeBox& box, const QString& text)
    {
        box.setItemText(0, text);
        return box.grab().toImage();
    }

private slots:
    void cleanup() { reset(); }

    void noActionNeedsAHorizontalScrollBar_data() { addLanguages(); }

    void noActionNeedsAHorizontalScrollBar()
    {
        QFETCH(QString, language);
        speak(language);
        Editor editor;
        ProfileActionsController* controller = editor.getAllActionsController();
        for (int count = 0; count < 3; ++count)
            controller->addNewAction();
        editor.show();
        editor.findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget"))->setOpen(true);
        const QScrollArea* area = editor.getScrollArea();
        const int width = editor.width();
        for (ActionTWidget* row : controller->rows()) {
            row->setOpen(true);
            QCoreApplication::processEvents();
            QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
            // Nor beside a vertical one.
            editor.resize(width, 300);
            QCoreApplication::processEvents();
            QVERIFY(area->verticalScrollBar()->isVisible());
            QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
            QCOMPARE(editor.width(), width);
            const QWidget* options = row->getCurrentAction()->widget();
            for (const QCheckBox* check : options->findChildren<QCheckBox*>())
                QVERIFY2(check->minimumSizeHint().width() <= check->width(), qPrintable(check->text()));
            QVERIFY(options->layout()->minimumSize().height() <= options->height());
            row->setOpen(false);
        }
        editor.clearModified();
    }

    void everyTypeCanBeReadInItsBox_data() { addLanguages(); }

    void everyTypeCanBeReadInItsBox()
    {
        QFETCH(QString, language);
        speak(language);
        for (int type = 0; type < kActionTypeCount; ++type) {
            ActionTypeBox box(nullptr);
            box.show();
            QCOMPARE(box.size(), QSize(150, 20));
            const QString text = box.itemText(type);
            // A text whose end is cut off looks like one with another end.
            const QString other = text.chopped(1) + QLatin1Char('#');
            QVERIFY2(pictureOf(box, text) != pictureOf(box, other), qPrintable(text));
        }
    }

    void theSetButtonOfACopyCanBeRead_data() { addLanguages(); }

    void theSetButtonOfACopyCanBeRead()
    {
        QFETCH(QString, language);
        speak(language);
        Editor editor;
        editor.getAllActionsController()->addNewAction();
        editor.findChild<KRXTwistWidget*>(QStringLiteral("xelSettingsTwistWidget"))->setOpen(true);
        ActionTWidget* row = editor.getAllActionsController()->rows().first();
        row->setOpen(true);
        editor.show();
        const auto* button = row->getCurrentAction()->widget()->findChild<QPushButton*>();
        QCOMPARE(button->size(), QSize(25, 20));
        QVERIFY(QFontMetrics(button->font()).horizontalAdvance(button->text()) <= button->width());
        editor.clearModified();
    }
};

QTEST_MAIN(TestEditorWidth)
#include "test_editor_width.moc"

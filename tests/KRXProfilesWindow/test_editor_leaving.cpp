#include "EditorUnderTest.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "ProfileActionsController.h"

#include <QEventLoop>
#include <QMetaMethod>
#include <QPointer>
#include <QPushButton>

/// Another profile is chosen while the one in the editor has changes that were not saved.
class TestEditorLeaving : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<EditorFixture> m_service;
    std::unique_ptr<Editor> m_editor;

    QString shown() const { return m_editor->child<KRXSummaryWidget>("summaryWidget")->item(0, 1)->text(); }
    QString chosen() const { return m_editor->getProfilesBox()->currentText(); }
    void choose(const char* name)
    {
        QComboBox* box = m_editor->getProfilesBox();
        box->setCurrentIndex(box->findText(QLatin1String(name)));
    }

    /// The host asks for the editor's end and runs an event loop. \return whether the editor is there yet.
    static bool outlives(const QPointer<Editor>& editor)
    {
        editor->deleteLater();
        QEventLoop box;
        QTimer::singleShot(0, &box, &QEventLoop::quit);
        box.exec();
        return editor;
    }

private slots:
    void init()
    {
        m_service = std::make_unique<EditorFixture>();
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"), bins("CREATENEW"));
        m_service->addProfile(QStringLiteral("2"), QStringLiteral("Beta"), bins("USEACTIVE"));
        m_service->addProfile(QStringLiteral("3"), QStringLiteral("Gamma"), bins("CREATENEW"));
        m_service->load();
        m_editor = std::make_unique<Editor>();
        m_service->open(*m_editor, QStringLiteral("1"));
    }

    void cleanup()
    {
        m_editor.reset();
        m_service.reset();
    }

    void anUnchangedProfileIsLeftWithoutAQuestion()
    {
        choose("Beta");
        QVERIFY(m_editor->askedToLeave.isEmpty());
        QCOMPARE(shown(), QStringLiteral("Use Active Bin"));
    }

    void theModuleItselfLetsAChangedProfileGo()
    {
        m_editor->updateModifiedState();
        choose("Beta");
        QCOMPARE(m_editor->askedToLeave, QStringList(QStringLiteral("Alpha")));
        QCOMPARE(shown(), QStringLiteral("Use Active Bin"));
        QVERIFY(m_editor->getProfileState()->isModified());
    }

    void theHostIsAskedBeforeAnythingIsLoaded()
    {
        m_editor->updateModifiedState();
        QString shownWhenAsked;
        QString chosenWhenAsked;
        m_editor->leave = [&] {
            shownWhenAsked = shown();
            chosenWhenAsked = chosen();
            m_editor->getProfileState()->setModified(false);
            return true;
        };
        choose("Beta");
        QCOMPARE(shownWhenAsked, QStringLiteral("Create a new Bin : "));
        QCOMPARE(chosenWhenAsked, QStringLiteral("Beta"));
        QCOMPARE(shown(), QStringLiteral("Use Active Bin"));
        QVERIFY(!m_editor->getProfileState()->isModified());
    }

    void aHostThatSaysNoGoesBackToTheChangedProfile()
    {
        m_editor->getAllActionsController()->addNewAction();
        m_editor->leave = [] { return false; };
        choose("Beta");
        QCOMPARE(chosen(), QStringLiteral("Alpha"));
        QCOMPARE(shown(), QStringLiteral("Create a new Bin : "));
        QVERIFY(m_editor->getAllActionsController()->findAction(ActionType::Copy));
        QVERIFY(m_editor->getProfileState()->isModified());
        // Going back was nobody's choice and asks nothing; the next choice does, of the same profile.
        choose("Gamma");
        QCOMPARE(m_editor->askedToLeave, QStringList({QStringLiteral("Alpha"), QStringLiteral("Alpha")}));
        QCOMPARE(chosen(), QStringLiteral("Alpha"));
    }

    void theProfileThatWasLoadedLastIsTheOneThatIsAskedAbout()
    {
        choose("Beta");
        m_editor->updateModifiedState();
        m_editor->leave = [] { return false; };
        choose("Gamma");
        QCOMPARE(m_editor->askedToLeave, QStringList(QStringLiteral("Beta")));
        QCOMPARE(chosen(), QStringLiteral("Beta"));
    }

    void fillingTheBoxAnewAsksNothing()
    {
        m_editor->updateModifiedState();
        m_editor->leave = [] { return false; };
        m_service->open(*m_editor, QStringLiteral("3"));
        QVERIFY(m_editor->askedToLeave.isEmpty());
        QCOMPARE(chosen(), QStringLiteral("Gamma"));
        QVERIFY(!m_editor->getProfileState()->isModified());
    }

    void aBoxThatIsFilledWhileTheHostAsksKeepsWhatWasFilled_data()
    {
        QTest::addColumn<bool>("answer");
        QTest::newRow("yes") << true;
        QTest::newRow("no") << false;
    }

    void aBoxThatIsFilledWhileTheHostAsksKeepsWhatWasFilled()
    {
        QFETCH(bool, answer);
        m_editor->updateModifiedState();
        m_editor->leave = [&] {
            m_service->open(*m_editor, QStringLiteral("3"));
            return answer;
        };
        choose("Beta");
        QCOMPARE(chosen(), QStringLiteral("Gamma"));
        QCOMPARE(shown(), QStringLiteral("Create a new Bin : "));
        QVERIFY(!m_editor->getProfileState()->isModified());
    }

    void anEditorThatIsToGoInAHookOfTheHostGoesAfterwards_data()
    {
        QTest::addColumn<QString>("button");
        QTest::newRow("audio tracks") << QString();
        QTest::newRow("saved") << QStringLiteral("KRX_SaveBtn");
        QTest::newRow("deleted") << QStringLiteral("delProfileBtn");
    }

    void anEditorThatIsToGoInAHookOfTheHostGoesAfterwards()
    {
        QFETCH(QString, button);
        const QPointer<Editor> editor(m_editor.release());
        QList<bool> wasThere;
        editor->inHook = [&] { wasThere << outlives(editor); };
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Yes; });
        answerSaveDialog(*editor, QStringLiteral("Mine"), "saveBtn");
        for (QPushButton* candidate : editor->findChildren<QPushButton*>()) {
            if (button.isEmpty() ? candidate->text() == QLatin1String("Edit...")
                                 : candidate->objectName() == button) {
                candidate->click();
                break;
            }
        }
        QCOMPARE(wasThere, QList<bool>({true}));
        QTRY_VERIFY(!editor);
    }

    void anEditorThatIsToGoWhileTheHostAsksGoesAfterwards()
    {
        const QPointer<Editor> editor(m_editor.release());
        editor->updateModifiedState();
        bool wasThere = false;
        editor->leave = [&] {
            wasThere = outlives(editor);
            return false;
        };
        editor->getProfilesBox()->setCurrentIndex(1);
        QVERIFY(wasThere);
        QTRY_VERIFY(!editor);
    }

    void theHooksOfTheCodecBoxesAreProtectedSlots()
    {
        const QMetaObject& meta = KRXProfilesWindow::staticMetaObject;
        for (const char* slot : {"updateCodecBox(CodecBox*)", "updateEncodingProfileBox(CodecBox*)"}) {
            const QMetaMethod method = meta.method(meta.indexOfSlot(slot));
            QVERIFY2(method.isValid(), slot);
            QCOMPARE(method.access(), QMetaMethod::Protected);
        }
    }
};

QTEST_MAIN(TestEditorLeaving)
#include "test_editor_leaving.moc"

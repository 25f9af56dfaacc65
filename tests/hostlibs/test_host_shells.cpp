#include "HostQtShell.h"
#include "HostStatusShell.h"
#include "StandInHost.h"

#include "KRXTest.h"

#include <QAbstractButton>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <functional>
#include <memory>

namespace {

/// Calls \a act with the modal dialog of that kind as soon as it is shown; gives up when none is shown at
/// all.
template <class Dialog>
void whenShown(QObject* context, std::function<void(Dialog*)> act)
{
    auto* timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, act = std::move(act)] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        act(dialog);
    });
    timer->start(1);
}

} // namespace

class TestHostShells : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::resetRecords(); }

    void aMessageBoxGoesToTheAnswererAndIntoTheLog()
    {
        QWidget parent;
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest& request) {
            return request.text == QLatin1String("Really?") ? QMessageBox::No : QMessageBox::Ok;
        });
        QCOMPARE(HostQtShell::showManagedMessageBox(&parent, QMessageBox::Question, QStringLiteral("Title"),
                                                    QStringLiteral("Really?"),
                                                    QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::No);
        HostQtShell::showManagedMessageBox(nullptr, QMessageBox::Warning, QString(), QStringLiteral("Second"),
                                           QMessageBox::Ok, QMessageBox::Ok);
        const QList<StandInHost::MessageRequest> log = StandInHost::messageLog();
        QCOMPARE(log.size(), 2);
        QCOMPARE(log.at(0).parent, &parent);
        QCOMPARE(log.at(0).icon, QMessageBox::Question);
        QCOMPARE(log.at(0).title, QStringLiteral("Title"));
        QCOMPARE(log.at(0).text, QStringLiteral("Really?"));
        QCOMPARE(log.at(0).buttons, QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(log.at(0).defaultButton, QMessageBox::Yes);
        QCOMPARE(log.at(1).icon, QMessageBox::Warning);
    }

    void withoutAnAnswererARealBoxIsShownAndItsButtonReturned()
    {
        QWidget parent;
        QString shown;
        Qt::TextFormat format = Qt::AutoText;
        QWidget* above = nullptr;
        whenShown<QMessageBox>(this, [&](QMessageBox* box) {
            shown = box->text();
            format = box->textFormat();
            above = box->parentWidget();
            box->button(QMessageBox::No)->click();
        });
        QCOMPARE(HostQtShell::showManagedMessageBox(&parent, QMessageBox::Question, QStringLiteral("Title"),
                                                    QStringLiteral("<b>Really?</b>"),
                                                    QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes),
                 QMessageBox::No);
        QCOMPARE(shown, QStringLiteral("<b>Really?</b>"));
        QVERIFY2(format == Qt::PlainText, "names that look like markup must be shown as they are");
        QCOMPARE(above, &parent);
        QCOMPARE(StandInHost::messageLog().size(), 1);
    }

    void enterPressesTheDefaultButton()
    {
        for (const QMessageBox::StandardButton button : {QMessageBox::Yes, QMessageBox::No}) {
            whenShown<QMessageBox>(this, [](QMessageBox* box) { QTest::keyClick(box, Qt::Key_Return); });
            QCOMPARE(HostQtShell::showManagedMessageBox(nullptr, QMessageBox::Question, QString(),
                                                        QStringLiteral("?"),
                                                        QMessageBox::Yes | QMessageBox::No, button),
                     button);
        }
    }

    void aBoxThatWasClosedOtherwiseGivesTheDefaultButton()
    {
        whenShown<QMessageBox>(this, [](QMessageBox* box) { box->done(0); });
        QCOMPARE(
            HostQtShell::showManagedMessageBox(nullptr, QMessageBox::Question, QString(), QStringLiteral("?"),
                                               QMessageBox::Save | QMessageBox::Discard, QMessageBox::Save),
            QMessageBox::Save);
    }

    void aBoxWhoseParentGoesAwayGivesTheDefaultButton()
    {
        auto parent = std::make_unique<QWidget>();
        whenShown<QMessageBox>(this, [&parent](QMessageBox*) { parent.reset(); });
        QCOMPARE(HostQtShell::showManagedMessageBox(parent.get(), QMessageBox::Critical, QString(),
                                                    QStringLiteral("!"), QMessageBox::Ok, QMessageBox::Ok),
                 QMessageBox::Ok);
    }

    void aDirectoryIsAskedOfTheAnswererAndTheLogKeepsTheQuestion()
    {
        StandInHost::setDirectoryAnswerer([](const StandInHost::DirectoryRequest& request) -> QString {
            return request.start + QStringLiteral("/sub");
        });
        QCOMPARE(
            HostQtShell::chooseDirectory(nullptr, QStringLiteral("Select Folder"), QStringLiteral("/media")),
            QStringLiteral("/media/sub"));
        QCOMPARE(StandInHost::directoryLog().size(), 1);
        QCOMPARE(StandInHost::directoryLog().at(0).caption, QStringLiteral("Select Folder"));
        QCOMPARE(StandInHost::directoryLog().at(0).start, QStringLiteral("/media"));
    }

    void aRealDirectoryChooserReturnsWhatWasChosen()
    {
        QTemporaryDir directory;
        QString title;
        whenShown<QFileDialog>(this, [&](QFileDialog* dialog) {
            title = dialog->windowTitle();
            dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(directory.path());
            QMetaObject::invokeMethod(dialog, "accept");
        });
        QCOMPARE(HostQtShell::chooseDirectory(nullptr, QStringLiteral("Select Folder"), directory.path()),
                 directory.path());
        QCOMPARE(title, QStringLiteral("Select Folder"));
    }

    void aCancelledDirectoryChooserReturnsAnEmptyText()
    {
        whenShown<QFileDialog>(this, [](QFileDialog* dialog) { dialog->reject(); });
        QCOMPARE(HostQtShell::chooseDirectory(nullptr, QStringLiteral("Select Folder"), QString()),
                 QString());
    }

    void statusProgressIsLoggedAndHeard()
    {
        QList<int> kinds;
        StandInHost::setProgressListener(
            [&kinds](const StandInHost::ProgressStep& step) { kinds.append(step.kind); });
        HostStatusShell::statusProgressReset();
        HostStatusShell::statusProgressUpdate(QStringLiteral("Acquiring"), 0, 2);
        HostStatusShell::statusProgressClose();
        const QList<int> expected{StandInHost::ProgressStep::Reset, StandInHost::ProgressStep::Update,
                                  StandInHost::ProgressStep::Close};
        QCOMPARE(kinds, expected);
        const QList<StandInHost::ProgressStep> log = StandInHost::progressLog();
        QCOMPARE(log.size(), 3);
        QCOMPARE(log.at(1).text, QStringLiteral("Acquiring"));
        QCOMPARE(log.at(1).current, 0);
        QCOMPARE(log.at(1).total, 2);
    }

    void aListenerMayTakeItselfAway()
    {
        int heard = 0;
        StandInHost::setProgressListener([&heard](const StandInHost::ProgressStep&) {
            ++heard;
            StandInHost::setProgressListener({});
            ++heard;
        });
        HostStatusShell::statusProgressReset();
        HostStatusShell::statusProgressReset();
        QCOMPARE(heard, 2);
    }

    void helpTopicsAreLoggedAndHeard()
    {
        QString heard;
        StandInHost::setHelpListener(
            [&heard](const StandInHost::HelpRequest& request) { heard = request.topic; });
        HostStatusShell::showHelpTopic(QStringLiteral("IDH_ProfileEditor_Window"), 1);
        QCOMPARE(heard, QStringLiteral("IDH_ProfileEditor_Window"));
        QCOMPARE(StandInHost::helpLog().size(), 1);
        QCOMPARE(StandInHost::helpLog().at(0).flag, 1);
    }

    void navigationGuardsAreCountedWhileTheyLiveAndAltogether()
    {
        {
            const HostQtShell::NavigationPaneGuard outer;
            const HostQtShell::NavigationPaneGuard inner;
            QCOMPARE(StandInHost::navigationGuardDepth(), 2);
        }
        QCOMPARE(StandInHost::navigationGuardDepth(), 0);
        QCOMPARE(StandInHost::navigationGuardCount(), 2);
    }

    void aResetEmptiesTheLogsButNotTheDepthOfLivingGuards()
    {
        StandInHost::setMessageAnswerer([](const StandInHost::MessageRequest&) { return QMessageBox::Ok; });
        HostQtShell::showManagedMessageBox(nullptr, QMessageBox::Warning, QString(), QString(),
                                           QMessageBox::Ok, QMessageBox::Ok);
        HostStatusShell::showHelpTopic(QStringLiteral("topic"), 0);
        {
            const HostQtShell::NavigationPaneGuard guard;
            StandInHost::resetRecords();
            QCOMPARE(StandInHost::navigationGuardDepth(), 1);
            QCOMPARE(StandInHost::navigationGuardCount(), 0);
        }
        QCOMPARE(StandInHost::navigationGuardDepth(), 0);
        QVERIFY(StandInHost::messageLog().isEmpty());
        QVERIFY(StandInHost::helpLog().isEmpty());
        QVERIFY(StandInHost::progressLog().isEmpty());
        QVERIFY(StandInHost::directoryLog().isEmpty());
    }

    void theShadowLiesOverTheViewportWhateverItsGeometry()
    {
        HostQtShell::VScrollWidget<QTreeWidget> tree;
        tree.setHeaderLabels({QStringLiteral("A")});
        tree.resize(300, 200);
        tree.show();
        auto* overlay = tree.findChild<QWidget*>(QStringLiteral("dropShadowOverlay"));
        QVERIFY(overlay);
        QCOMPARE(overlay->parentWidget(), &tree);
        QTRY_COMPARE(overlay->geometry(), tree.viewport()->geometry());
        tree.resize(500, 400);
        QTRY_COMPARE(overlay->geometry(), tree.viewport()->geometry());
        tree.setHeaderHidden(true);
        QTRY_COMPARE(overlay->geometry(), tree.viewport()->geometry());
        QVERIFY(overlay->testAttribute(Qt::WA_TransparentForMouseEvents));
    }

    void aClickGoesThroughTheShadow()
    {
        HostQtShell::VScrollWidget<QTreeWidget> tree;
        tree.setHeaderHidden(true);
        auto* item = new QTreeWidgetItem(&tree, QStringList{QStringLiteral("row")});
        tree.resize(300, 200);
        tree.show();
        QVERIFY(QTest::qWaitForWindowExposed(&tree));
        const QPoint point = tree.visualItemRect(item).center();
        QCOMPARE(tree.childAt(tree.viewport()->mapTo(&tree, point)), tree.viewport());
        QTest::mouseClick(tree.viewport(), Qt::LeftButton, {}, point);
        QCOMPARE(tree.currentItem(), item);
    }

    void theShadowFollowsAViewportThatIsExchanged()
    {
        HostQtShell::VScrollWidget<QScrollArea> area;
        area.resize(200, 200);
        area.show();
        auto* viewport = new QWidget;
        area.setViewport(viewport);
        auto* overlay = area.findChild<QWidget*>(QStringLiteral("dropShadowOverlay"));
        area.resize(320, 240);
        QTRY_COMPARE(overlay->geometry(), viewport->geometry());
    }
};

QTEST_MAIN(TestHostShells)
#include "test_host_shells.moc"

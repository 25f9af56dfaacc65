#include "ClipLists.h"
#include "ClipTable.h"
#include "JobsPane.h"
#include "MessageList.h"
#include "ModelWatch.h"
#include "NotReadyPane.h"
#include "ShownClips.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QClipboard>
#include <QComboBox>
#include <QDesktopServices>
#include <QLineEdit>
#include <QPainter>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

namespace {

using ClipLists::clipXml;
using ClipLists::listXml;
using ShownClips::all;
using ShownClips::clip;
using ShownClips::column;
using ShownClips::s;
using ShownClips::some;

} // namespace

/// Takes what is to be opened.
class UrlCatcher : public QObject
{
    Q_OBJECT

public:
    QList<QUrl> urls;

public slots:
    void take(const QUrl& url) { urls << url; }
};

/// What the desk shows of the service's work: clips, and why they are not ready.
class TestClipPanes : public QObject
{
    Q_OBJECT

    static QAction& action(const JobsPane& pane, const char* id) { return *pane.findChild<QAction*>(s(id)); }
    static void select(const JobsPane& pane, const QList<int>& rows)
    {
        auto* table = pane.findChild<QTableView*>();
        table->clearSelection();
        for (const int row : rows)
            table->selectionModel()->select(table->model()->index(row, 0),
                                            QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

private slots:
    void aClipIsReadAsTheServiceTellsIt()
    {
        ClipNews news;
        int total = 0;
        quint64 version = 0;
        QVERIFY(serviceclip::read(
            "<clipList total=\"7\" known=\"9\" version=\"12\"><clip><id>c1</id><name>a.mov</name>"
            "<path>/in/a.mov</path><folderId>f1</folderId><profileID>p1</profileID><state>ACTING</state>"
            "<reason>Transcode: 40 %</reason><job>j1</job><activity>Transcode</activity>"
            "<percentComplete>40</percentComplete><since>2026-01-02T03:04:05.678Z</since>"
            "<started>2026-01-02T03:04:05.000Z</started><took>61.5</took><settlesIn>1.5</settlesIn>"
            "<new>x</new></clip>"
            "<clip><id>c2</id><jobId>j2</jobId><state>OFFERED</state></clip></clipList>",
            news, total, version,
            {QDateTime(QDate(2026, 1, 2), QTime(3, 4, 10), Qt::UTC).toMSecsSinceEpoch(), 9000}));
        QCOMPARE(total, 7);
        QCOMPARE(news.known, 9);
        QCOMPARE(version, 12ULL);
        const ServiceClip& first = news.clips.at(0);
        QCOMPARE(first.path, s("/in/a.mov"));
        QCOMPARE(first.state, ClipState::Acting);
        QCOMPARE(first.percent, 40);
        QCOMPARE(first.activity, s("Transcode"));
        QCOMPARE(first.job(), s("j1"));
        QCOMPARE(first.since, 4678);
        QCOMPARE(first.started, 4000);
        QCOMPARE(first.took, 61500);
        QVERIFY(!first.settles.isForever() && !first.settles.hasExpired());
        QCOMPARE(news.clips.at(1).job(), s("j2"));
        QCOMPARE(news.clips.at(1).since, ClockReading::kUnknown);
        QVERIFY(news.clips.at(1).took < 0);
        QVERIFY(news.clips.at(1).isOver() && !news.clips.at(1).isNotReady());
        QVERIFY(!serviceclip::read("<html/>", news, total, version));
        QVERIFY(!serviceclip::read("<clipList><clip>", news, total, version));
    }

    void whatWasCancelledIsToldFromWhatFailed()
    {
        ClipNews news;
        int total = 0;
        quint64 version = 0;
        const auto because = [](const char* id, const char* state, const char* reason) {
            return clipXml(id, state).replace("<reason>r<", QByteArray("<reason>") + reason + '<');
        };
        QVERIFY(serviceclip::read(listXml(3, because("a", "FAILED", "Was cancelled") +
                                                 because("b", "FAILED", "No space left") +
                                                 because("c", "REJECTED", "Was cancelled")),
                                  news, total, version));
        QCOMPARE(news.clips.at(0).state, ClipState::Cancelled);
        QCOMPARE(news.clips.at(1).state, ClipState::Failed);
        QCOMPARE(news.clips.at(2).state, ClipState::Rejected);
        QVERIFY(news.clips.at(0).isOver() && news.clips.at(0).isNotReady());
    }
    void whatWasCancelledIsTriedAgainOnlyWhenItIsChosen()
    {
        ClipTable table;
        table.apply(all({clip("a", ClipState::Cancelled)}));
        JobsPane pane(table);
        QSignalSpy retry(&pane, &JobsPane::retryWanted);
        QVERIFY(!action(pane, "retryAllJobs").isEnabled());
        table.apply(some({clip("b", ClipState::Failed)}, 2));
        action(pane, "retryAllJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), QStringList{s("job-b")});
        pane.findChild<QTableView*>()->sortByColumn(ClipTable::Clip, Qt::AscendingOrder);
        select(pane, {0, 1});
        action(pane, "retryJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), (QStringList{s("job-a"), s("job-b")}));
        select(pane, {0});
        QVERIFY(action(pane, "retryJobs").isEnabled() && !action(pane, "cancelJobs").isEnabled());
        QCOMPARE(column(table, ClipTable::State), (QStringList{s("Cancelled"), s("Failed")}));
    }

    void newsGoIntoTheirRowsAndNewClipsBelow()
    {
        ClipTable table;
        const QAbstractItemModelTester tester(&table, QAbstractItemModelTester::FailureReportingMode::QtTest);
        table.apply(all({clip("a", ClipState::Waiting), clip("b", ClipState::Waiting)}));
        QSignalSpy changed(&table, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&table, &QAbstractItemModel::modelReset);
        ServiceClip acting = clip("b", ClipState::Acting);
        acting.percent = 30;
        table.apply(some({acting, clip("c", ClipState::Found)}, 3));
        QCOMPARE(column(table, ClipTable::Clip), (QStringList{s("a.mov"), s("b.mov"), s("c.mov")}));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.at(0).at(0).toModelIndex().row(), 1);
        QCOMPARE(reset.count(), 0);
        QCOMPARE(table.index(1, ClipTable::Progress).data(ClipTable::PercentRole).toInt(), 30);
        QCOMPARE(table.index(0, ClipTable::Progress).data(ClipTable::PercentRole).toInt(), -1);
        QCOMPARE(table.index(1, ClipTable::Reason).data().toString(), s("Because of b"));
        table.apply(all({clip("c", ClipState::Found)}));
        QCOMPARE(column(table, ClipTable::Clip), QStringList{s("c.mov")});
    }
    void foldersAndProfilesAreCalledByTheirNames()
    {
        ClipTable table;
        ServiceClip single = clip("b", ClipState::Waiting, "");
        single.profileId = s("p1");
        table.apply(all({clip("a", ClipState::Waiting), single}));
        table.setNames({{s("f1"), s("Rushes")}}, {{s("p1"), s("Proxies")}});
        QCOMPARE(column(table, ClipTable::Folder), (QStringList{s("Rushes"), s("Single file")}));
        QCOMPARE(column(table, ClipTable::Profile), (QStringList{QString(), s("Proxies")}));
    }
    void whatIsFinishedStaysUntilItIsCleared()
    {
        ClipTable table;
        ClipFilter filter(table);
        const QAbstractItemModelTester tester(&filter,
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QVector<ServiceClip> clips = {clip("a", ClipState::Taken), clip("b", ClipState::Waiting),
                                            clip("c", ClipState::Failed), clip("d", ClipState::Rejected),
                                            clip("e", ClipState::Cancelled)};
        table.apply(all(clips));
        QCOMPARE(filter.rowCount(), 5);
        filter.clearFinished();
        // What failed can be tried again.
        QCOMPARE(column(filter, ClipTable::Clip), (QStringList{s("b.mov"), s("c.mov")}));
        QCOMPARE(filter.countUncleared(), 2);
        // It is not brought back by being read again, but by something new.
        table.apply(all(clips));
        QCOMPARE(filter.rowCount(), 2);
        table.apply(some({clip("a", ClipState::Settling)}, 5));
        QCOMPARE(filter.rowCount(), 3);
        table.apply(some({clip("a", ClipState::Taken)}, 5));
        QCOMPARE(filter.rowCount(), 3);
        QCOMPARE(filter.countUncleared(), 3);
    }
    void whatWasClearedStaysAwayWhenTheServiceStartsAgain()
    {
        ClipTable table;
        ClipFilter filter(table);
        ServiceClip done = clip("c1", ClipState::Taken);
        done.guid = s("G1");
        ServiceClip rejected = clip("c2", ClipState::Rejected);
        table.apply(all({done, rejected}));
        filter.clearFinished();
        QCOMPARE(filter.rowCount(), 0);
        // It counts its clips anew.
        done.id = s("c2");
        rejected.id = s("c3");
        ServiceClip other = clip("x", ClipState::Taken);
        other.id = s("c1");
        ServiceClip sameFile = done;
        sameFile.id = s("c4");
        sameFile.guid = s("G2");
        table.apply(all({other, done, rejected, sameFile}));
        QCOMPARE(filter.rowCount(), 2);
        QCOMPARE(column(filter, ClipTable::Clip), (QStringList{s("x.mov"), s("c1.mov")}));
    }
    void whatIsClearedAwayIsStillToldToBeNotReady()
    {
        ClipTable table;
        table.apply(all({clip("a", ClipState::Rejected)}));
        JobsPane jobs(table);
        NotReadyPane pane(table);
        action(jobs, "clearFinished").trigger();
        QCOMPARE(jobs.findChild<QTableView*>()->model()->rowCount(), 0);
        pane.show();
        QCOMPARE(pane.findChild<QTreeWidget*>()->topLevelItemCount(), 1);
    }
    void theTableIsFilteredByKindAndText_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("all") << int(ClipFilter::All) << QString()
                             << QStringList{s("a.mov"), s("b.mov"), s("c.mov"), s("d.mov"), s("e.mov")};
        QTest::newRow("working") << int(ClipFilter::Working) << QString() << QStringList{s("b.mov")};
        QTest::newRow("not ready") << int(ClipFilter::NotReady) << QString()
                                   << QStringList{s("a.mov"), s("b.mov")};
        QTest::newRow("failed") << int(ClipFilter::Failed) << QString() << QStringList{s("c.mov")};
        QTest::newRow("finished") << int(ClipFilter::Finished) << QString()
                                  << QStringList{s("c.mov"), s("d.mov"), s("e.mov")};
        QTest::newRow("a reason") << int(ClipFilter::All) << s(" BECAUSE OF D ") << QStringList{s("d.mov")};
        QTest::newRow("a folder") << int(ClipFilter::Finished) << s("rush") << QStringList{s("d.mov")};
    }
    void theTableIsFilteredByKindAndText()
    {
        QFETCH(int, kind);
        QFETCH(QString, text);
        QFETCH(QStringList, shown);
        ClipTable table;
        table.apply(all({clip("a", ClipState::Settling), clip("b", ClipState::Acting),
                         clip("c", ClipState::Failed, "f2"), clip("d", ClipState::Offered),
                         clip("e", ClipState::Cancelled, "f2")}));
        table.setNames({{s("f1"), s("Rushes")}}, {});
        JobsPane pane(table);
        KRXTest::watchModel(pane.findChild<QTableView*>());
        pane.findChild<QComboBox*>()->setCurrentIndex(kind);
        pane.findChild<QLineEdit*>()->setText(text);
        pane.findChild<QTableView*>()->sortByColumn(ClipTable::Clip, Qt::AscendingOrder);
        QCOMPARE(column(*pane.findChild<QTableView*>()->model(), ClipTable::Clip), shown);
    }
    void columnsAreSortedByWhatTheyMean()
    {
        ClipTable table;
        ServiceClip ten = clip("a", ClipState::Acting);
        ten.percent = 10;
        ServiceClip nine = clip("b", ClipState::Acting);
        nine.percent = 9;
        table.apply(all({ten, nine, clip("c", ClipState::Found)}));
        JobsPane pane(table);
        auto* view = pane.findChild<QTableView*>();
        view->sortByColumn(ClipTable::Progress, Qt::AscendingOrder);
        QCOMPARE(column(*view->model(), ClipTable::Clip), (QStringList{s("c.mov"), s("b.mov"), s("a.mov")}));
    }
    void theNewestStandsOnTop()
    {
        ClipTable table;
        ServiceClip old = clip("a", ClipState::Offered);
        old.started = -60000;
        ServiceClip late = clip("b", ClipState::Failed);
        late.started = 0;
        ServiceClip waiting = clip("c", ClipState::Waiting);
        waiting.since = 1000;
        // One of before the service's start is the oldest.
        table.apply(all({clip("d", ClipState::Taken), old, late, waiting}));
        JobsPane pane(table);
        QCOMPARE(column(*pane.findChild<QTableView*>()->model(), ClipTable::Clip),
                 (QStringList{s("c.mov"), s("b.mov"), s("a.mov"), s("d.mov")}));
    }
    void whatCanBeDoneFollowsTheChosenRows()
    {
        ClipTable table;
        table.apply(
            all({clip("a", ClipState::Waiting), clip("b", ClipState::Acting), clip("c", ClipState::Failed),
                 clip("d", ClipState::Failed), clip("e", ClipState::Offered)}));
        JobsPane pane(table);
        KRXTest::watchModel(pane.findChild<QTableView*>());
        pane.findChild<QTableView*>()->sortByColumn(ClipTable::Clip, Qt::AscendingOrder);
        QSignalSpy cancel(&pane, &JobsPane::cancelWanted);
        QSignalSpy retry(&pane, &JobsPane::retryWanted);
        QVERIFY(!action(pane, "cancelJobs").isEnabled() && !action(pane, "retryJobs").isEnabled());
        QVERIFY(action(pane, "retryAllJobs").isEnabled());
        select(pane, {0, 1, 2});
        action(pane, "cancelJobs").trigger();
        QCOMPARE(cancel.takeFirst().at(0).toStringList(), (QStringList{s("job-a"), s("job-b")}));
        action(pane, "retryJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), QStringList{s("job-c")});
        action(pane, "retryAllJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), (QStringList{s("job-c"), s("job-d")}));
        select(pane, {4});
        QVERIFY(!action(pane, "cancelJobs").isEnabled() && !action(pane, "retryJobs").isEnabled());
        QVERIFY(action(pane, "showClip").isEnabled());
        // The chosen clip changes where it is.
        table.apply(some({clip("e", ClipState::Failed)}, 5));
        QVERIFY(action(pane, "retryJobs").isEnabled());
        action(pane, "copyReason").trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), s("/in/e.mov: because of e"));
        table.apply(some({clip("f", ClipState::Taken)}, 6));
        action(pane, "clearFinished").trigger();
        QCOMPARE(column(*pane.findChild<QTableView*>()->model(), ClipTable::Clip),
                 (QStringList{s("a.mov"), s("b.mov"), s("c.mov"), s("d.mov"), s("e.mov")}));
        QVERIFY(action(pane, "retryAllJobs").isEnabled());
    }
    void aClipThatVanishesWhileItIsShownIsLeftAlone()
    {
        ClipTable table;
        table.apply(all({clip("a", ClipState::Failed), clip("b", ClipState::Failed)}));
        JobsPane pane(table);
        const QAbstractItemModelTester tester(pane.findChild<QTableView*>()->model());
        pane.findChild<QTableView*>()->sortByColumn(ClipTable::Clip, Qt::AscendingOrder);
        pane.show();
        QSignalSpy retry(&pane, &JobsPane::retryWanted);
        select(pane, {1});
        QVERIFY(action(pane, "retryJobs").isEnabled());
        table.apply(all({clip("a", ClipState::Failed)}));
        QVERIFY(!action(pane, "retryJobs").isEnabled() && !action(pane, "showClip").isEnabled());
        action(pane, "retryJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), QStringList());
        action(pane, "copyReason").trigger();
        action(pane, "retryAllJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList(), QStringList{s("job-a")});
    }
    void whatIsLeftOfAClipsFolderIsShown()
    {
        QTemporaryDir dir;
        ServiceClip lost = clip("a", ClipState::Failed);
        lost.path = dir.filePath(s("gone/deeper/a.mov"));
        ClipTable table;
        table.apply(all({lost}));
        JobsPane pane(table);
        select(pane, {0});
        UrlCatcher catcher;
        QDesktopServices::setUrlHandler(s("file"), &catcher, "take");
        action(pane, "showClip").trigger();
        QDesktopServices::unsetUrlHandler(s("file"));
        QCOMPARE(catcher.urls, QList<QUrl>{QUrl::fromLocalFile(dir.path())});
    }
    void tenThousandFailuresAreTriedAgainTogether()
    {
        constexpr int kMany = 10000;
        QVector<ServiceClip> failed;
        for (int i = 0; i < kMany; ++i)
            failed << clip(QByteArray::number(i).constData(), ClipState::Failed);
        ClipTable table;
        JobsPane pane(table);
        pane.show();
        table.apply(all(failed));
        QSignalSpy retry(&pane, &JobsPane::retryWanted);
        action(pane, "retryAllJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList().size(), kMany);
        // They come back one after the other, as the service takes them up.
        for (int i = 0; i < kMany; i += 100) {
            failed[i].state = ClipState::Waiting;
            table.apply(some({failed.at(i)}, kMany));
        }
        action(pane, "retryAllJobs").trigger();
        QCOMPARE(retry.takeFirst().at(0).toStringList().size(), kMany - kMany / 100);
    }
    void aBarShowsHowFarTheWorkHasCome()
    {
        const auto painted = [](ClipState state, int percent) {
            ClipTable table;
            ServiceClip one = clip("a", state);
            one.percent = percent;
            table.apply(all({one}));
            QImage image(120, 24, QImage::Format_RGB32);
            image.fill(Qt::white);
            QPainter painter(&image);
            QStyleOptionViewItem option;
            option.rect = image.rect();
            option.palette = QGuiApplication::palette();
            ProgressDelegate().paint(&painter, option, table.index(0, ClipTable::Progress));
            return image;
        };
        QVERIFY(painted(ClipState::Acting, 20) != painted(ClipState::Acting, 80));
        QVERIFY(painted(ClipState::Acting, 20) != painted(ClipState::Waiting, 20));
    }

    void foldersListWhatIsNotReadyAndWhy()
    {
        ClipTable table;
        ServiceClip settling = clip("a", ClipState::Settling);
        settling.settles.setRemainingTime(3000000);
        table.apply(all({settling, clip("b", ClipState::Offered), clip("c", ClipState::Gone),
                         clip("d", ClipState::Rejected), clip("e", ClipState::Taken, "f2")}));
        table.setNames({{s("f1"), s("Rushes")}}, {});
        NotReadyPane pane(table);
        pane.show();
        auto* tree = pane.findChild<QTreeWidget*>();
        KRXTest::watchModel(tree);
        QCOMPARE(tree->topLevelItemCount(), 1);
        QTreeWidgetItem* folder = tree->topLevelItem(0);
        QCOMPARE(folder->text(0), s("Rushes"));
        QCOMPARE(folder->text(1), s("1 on the way, 1 not offered"));
        QVERIFY(folder->toolTip(0).contains(s("d.mov: because of d")));
        QCOMPARE(folder->childCount(), 0);
        folder->setExpanded(true);
        QCOMPARE(folder->childCount(), 2);
        QVERIFY(folder->child(0)->text(2).startsWith(s("because of a (")));
        QVERIFY(folder->child(0)->text(2).endsWith(s("seconds left)")));
        QCOMPARE(folder->child(1)->text(1), s("Not offered"));
        table.apply(some({clip("a", ClipState::Offered)}, 5));
        QTRY_COMPARE(folder->childCount(), 1);
        table.apply(some({clip("d", ClipState::Gone)}, 5));
        QTRY_COMPARE(tree->topLevelItemCount(), 0);
    }
    void whatIsOnItsWayStandsAboveWhatFailedAndWhatIsNotOffered()
    {
        QVector<ServiceClip> clips;
        for (int i = 0; i < 20; ++i)
            clips << clip(QByteArray("junk" + QByteArray::number(i)).constData(), ClipState::Rejected);
        clips << clip("off", ClipState::Cancelled) << clip("broken", ClipState::Failed)
              << clip("late", ClipState::Growing) << clip("last", ClipState::Acting);
        ClipTable table;
        table.apply(all(clips));
        NotReadyPane pane(table);
        pane.show();
        auto* tree = pane.findChild<QTreeWidget*>();
        QTreeWidgetItem* folder = tree->topLevelItem(0);
        QCOMPARE(folder->text(1), s("2 on the way, 1 failed, 1 cancelled, 20 not offered"));
        // Of many the tool tip tells the first, in the same order.
        const QString tip = folder->toolTip(2);
        QVERIFY2(tip.indexOf(s("late.mov: because of late")) >= 0, qPrintable(tip));
        QVERIFY2(tip.indexOf(s("late.mov")) < tip.indexOf(s("broken.mov")), qPrintable(tip));
        QVERIFY2(tip.contains(s("and 14 more")), qPrintable(tip));
        folder->setExpanded(true);
        QStringList names;
        for (int i = 0; i < folder->childCount(); ++i)
            names << folder->child(i)->text(0);
        QCOMPARE(names.mid(0, 5),
                 (QStringList{s("late.mov"), s("last.mov"), s("broken.mov"), s("off.mov"), s("junk0.mov")}));
        QCOMPARE(names.last(), s("junk19.mov"));
    }
    void secondsAreCountedDown_data()
    {
        QTest::addColumn<int>("milliseconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("none known") << -1 << s("because of a");
        QTest::newRow("over") << 0 << s("because of a");
        QTest::newRow("counted") << 3600000 << s("because of a (3600 seconds left)");
    }
    void secondsAreCountedDown()
    {
        QFETCH(int, milliseconds);
        QFETCH(QString, text);
        ServiceClip settling = clip("a", ClipState::Settling);
        if (milliseconds >= 0)
            settling.settles.setRemainingTime(milliseconds);
        const QString told = NotReadyPane::reasonOf(settling);
        // Seconds may pass while this runs.
        QVERIFY2(told == text || (milliseconds > 0 && told.startsWith(s("because of a (35"))),
                 qPrintable(told));
    }
    void aClockThatIsSetDoesNotCountSeconds()
    {
        // The wall's clock plays no part: what settles in an hour does so whatever is the time of day.
        ServiceClip settling = clip("a", ClipState::Settling);
        ClipNews news;
        int total = 0;
        quint64 version = 0;
        QVERIFY(serviceclip::read(listXml(1, clipXml("a", "SETTLING")
                                                 .replace("</clip>", "<since>2999-01-01T00:00:00Z</since>"
                                                                     "<started>2999-01-01T00:00:00Z</started>"
                                                                     "<ended>1999-01-01T00:00:00Z</ended>"
                                                                     "<settlesIn>3600</settlesIn></clip>")),
                                  news, total, version));
        const ServiceClip& told = news.clips.at(0);
        QVERIFY(NotReadyPane::reasonOf(told).endsWith(s(" seconds left)")));
        QVERIFY(told.settles.remainingTime() <= 3600000);
        ClipTable table;
        table.apply(all({told}));
        // How long the work took is not what lies between two times of day.
        QCOMPARE(column(table, ClipTable::Took), QStringList{QString()});
        QVERIFY(!column(table, ClipTable::Started).at(0).isEmpty());
    }
    void timesAreShownByTheClockAsItIsSetNow_data()
    {
        QTest::addColumn<qint64>("jump");
        QTest::newRow("not set") << qint64(0);
        QTest::newRow("ten years on") << qint64(3650) * 86400 + 3600;
        QTest::newRow("an hour back") << qint64(-3600);
    }
    void timesAreShownByTheClockAsItIsSetNow()
    {
        QFETCH(qint64, jump);
        const QDateTime noon(QDate(2026, 1, 2), QTime(12, 0));
        ClockReading now{noon.toMSecsSinceEpoch(), 5000000};
        const auto passed = [&](qint64 seconds) {
            now.wall += seconds * 1000;
            now.steady += seconds * 1000;
        };
        const auto shown = [&](qint64 ago) {
            return QDateTime::fromMSecsSinceEpoch(now.wall - ago * 1000).toString(s("HH:mm:ss"));
        };
        const auto readAt = [&](const char* id, const QDateTime& started) {
            ClipNews news;
            int total = 0;
            quint64 version = 0;
            const QByteArray more = "<started>" + started.toUTC().toString(Qt::ISODateWithMs).toUtf8() +
                                    "</started><took>2.0</took></clip>";
            serviceclip::read(listXml(1, clipXml(id, "FAILED").replace("</clip>", more)), news, total,
                              version, now);
            return news.clips.value(0);
        };
        ClipTable table;
        table.setClocks([&] { return now; });
        MessageList messages;
        messages.setClocks([&] { return now; });
        const ServiceClip first = readAt("first", noon.addSecs(-30));
        messages.add(s("first"));
        now.wall += jump * 1000;
        passed(60);
        const ServiceClip later = readAt("later", QDateTime::fromMSecsSinceEpoch(now.wall - 20000));
        messages.add(s("later"));
        table.apply(all({first, later}));
        QCOMPARE(column(table, ClipTable::Started), (QStringList{shown(90), shown(20)}));
        QCOMPARE(column(table, ClipTable::Took), (QStringList{s("2.0 s"), s("2.0 s")}));
        QCOMPARE(column(messages, MessageList::Time), (QStringList{shown(0), shown(60)}));
        JobsPane pane(table);
        QCOMPARE(column(*pane.findChild<QTableView*>()->model(), ClipTable::Clip),
                 (QStringList{s("later.mov"), s("first.mov")}));
    }
};

QTEST_MAIN(TestClipPanes)
#include "test_clip_panes.moc"

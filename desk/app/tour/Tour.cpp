#include "Tour.h"

#include "FolderTour.h"
#include "ProfileTour.h"
#include "RealInput.h"
#include "ResultTour.h"
#include "ServiceTour.h"
#include "TourRunner.h"
#include "TourStage.h"
#include "WorkTour.h"

#include "Demo.h"
#include "DemoMedia.h"
#include "DeskApplication.h"
#include "DeskSession.h"
#include "DeskWindow.h"

#include "StandInHost.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>

namespace {

/// The service waits this long for a file to stand still; the tour's files are whole at once.
const char kSettle[] = "0.3";
/// And this long for further copies before it lists those that were made.
const char kHistory[] = "1";
const char kLongTake[] = "Long take.mov";

int refuse(const QString& reason)
{
    std::fprintf(stderr, "krx-desk: %s\n", qPrintable(reason));
    return 1;
}

ServiceSupervisor::Settings serviceSettings(const DeskOptions& options, const QString& base)
{
    // A port and a data folder of its own: a service that a person has running is never touched.
    qputenv("KRX_CONNECT_PORT", QByteArray::number(Demo::freePort()));
    DeskOptions own = options;
    own.serviceData = QString(base + QLatin1String("/service"));
    ServiceSupervisor::Settings settings = DeskApplication::serviceSettings(own);
    settings.arguments = QStringList{QStringLiteral("--settle"), QLatin1String(kSettle),
                                     QStringLiteral("--history"), QLatin1String(kHistory)};
    return settings;
}

QStringList clipNames()
{
    QStringList names;
    const QStringList files = DemoMedia::fileNames();
    for (const QString& file : files)
        names << QFileInfo(file).completeBaseName();
    return names;
}

void addSteps(TourStage& stage, FolderTour& folders, ProfileTour& profiles, ServiceTour& services,
              WorkTour& work, ResultTour& results)
{
    const QString copying = QStringLiteral("Copy and link");
    const QString linking = QStringLiteral("Default Profile");
    const QString proxies = QStringLiteral("Proxies");
    const QString rushes = QStringLiteral("Rushes");
    const QString volume = ClipIntake::volumeLabel(folders.folder());
    const QString late = QStringLiteral("Too late.wav");
    QStringList clips = clipNames();
    int count = clips.size();

    services.addStart();
    profiles.addCreation(copying, rushes, stage.watchedFolder(QStringLiteral("Copies")));
    folders.addFolder();
    folders.addProfileChange(copying, false);
    folders.addSummary();
    folders.addEnabling();
    folders.addDrop(DemoMedia::fileNames(), QStringLiteral("folder-state-1"));
    folders.addAcquisition(rushes, clips, count, QStringLiteral("folder-state-2"));

    work.addFailure(stage.watchedFolder(QStringLiteral("Copies")), DemoMedia::fileNames().constLast(), late);
    clips << QFileInfo(late).completeBaseName();
    clips.sort();
    ++count;
    folders.addAcquisition(rushes, clips, count, QString());

    folders.addProfileChange(linking, true, true);
    folders.addWaitForClips(count, QString());
    folders.addAcquisition(volume, clips, 2 * count, QString());
    count = 2 * count;

    // Behind the default profile, which stays the first of every list.
    results.addProfile(QStringLiteral("Three actions"));
    results.addWork(QStringLiteral("three-actions-ready"));
    results.addChecks();
    clips << ResultTour::clipNames();
    clips.sort();
    count += ResultTour::clipNames().size();
    folders.addAcquisition(volume, clips, count, QString());
    folders.addProfileChange(linking, true, false);

    profiles.addTranscoding(proxies);
    folders.addProfileChange(proxies, true, false);
    work.addLongWork(QLatin1String(kLongTake));
    work.addDryRun(QLatin1String(kLongTake), stage.drive());
    folders.addWaitForClips(1, QString());
    clips << QFileInfo(QLatin1String(kLongTake)).completeBaseName();
    ++count;
    folders.addAcquisition(volume, clips, count, QString());

    folders.addProfileChange(copying, true, false);
    profiles.addDeletion(copying);
    services.addServicesManager();
    services.addStopAndStart();
    folders.addEnabling();
    services.addLinkedMedia(DemoMedia::fileNames().constFirst(), count + 1);
}

int play(const DeskOptions& options, const QString& base, RealInput& input)
{
    DeskSession session;
    QString error;
    if (!session.create(QString(base + QLatin1String("/Tour.krxproject")), error))
        return refuse(error);
    DeskWindow window(session, serviceSettings(options, base));
    window.setDarkSkin(false);
    TourRunner runner(options.tour, &window, input, [&window](bool dark) { window.setDarkSkin(dark); });
    TourStage stage(window, session, runner, input, base);
    // Nothing that a profile of the tour makes shall come to the volumes of the machine.
    StandInHost::setVolumes({{{TourStage::driveName(), stage.drive()}}});
    FolderTour folders(stage);
    ProfileTour profiles(stage, folders);
    ServiceTour services(stage, folders);
    WorkTour work(stage, folders);
    ResultTour results(stage, folders, profiles);
    addSteps(stage, folders, profiles, services, work, results);
    QObject::connect(&runner, &TourRunner::finished, &window,
                     [](bool held) { QCoreApplication::exit(held ? 0 : 1); });
    window.show();
    window.start();
    runner.start();
    return QApplication::exec();
}

} // namespace

int Tour::run(const DeskOptions& options)
{
    RealInput input;
    QString error;
    if (!input.isUsable(error))
        return refuse(error);
    if (!QDir().mkpath(options.tour))
        return refuse(QStringLiteral("The folder %1 cannot be made").arg(options.tour));
    const QTemporaryDir base(QDir::temp().filePath(QStringLiteral("krx-tour-XXXXXX")));
    if (!base.isValid())
        return refuse(base.errorString());
    const QString media = base.path() + QLatin1String("/media");
    if (!DemoMedia::make(media, error) || !DemoMedia::makeLongTake(media, QLatin1String(kLongTake), error) ||
        !ResultTour::makeMedia(media, error))
        return refuse(error);
    // The tour finds buttons and questions by their English texts.
    StandInHost::setLanguage(QStringLiteral("en"));
    // File dialogs open where the tour's folders are.
    QDir::setCurrent(base.path());
    const int code = play(options, base.path(), input);
    DeskApplication::cleanUpModule();
    return code;
}

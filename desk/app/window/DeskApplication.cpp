#include "DeskApplication.h"

#include "DeskExtras.h"
#include "DeskProject.h"
#include "DeskWindow.h"
#include "QuitSignals.h"

#include "KRXFolderManager.h"
#include "KRXProfileManager.h"

#include "HostQtShell.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>

#include <cstdio>

namespace {

constexpr QLatin1String kLastProject("project");
constexpr QLatin1String kSkin("skin");
constexpr QLatin1String kDark("dark");

QString defaultProject()
{
    return QString(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                   QLatin1String("/Untitled.krxproject"));
}

int refuse(const QString& text)
{
    std::fputs(qPrintable(QString(text + QLatin1Char('\n'))), stderr);
    HostQtShell::showManagedMessageBox(nullptr, QMessageBox::Critical, DeskWindow::tr("Error occurred"), text,
                                       QMessageBox::Ok, QMessageBox::Ok);
    return 1;
}

int say(const QString& text, int code)
{
    std::fprintf(stderr, "krx-desk: %s\n", qPrintable(text));
    return code;
}

/// Opens the window on a project and runs until it is closed.
/// \param extras the demo's library; null when no demo is asked for.
int runWindow(const DeskOptions& given, DeskExtras* extras)
{
    DeskOptions options = given;
    QSettings settings;
    const bool isDemo = !options.demo.isEmpty();
    QString error;
    if (isDemo && !extras->prepareDemo(options, error))
        return refuse(error);
    if (options.project.isEmpty())
        options.project = settings.value(kLastProject, defaultProject()).toString();
    if (!options.skinGiven && settings.value(kSkin).toString() == kDark)
        options.skin = DeskOptions::Skin::Dark;

    QDir().mkpath(QFileInfo(options.project).absolutePath());
    QLockFile lock(QString(options.project + QLatin1String(".lock")));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0))
        return refuse(DeskWindow::tr("The project %1 is open in another KRX Desk.").arg(options.project));
    DeskProject project;
    if (!DeskApplication::openProject(project, options.project, error))
        return refuse(error);

    int code = 0;
    {
        const QuitSignals quitSignals;
        DeskWindow window(project, DeskApplication::serviceSettings(options));
        window.setDarkSkin(options.skin == DeskOptions::Skin::Dark);
        if (isDemo)
            extras->followDemo(window);
        window.show();
        window.start();
        code = QApplication::exec();
    }
    if (!isDemo) {
        settings.setValue(kLastProject, project.path());
        settings.setValue(kSkin, HostQtShell::currentSkinIndex() < HostQtShell::kFirstDarkSkin
                                     ? QString()
                                     : QString(kDark));
    }
    DeskApplication::cleanUpModule();
    return code;
}

} // namespace

namespace DeskApplication {

int run(const DeskOptions& options)
{
    if (!options.needsExtras())
        return runWindow(options, nullptr);
    const QStringList places = DeskExtras::places();
    if (DeskExtras::find(places).isEmpty())
        return refuseMissingExtras();
    QString error;
    DeskExtras* extras = DeskExtras::load(places, error);
    if (!extras)
        return say(error, 1);
    return options.mode == DeskOptions::Mode::Tour ? extras->runTour(options) : runWindow(options, extras);
}

int refuseMissingExtras()
{
    return say(DeskExtras::notInstalled(), kExtrasMissing);
}

bool openProject(DeskProject& project, const QString& path, QString& error)
{
    if (QFileInfo::exists(path))
        return project.load(path, error);
    project.create(path);
    return project.save(error);
}

ServiceSupervisor::Settings serviceSettings(const DeskOptions& options)
{
    ServiceSupervisor::Settings settings;
    settings.program = options.serviceProgram;
    settings.data = options.serviceData;
    settings.port = ServiceSupervisor::portFromEnvironment();
    return settings;
}

void cleanUpModule()
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
}

} // namespace DeskApplication

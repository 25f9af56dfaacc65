#include "DeskApplication.h"

#include "DeskExtras.h"
#include "DeskSession.h"
#include "DeskWindow.h"
#include "QuitSignals.h"

#include "KRXFolderManager.h"
#include "KRXProfileManager.h"

#include "HostQtShell.h"
#include "ServiceSocket.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

#include <cstdio>

namespace {

const QLatin1String kLastProject("project");
const QLatin1String kSkin("skin");
const QLatin1String kDark("dark");

QString ownFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
}

/// A file of the desk's own projects: the first one, or a further one.
QString ownProject(const QString& folder, int number)
{
    const QString name = number == 1 ? QStringLiteral("Untitled.krxproject")
                                     : QStringLiteral("Untitled %1.krxproject").arg(number);
    return QDir(folder).filePath(name);
}

bool wantsAnotherTry(const QString& reason)
{
    const QString text =
        DeskWindow::tr("%1\nTry again? Otherwise the desk's own project is opened; nothing is "
                       "changed where the other one was.")
            .arg(reason);
    return HostQtShell::showManagedMessageBox(
               nullptr, QMessageBox::Warning, DeskWindow::tr("Project of the last time"), text,
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
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
    const bool isDemo = extras != nullptr && !options.demo.isEmpty();
    QString error;
    if (isDemo && !extras->prepareDemo(options, error))
        return refuse(error);
    if (!options.skinGiven && settings.value(kSkin).toString() == kDark)
        options.skin = DeskOptions::Skin::Dark;

    DeskSession session;
    const QString last = settings.value(kLastProject).toString();
    const bool isOpen = options.project.isEmpty()
                            ? DeskApplication::openLast(session, last, ownFolder(), error)
                            : session.openOrCreate(options.project, error);
    if (!isOpen)
        return refuse(error);
    const QString atStart = session.project().path();

    int code = 0;
    {
        const QuitSignals quitSignals;
        DeskWindow window(session, DeskApplication::serviceSettings(options));
        window.setDarkSkin(options.skin == DeskOptions::Skin::Dark);
        if (isDemo)
            extras->followDemo(window);
        window.show();
        window.start();
        code = QApplication::exec();
    }
    if (!isDemo) {
        // A project that could not be opened this time may be there the next time.
        if (last.isEmpty() || session.project().path() != atStart || !options.project.isEmpty())
            settings.setValue(kLastProject, session.project().path());
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

bool openLast(DeskSession& session, const QString& last, const QString& ownFolder, QString& error)
{
    if (!last.isEmpty()) {
        do {
            if (session.open(last, error))
                return true;
        } while (wantsAnotherTry(error));
    }
    QDir().mkpath(ownFolder);
    int number = 1;
    // The desk's own project may be the very one that is damaged.
    while (!session.openOrCreate(ownProject(ownFolder, number), error)) {
        if (!QFileInfo::exists(ownProject(ownFolder, number)))
            return false;
        ++number;
    }
    return true;
}

ServiceSupervisor::Settings serviceSettings(const DeskOptions& options)
{
    ServiceSupervisor::Settings settings;
    settings.program = options.serviceProgram;
    settings.data = options.serviceData;
    settings.port = ServiceSupervisor::portFromEnvironment();
    // A port that was set by hand is meant; otherwise the port is left to whoever has it.
    settings.bySocket =
        qEnvironmentVariableIsEmpty("KRX_CONNECT_PORT") && StandInHost::mayHaveServiceSocket();
    return settings;
}

void cleanUpModule()
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
}

} // namespace DeskApplication

// KRX Desk without a person: registers its folder, clicks on every icon that turns ready, and says on its
// standard output what happened, one word (and maybe a name) per line:
//   online, offline, ready, taken NAME, saved
// --die-at WORD ends it at that moment as "kill -9" does.

#include "DeskApplication.h"
#include "DeskSession.h"
#include "DeskWindow.h"
#include "QuitSignals.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"

#include "HostComponentFactory.h"
#include "RestClient.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QTest>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kLookInterval = 20;
constexpr int kPollInterval = 100;
constexpr std::uint32_t kWait = 3000;

QString theDeathWord;

void say(const QString& line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
    if (line.section(QLatin1Char(' '), 0, 0) == theDeathWord)
        ::kill(::getpid(), SIGKILL);
}

/// A profile that copies into \a target and links to the copy.
QByteArray copyProfile(const QString& target)
{
    return QStringLiteral(
               "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profileRequest><profile><version>200</version>"
               "<profileDetail><profileName>Copy</profileName></profileDetail>"
               "<profileSettings><binDetail><binExplicitName>Copies</binExplicitName>"
               "<binSelectionMethod>CREATENEW</binSelectionMethod>"
               "<binNamingMethod>EXPLICIT</binNamingMethod></binDetail></profileSettings>"
               "<processDefinition><package><activities><activity id=\"copy\" name=\"Copy\">"
               "<destinationDetail><filesystemPath>%1</filesystemPath>"
               "<relinkAfterCopy>true</relinkAfterCopy></destinationDetail></activity></activities>"
               "</package></processDefinition></profile></profileRequest>")
        .arg(target.toHtmlEscaped())
        .toUtf8();
}

void postProfile(const QByteArray& body)
{
    IHostComponentFactory* factory = nullptr;
    getComponentFactory(kHostComponentFactoryId, &factory);
    void* component = nullptr;
    factory->createComponent(kRestClientClassId, nullptr, kRestClientInterfaceId, &component);
    factory->release();
    auto* client = static_cast<IRestClient*>(component);
    IRestResponse* response = nullptr;
    client->post(u"http://127.0.0.1:58885/KRXService/profiles", &response, body.constData(),
                 static_cast<std::uint32_t>(body.size()));
    if (response) {
        response->waitForCompletion(kWait);
        response->release();
    }
    client->release();
}

QString profileNamed(const QString& name)
{
    KRXProfileManager& profiles = KRXProfileManager::getInstance();
    profiles.refreshProfiles(true);
    const auto items = profiles.profileItems();
    for (const auto& item : items) {
        if (item.second == name)
            return item.first;
    }
    return QString();
}

/// Each step is repeated after a crash, so each looks first whether it was done.
void registerFolder(const QString& path, const QString& copyTo)
{
    if (profileNamed(QStringLiteral("Copy")).isEmpty())
        postProfile(copyProfile(copyTo));
    KRXFolderManager& folders = KRXFolderManager::getInstance();
    folders.refreshFolders(true);
    KRXFolder folder;
    if (folders.countFolders() == 0)
        folders.createFolder(path, profileNamed(QStringLiteral("Copy")), folder);
    else
        folders.getFolder(0, folder);
    if (folder.property(KRXFolderProperties::kEnabled).toString() != QLatin1String("true")) {
        folder.setProperty(KRXFolderProperties::kEnabled, QStringLiteral("true"));
        folders.updateFolder(folder, true);
    }
}

void clickIfReady(KRXFolderViewWidget* view)
{
    QTreeWidgetItem* row = view->topLevelItem(0);
    if (KRXFolderViewWidget::getIngestState(row) != KRXFolderViewWidget::NewClipsAvailable)
        return;
    say(QStringLiteral("ready"));
    const QModelIndex cell = view->model()->index(0, KRXFolderViewWidget::kIdxIngestColumn);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, view->visualRect(cell).center());
}

int run(DeskSession& session, const QCommandLineParser& parser)
{
    const QuitSignals quitSignals;
    DeskOptions options;
    options.serviceProgram = parser.value(QStringLiteral("service"));
    options.serviceData = parser.value(QStringLiteral("data"));
    ServiceSupervisor::Settings service = DeskApplication::serviceSettings(options);
    service.arguments = QStringList{QStringLiteral("--settle"), QStringLiteral("0.1"),
                                    QStringLiteral("--rescan"), QStringLiteral("0.5")};
    service.restartPause = 1;
    DeskWindow window(session, service, kPollInterval);
    QObject::connect(&window, &DeskWindow::serviceOnlineChanged, &window, [&](bool online) {
        say(online ? QStringLiteral("online") : QStringLiteral("offline"));
        if (!online)
            return;
        registerFolder(parser.value(QStringLiteral("folder")), parser.value(QStringLiteral("copy-to")));
        window.refreshFolders();
    });
    QObject::connect(&session.clips(), &ClipIntake::taken, &window,
                     [](const QString& name) { say(QStringLiteral("taken %1").arg(name)); });
    QObject::connect(&session.project(), &DeskProject::modifiedChanged, &window, [](bool modified) {
        if (!modified)
            say(QStringLiteral("saved"));
    });
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &window, [&] { clickIfReady(window.folderView()); });
    look.start(kLookInterval);
    window.show();
    window.start();
    return QApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QCommandLineParser parser;
    const QStringList names{QStringLiteral("project"), QStringLiteral("data"),    QStringLiteral("service"),
                            QStringLiteral("folder"),  QStringLiteral("copy-to"), QStringLiteral("die-at")};
    for (const QString& name : names)
        parser.addOption(QCommandLineOption(name, QString(), QStringLiteral("VALUE")));
    parser.process(application);
    theDeathWord = parser.value(QStringLiteral("die-at"));

    DeskSession session;
    QString error;
    if (!session.openOrCreate(parser.value(QStringLiteral("project")), error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    const int code = run(session, parser);
    DeskApplication::cleanUpModule();
    return code;
}

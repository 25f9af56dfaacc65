#include "Demo.h"

#include "DemoMedia.h"
#include "DeskWindow.h"

#include "KRXFolder.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"

#include <QDir>
#include <QFileInfo>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

Demo::Demo(const QString& folder)
    : m_folder(folder)
    , m_media(QString(folder + QLatin1String("/Media")))
    , m_watched(QString(folder + QLatin1String("/Watched Folder")))
{
}

bool Demo::prepare(DeskOptions& options, QString& error)
{
    if (!DemoMedia::make(m_media, error))
        return false;
    if (!QDir().mkpath(m_watched)) {
        error = DeskWindow::tr("The folder %1 cannot be made").arg(m_watched);
        return false;
    }
    if (options.project.isEmpty())
        options.project = QString(m_folder + QLatin1String("/Demo.krxproject"));
    if (options.serviceData.isEmpty())
        options.serviceData = QString(m_folder + QLatin1String("/service"));
    if (!qEnvironmentVariableIsSet("KRX_CONNECT_PORT"))
        qputenv("KRX_CONNECT_PORT", QByteArray::number(freePort()));
    return true;
}

void Demo::follow(DeskWindow& window)
{
    QObject::connect(&window, &DeskWindow::serviceOnlineChanged, &window, [this, &window](bool online) {
        if (online)
            registerFolder(window);
    });
}

void Demo::registerFolder(DeskWindow& window)
{
    KRXFolderManager& folders = KRXFolderManager::getInstance();
    if (!folders.refreshFolders(true) || folders.countFolders() > 0)
        return;
    KRXFolder folder;
    const QString profile = KRXProfileManager::getInstance().getDefaultProfileID();
    if (!folders.createFolder(m_watched, profile, folder)) {
        window.showMessage(folders.lastError());
        return;
    }
    folder.setProperty(KRXFolderProperties::kEnabled, QStringLiteral("true"));
    if (!folders.updateFolder(folder, true))
        window.showMessage(folders.lastError());
    window.refreshFolders();
    QString error;
    const QStringList names = DemoMedia::fileNames();
    for (const QString& name : names) {
        const bool there = QFileInfo::exists(QDir(m_watched).filePath(name));
        if (!there && !DemoMedia::drop(QDir(m_media).filePath(name), m_watched, error))
            window.showMessage(error);
    }
}

quint16 Demo::freePort()
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    quint16 port = 0;
    if (::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0 &&
        ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    ::close(socket);
    return port;
}

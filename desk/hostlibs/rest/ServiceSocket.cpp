#include "ServiceSocket.h"

#include <QByteArray>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace StandInHost {

namespace {

constexpr const char* kRuntimeVariable = "XDG_RUNTIME_DIR";
constexpr const char* kDirectory = "/krx-service";
constexpr const char* kSocket = "/socket";
constexpr mode_t kOthers = 077;

} // namespace

std::string serviceSocketPath()
{
    const std::string folder = qgetenv(kRuntimeVariable).toStdString();
    const std::string path = folder + kDirectory + kSocket;
    const bool fits = path.size() < sizeof(sockaddr_un::sun_path);
    return !folder.empty() && folder.front() == '/' && fits ? path : std::string();
}

bool mayHaveServiceSocket()
{
    struct stat folder = {};
    return !serviceSocketPath().empty() && ::stat(qgetenv(kRuntimeVariable).constData(), &folder) == 0 &&
           S_ISDIR(folder.st_mode) && folder.st_uid == ::geteuid();
}

std::string ownServiceSocket()
{
    const std::string path = serviceSocketPath();
    if (path.empty())
        return {};
    struct stat directory = {};
    struct stat socket = {};
    const std::string folder = path.substr(0, path.rfind('/'));
    const bool isOwn = ::lstat(folder.c_str(), &directory) == 0 && S_ISDIR(directory.st_mode) &&
                       directory.st_uid == ::geteuid() && (directory.st_mode & kOthers) == 0 &&
                       ::lstat(path.c_str(), &socket) == 0 && S_ISSOCK(socket.st_mode) &&
                       socket.st_uid == ::geteuid();
    return isOwn ? path : std::string();
}

} // namespace StandInHost

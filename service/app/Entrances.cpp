#include "app/Entrances.h"

#include "app/Supervisor.h"
#include "base/Log.h"

#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <charconv>
#include <cstring>

namespace krxservice {

namespace {

/// Where a listening socket is found by clients.
std::string addressOf(int socket)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
        return {};
    if (address.ss_family == AF_UNIX) {
        sockaddr_un local{};
        std::memcpy(&local, &address, sizeof local);
        return local.sun_path;
    }
    sockaddr_in four{}; // the port is at the same place in both
    std::memcpy(&four, &address, sizeof four);
    return (address.ss_family == AF_INET ? "http://127.0.0.1:" : "http://[::1]:") +
           std::to_string(ntohs(four.sin_port));
}

} // namespace

std::string Entrances::open(HttpListener& listener, const Options& options, bool& inUse)
{
    inUse = false;
    if (const auto given = supervisor::takeSockets(); !given.empty())
        return adoptGiven(listener, given);
    if (options.hasPort) {
        std::string error;
        const int port = listener.bind(options.port, error, inUse);
        if (port == 0)
            return error;
        m_address = "http://127.0.0.1:" + std::to_string(port);
        m_places.push_back(m_address);
    }
    return openSocket(listener, options, inUse);
}

std::string Entrances::adoptGiven(HttpListener& listener, const std::vector<int>& sockets)
{
    for (const int socket : sockets) {
        const std::string address = addressOf(socket);
        if (const auto reason = listener.adopt(socket); !reason.empty())
            return "the socket " + address + " that was handed over cannot be used: " + reason;
        log::info("listening on " + address + ", which was handed over");
        m_places.push_back(address);
        if (m_address.empty() || address.rfind("http://127.", 0) == 0)
            m_address = address;
    }
    return {};
}

std::string Entrances::openSocket(HttpListener& listener, const Options& options, bool& inUse)
{
    const bool usual = options.wantsUsualSocket();
    const std::string path = usual ? LocalSocket::defaultPath() : options.socketPath;
    if (!options.hasSocket || (path.empty() && !usual))
        return {};
    std::string reason = path.empty() ? "there is no place for the socket: XDG_RUNTIME_DIR is not set"
                                      : m_socket.open(path, inUse);
    if (reason.empty())
        reason = listener.adopt(m_socket.take());
    if (reason.empty()) {
        log::info("listening on " + path);
        m_places.push_back(path);
        if (m_address.empty())
            m_address = path;
    } else if (usual && options.hasPort) {
        log::warning(reason + "; going on with the port only");
        reason.clear();
        inUse = false;
    }
    return reason;
}

Outcome<std::vector<uid_t>> usersCalled(const std::vector<std::string>& names)
{
    std::vector<uid_t> users;
    for (const auto& name : names) {
        uid_t user = 0;
        const auto [rest, error] = std::from_chars(name.data(), name.data() + name.size(), user);
        const bool isNumber = error == std::errc() && rest == name.data() + name.size();
        const passwd* entry = ::getpwnam(name.c_str());
        if (!entry && !isNumber)
            return Refusal{2, "there is no user called " + name};
        users.push_back(entry ? entry->pw_uid : user);
    }
    return users;
}

} // namespace krxservice

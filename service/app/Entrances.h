#pragma once

#include "base/Options.h"
#include "http/HttpListener.h"
#include "http/LocalSocket.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace krxservice {

/// The ways into the service: the port, the Unix socket, or the sockets that a service manager handed over.
class Entrances
{
public:
    /// Opens what \a options ask for. The usual socket beside the port is a convenience and may fail with a
    /// line in the log; whatever was asked for by name may not. An empty text or the reason; \a inUse tells
    /// whether another instance is there.
    std::string open(HttpListener& listener, const Options& options, bool& inUse);

    /// Where clients find the service, for a person: a URL, or the socket's path.
    const std::string& address() const { return m_address; }
    /// All of the ways in, in the same form.
    const std::vector<std::string>& places() const { return m_places; }

private:
    std::string adoptGiven(HttpListener& listener, const std::vector<int>& sockets);
    std::string openSocket(HttpListener& listener, const Options& options, bool& inUse);

    LocalSocket m_socket;
    std::string m_address;
    std::vector<std::string> m_places;
};

/// The numbers of users called \a names; a number stands for itself.
Outcome<std::vector<uid_t>> usersCalled(const std::vector<std::string>& names);

} // namespace krxservice

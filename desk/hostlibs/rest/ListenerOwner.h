#pragma once

#include "HostComponentFactory.h"

#include <sys/socket.h>
#include <sys/types.h>

#include <cstdint>
#include <string>

namespace StandInHost {

/// Whose program it is that takes connections at a place of this machine.
struct KRX_HOST_API ListenerOwner
{
    enum Kind {
        /// Nobody listens there.
        Nobody,
        Known,
        /// The kernel does not say.
        NotFoundOut
    };

    Kind kind = NotFoundOut;
    /// Meaningful only when known.
    uid_t user = 0;

    /// Asks the kernel, and waits for nobody. \param address a socket address of the IPv4 or IPv6 loopback.
    /// Safe from any thread.
    static ListenerOwner at(const sockaddr_storage& address);
    /// The same for a port of 127.0.0.1.
    static ListenerOwner atPort(std::uint16_t port);

    /// Whether a client of \a own may speak to it: to its own user's service only, or to that of the user who
    /// is meant. Root's is no exception: its service would do with root's rights what anybody asks for.
    /// \param meant a user's name or number (KRX_CONNECT_USER); empty for none.
    bool mayBeAskedBy(uid_t own, const std::string& meant) const;
    /// The user's name, or the number of one without a name. Empty unless known.
    std::string name() const;
};

/// The user whose service may be asked besides the own one: KRX_CONNECT_USER; empty for none.
KRX_HOST_API std::string meantUser();

} // namespace StandInHost

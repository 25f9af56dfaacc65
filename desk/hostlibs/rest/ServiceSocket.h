#pragma once

#include "HostComponentFactory.h"

#include <string>

namespace StandInHost {

/// Where a service of this user makes its Unix socket: $XDG_RUNTIME_DIR/krx-service/socket; empty where there
/// is no such place.
KRX_HOST_API std::string serviceSocketPath();

/// Whether this user can have a socket there: the runtime folder is there and is this user's own, which it is
/// not in a shell that took over another user's environment.
KRX_HOST_API bool mayHaveServiceSocket();

/// The path when the socket is there and nobody but this user can have made it: socket and directory belong
/// to this user, the directory is open to nobody else, and neither is a link. Otherwise empty.
KRX_HOST_API std::string ownServiceSocket();

} // namespace StandInHost

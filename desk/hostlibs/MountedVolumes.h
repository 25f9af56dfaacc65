#pragma once

#include "StandInHost.h"

/// The mounted file systems as volumes. Inside the stand-in only.
namespace StandInHost {

/// File systems that media can lie on, those of one device together; pseudo file systems are left out.
/// Network mounts that do not answer within a short time are left out, too.
QList<QList<Volume>> mountedVolumes();

} // namespace StandInHost

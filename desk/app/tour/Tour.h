#pragma once

#include "DeskOptions.h"

/// The guided tour: plays a clip's whole way through the desk by itself, with real mouse and key events and a
/// service of its own on fresh folders, and leaves pictures and a report.
namespace Tour {

/// \return the program's exit code: 0 only when every step held.
int run(const DeskOptions& options);

} // namespace Tour

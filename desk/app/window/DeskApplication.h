#pragma once

#include "DeskApi.h"
#include "DeskOptions.h"
#include "ServiceSupervisor.h"

class DeskProject;

/// What the program does once the command line is understood.
namespace DeskApplication {

/// Exit code when the demo or the tour is asked for and not installed.
constexpr int kExtrasMissing = 3;

/// Does what the options ask for until that is over. \return the program's exit code.
int run(const DeskOptions& options);
/// Says on standard error that the demo and the tour are not installed. \return kExtrasMissing.
int refuseMissingExtras();

/// Opens the project file, or starts an empty project when there is no such file.
/// \return false with a text in \a error when the file cannot be read.
KRX_DESK_API bool openProject(DeskProject& project, const QString& path, QString& error);

/// How the service is started for these options.
KRX_DESK_API ServiceSupervisor::Settings serviceSettings(const DeskOptions& options);

/// Deletes the module's two managers: to be called after the last window is gone and before the application
/// object dies.
KRX_DESK_API void cleanUpModule();

} // namespace DeskApplication

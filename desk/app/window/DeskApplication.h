#pragma once

#include "DeskOptions.h"
#include "ServiceSupervisor.h"

class DeskProject;

/// What the program does once the command line is understood.
namespace DeskApplication {

/// Opens the window on a project and runs until it is closed. \return the program's exit code.
int runWindow(const DeskOptions& options);

/// Opens the project file, or starts an empty project when there is no such file.
/// \return false with a text in \a error when the file cannot be read.
bool openProject(DeskProject& project, const QString& path, QString& error);

/// How the service is started for these options.
ServiceSupervisor::Settings serviceSettings(const DeskOptions& options);

/// Deletes the module's two managers: to be called after the last window is gone and before the application
/// object dies.
void cleanUpModule();

} // namespace DeskApplication

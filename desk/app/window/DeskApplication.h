#pragma once

#include "DeskApi.h"
#include "DeskOptions.h"
#include "ServiceSupervisor.h"

#include <QString>

class DeskSession;

/// What the program does once the command line is understood.
namespace DeskApplication {

/// Exit code when the demo or the tour is asked for and not installed.
constexpr int kExtrasMissing = 3;

/// Does what the options ask for until that is over. \return the program's exit code.
int run(const DeskOptions& options);
/// Says on standard error that the demo and the tour are not installed. \return kExtrasMissing.
int refuseMissingExtras();

/// Opens the project of the last time. Where that cannot be opened, a person is asked whether to try again;
/// after a no, the desk's own project is opened, and another one beside it where that is damaged.
/// \param last the project of the last time; empty when there was none. Nothing is ever made in its place.
/// \param ownFolder the folder of the desk's own projects; made when it is missing.
/// \return false with a text in \a error when not even a new project can be made.
bool openLast(DeskSession& session, const QString& last, const QString& ownFolder, QString& error);

/// How the service is started for these options.
KRX_DESK_API ServiceSupervisor::Settings serviceSettings(const DeskOptions& options);

/// Deletes the module's two managers: to be called after the last window is gone and before the application
/// object dies.
KRX_DESK_API void cleanUpModule();

} // namespace DeskApplication

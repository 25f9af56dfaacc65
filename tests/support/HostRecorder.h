#pragma once

#include "StandInHost.h"

/// What reached the stand-in host since the test program began or resetRecords() was called, oldest first.
/// A program that calls one of these records from its start.
namespace StandInHost {

/// Every message box, answered or shown.
QList<MessageRequest> messageLog();
QList<DirectoryRequest> directoryLog();
QList<ProgressStep> progressLog();
QList<HelpRequest> helpLog();

} // namespace StandInHost

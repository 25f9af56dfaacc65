#pragma once

#include "HostComponentFactory.h"

#include <QString>

/// The host's status bar and help. GUI thread only; none of these may run an event loop.
namespace HostStatusShell {

/// Forgets a progress that was shown before.
/// Without it: nothing else happens.
KRX_HOST_API void statusProgressReset();
/// Shows progress at once.
/// \param text what is going on, localised. \param current steps done. \param total steps in all (> 0).
/// Without it: nobody sees the progress.
KRX_HOST_API void statusProgressUpdate(const QString& text, int current, int total);
/// Takes the progress away.
/// Without it: nothing else happens.
KRX_HOST_API void statusProgressClose();

/// Opens the help at a topic. \param topic the topic's name. \param flag 1 shows it as the window's own help.
/// Without it: the button shows nothing.
KRX_HOST_API void showHelpTopic(const QString& topic, int flag);

} // namespace HostStatusShell

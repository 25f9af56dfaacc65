#pragma once

#include <HostOperations.h>

class QString;
class QWidget;

/// What this program expects of a plug-in that brings a panel: one function, found by its name.
struct PanelPlugin
{
    /// Makes the panel; the caller owns it. \param takeClip gets the output file of each clip that is taken.
    QWidget* (*makePanel)(void (*takeClip)(const QString&));
    /// Asks the service what there is and shows it. \param take takes what is ready, as a click does.
    void (*look)(QWidget* panel, bool take);
    /// To be called when the panel is gone.
    void (*cleanUp)();
};

/// The type of "krxPanelPlugin". \param host what the program offers.
/// \param why receives a sentence when there is no plug-in for such a host; nothing when that is of another
/// Qt, which the log says. \return null then.
using PanelPluginEntry = const PanelPlugin* (*)(const HostOperations* host, QString* why);

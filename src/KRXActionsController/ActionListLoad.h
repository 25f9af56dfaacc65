#pragma once

#include <QList>
#include <QString>

/// One volume as the destination boxes list it.
struct DestinationVolume
{
    QString name;
    /// The mount path with a closing separator.
    QString path;
    bool locked = false;
};

/// The loading of one whole list of actions. While it lives, what is the same for every row is asked of the
/// host only once. Loads may be nested; GUI thread only.
class ActionListLoad
{
public:
    ActionListLoad();
    ~ActionListLoad();
    ActionListLoad(const ActionListLoad&) = delete;
    ActionListLoad& operator=(const ActionListLoad&) = delete;

    /// Whether a load is going on.
    static bool isRunning();
    /// The volumes that media can be written to, in the host's order: those at the first call within a load,
    /// those of this moment outside of one.
    static QList<DestinationVolume> volumes();
};

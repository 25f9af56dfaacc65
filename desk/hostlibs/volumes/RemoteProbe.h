#pragma once

#include "HostComponentFactory.h"

#include <QSet>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>

namespace StandInHost {

/// Asks mounts whether they are there, without waiting for those that hang. Inside the stand-in only, but for
/// its test.
///
/// A file system whose server is away can hold a thread for minutes, so every mount is asked by a thread of
/// its own that nobody waits for longer than the patience. A mount that still hangs from an earlier question
/// is neither asked again nor waited for.
class KRX_HOST_API RemoteProbe
{
public:
    /// Tells whether the mount at a path is there; called in other threads, also after this probe is gone.
    using Question = std::function<bool(const QString& path)>;

    explicit RemoteProbe(Question question,
                         std::chrono::milliseconds patience = std::chrono::milliseconds(250));
    ~RemoteProbe();

    /// Those of \a paths that said in time that they are there.
    QSet<QString> answering(const QStringList& paths);

private:
    struct State;
    static void ask(const std::shared_ptr<State>& state, const QString& path);

    /// Shared with the threads, which may outlive the probe.
    std::shared_ptr<State> m_state;
    std::chrono::milliseconds m_patience;
};

} // namespace StandInHost

#include "RemoteProbe.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

namespace StandInHost {

struct RemoteProbe::State
{
    Question question;
    std::mutex mutex;
    std::condition_variable changed;
    /// The probe is gone and maybe the program is ending: what answers now is told to nobody.
    bool ended = false;
    /// What was asked and has not answered.
    QSet<QString> asked;
    /// What said yes since it was asked last.
    QSet<QString> there;
};

RemoteProbe::RemoteProbe(Question question, std::chrono::milliseconds patience)
    : m_state(std::make_shared<State>())
    , m_patience(patience)
{
    m_state->question = std::move(question);
}

RemoteProbe::~RemoteProbe()
{
    const std::lock_guard<std::mutex> guard(m_state->mutex);
    m_state->ended = true;
}

QSet<QString> RemoteProbe::answering(const QStringList& paths)
{
    State& state = *m_state;
    std::unique_lock<std::mutex> lock(state.mutex);
    QStringList awaited;
    for (const QString& path : paths) {
        if (state.asked.contains(path))
            continue;
        state.there.remove(path);
        state.asked.insert(path);
        awaited.append(path);
        ask(m_state, path);
    }
    state.changed.wait_for(lock, m_patience, [&state, &awaited] {
        return std::none_of(awaited.cbegin(), awaited.cend(),
                            [&state](const QString& path) { return state.asked.contains(path); });
    });
    QSet<QString> there;
    for (const QString& path : paths) {
        if (state.there.contains(path))
            there.insert(path);
    }
    return there;
}

void RemoteProbe::ask(const std::shared_ptr<State>& state, const QString& path)
{
    try {
        std::thread([state, path] {
            const bool isThere = state->question(path);
            const std::lock_guard<std::mutex> guard(state->mutex);
            if (state->ended)
                return;
            state->asked.remove(path);
            if (isThere)
                state->there.insert(path);
            state->changed.notify_all();
        }).detach();
    } catch (const std::system_error& error) {
        // No thread to be had: the mount is not listed this time.
        qWarning("The mount %s could not be asked: %s", qUtf8Printable(path), error.what());
        state->asked.remove(path);
    }
}

} // namespace StandInHost

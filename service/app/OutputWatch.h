#pragma once

#include "base/FileTools.h"

#include <functional>
#include <map>
#include <string>
#include <thread>

namespace krxservice {

/// Hears of it when hosts take finished clips by removing their documents, so that it can be told to all.
/// What it misses, where the system has no events to give, is found by the regular look at the documents.
class OutputWatch
{
public:
    /// \a root: the output area, which exists. \a taken is called on a thread of its own when documents may
    /// have been taken; it must not wait.
    OutputWatch(std::string root, std::function<void()> taken);
    ~OutputWatch();
    OutputWatch(const OutputWatch&) = delete;
    OutputWatch& operator=(const OutputWatch&) = delete;

    void start();
    void stop();

private:
    void run();
    void watch(const std::string& directory, int depth);
    bool takeEvents();

    const std::string m_root;
    const std::function<void()> m_taken;
    filetools::Descriptor m_events;
    filetools::Descriptor m_end;
    struct Place
    {
        std::string directory;
        int depth; ///< of the directories below it that may hold documents, too
    };
    std::map<int, Place> m_places; ///< by watch
    std::thread m_thread;
};

} // namespace krxservice

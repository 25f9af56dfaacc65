#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace krxservice {

/// Finds the canonical forms of paths and waits for none of them longer than a moment, because a path may lie
/// on a file system that does not answer. Not thread-safe.
class PathResolver
{
public:
    explicit PathResolver(std::chrono::milliseconds longest)
        : m_longest(longest)
    {
    }

    /// The canonical form; \a path itself when nothing is there or no answer came in time. While an answer is
    /// owed the path is not asked for again.
    std::string canonical(const std::string& path);
    /// Forgets what was found, so that it is asked for anew.
    void forget();

private:
    struct Question
    {
        std::mutex mutex;
        std::condition_variable answered;
        std::optional<std::string> answer;
    };

    std::chrono::milliseconds m_longest;
    std::map<std::string, std::shared_ptr<Question>> m_questions;
};

} // namespace krxservice

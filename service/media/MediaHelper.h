#pragma once

#include "base/CancelToken.h"
#include "base/FileTools.h"

#include <sys/types.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace krxservice {

/// What came back from a helper.
struct HelperAnswer
{
    enum class End {
        Answered,   ///< text is the answer
        NotStarted, ///< the program cannot be started; text says why
        Crashed,    ///< it ended instead of answering; text says how
        Late,       ///< it took longer than it may and was ended
        Cancelled   ///< the caller did not want to wait any longer
    };

    End end = End::NotStarted;
    std::string text;
};

/// One process of krx-media, ended with its object. Not thread-safe.
class MediaHelper
{
public:
    /// \a program: its path and arguments. When it cannot be started, startError() says why.
    explicit MediaHelper(const std::vector<std::string>& program);
    ~MediaHelper();
    MediaHelper(const MediaHelper&) = delete;
    MediaHelper& operator=(const MediaHelper&) = delete;

    const std::string& startError() const { return m_startError; }
    /// Files that it was asked about.
    int uses() const { return m_uses; }

    /// Hands over the open \a file and waits for the answer for at most \a longest milliseconds. After any
    /// other end than Answered the object is of no more use.
    HelperAnswer ask(int file, const std::string& name, const CancelToken& cancel, int longest);

private:
    bool send(int file, const std::string& name);
    HelperAnswer broken();
    void end();

    filetools::Descriptor m_socket{-1};
    pid_t m_process = -1;
    int m_uses = 0;
    bool m_isResting = false; ///< it answered and waits for the next question
    std::string m_startError;
};

/// The helpers of this process. Thread-safe.
class MediaHelpers
{
public:
    static constexpr int kMostIdle = 4;    ///< kept for the next file
    static constexpr int kMostUses = 1000; ///< after which one is replaced

    explicit MediaHelpers(std::vector<std::string> program, int longestMilliseconds)
        : m_program(std::move(program))
        , m_longest(longestMilliseconds)
    {
    }

    /// Asks an idle helper or a new one. Blocks the calling thread.
    HelperAnswer ask(int file, const std::string& name, const CancelToken& cancel);

private:
    std::unique_ptr<MediaHelper> take();
    void giveBack(std::unique_ptr<MediaHelper> helper);

    const std::vector<std::string> m_program;
    const int m_longest;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<MediaHelper>> m_idle;
};

} // namespace krxservice

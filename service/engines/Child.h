#pragma once

#include "base/FileTools.h"
#include "confinement/Confinement.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace krxservice {

/// What a child process is started with.
struct ChildOrder
{
    /// The program (searched for in PATH when it has no slash) and its arguments.
    std::vector<std::string> command;
    /// Descriptors that it gets: ours, and what it knows them as, from 3 on.
    std::vector<std::pair<int, int>> descriptors;
    /// What it gives up before the program begins; null for one that does that itself. The caller's.
    const Confinement* confinement = nullptr;
};

/// One process for one piece of work, in a process group of its own: without the service's environment and
/// descriptors, without a way to more privileges, and ended with its object, or with the service.
///
/// Its standard input and output lead nowhere; of its standard error the last lines are kept.
class Child
{
public:
    explicit Child(const ChildOrder& order);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Not empty when it could not be started.
    const std::string& startError() const { return m_startError; }

    /// Can be read from when the child has said something; -1 when it will not any more.
    int errorStream() const { return m_errors.get(); }
    /// Takes what the child said, without waiting.
    void takeErrors();
    /// The last of what it said, without what it could bring out of order, as lines.
    const std::string& said() const { return m_said; }

    /// How it ended, or nothing while it runs.
    std::optional<int> ended();
    /// Ends it and all that it started, at once.
    void kill();

    /// Where the program \a name is, or an empty text.
    static std::string find(const std::string& name);
    /// The words for a status that ended() gave; empty when it ended well.
    static std::string describe(int status);
    /// True for the status of one that did not end by itself, nor by what it worked on: somebody ended it, or
    /// the system when memory was short.
    static bool wasEndedByOthers(int status);

private:
    pid_t m_process = -1;
    std::optional<int> m_status;
    filetools::Descriptor m_errors{-1};
    std::string m_said;
    std::string m_startError;
};

} // namespace krxservice

#pragma once

#include "engines/Child.h"
#include "engines/Ffmpeg.h"

#include <memory>
#include <string>
#include <vector>

namespace krxservice {

/// krx-media at work on one input of ffmpeg: it asks for files and writes their packets into a pipe.
class Feeder
{
public:
    static constexpr int kLead = 10; ///< seconds of its stream before what is presented

    explicit Feeder(const EngineInput& input);

    const std::string& startError() const { return m_startError; }
    /// The end to be read from, until releaseStream().
    int stream() const { return m_stream.get(); }
    void releaseStream() { m_stream = filetools::Descriptor(-1); }

    int socket() const { return m_socket.get(); }
    int errorStream() const { return m_child ? m_child->errorStream() : -1; }
    /// Answers what it asked, without waiting. True when there was a question.
    bool serve();

    /// After its reader has ended, well or not: waits for its report. An empty text or why it did not do all.
    std::string finish(const CancelToken& cancel, bool didReaderEndWell);
    void kill();

    const std::vector<FedStream>& streams() const { return m_streams; }
    bool wasDamaged() const { return m_wasDamaged; }
    /// After finish(): somebody ended it before it was done.
    bool wasEndedByOthers() const { return m_wasEndedByOthers; }

    /// Ffmpeg::check(), once.
    static CheckResult check(const EngineFile& file, const CancelToken& cancel);

private:
    Feeder(const EngineInput& input, const std::vector<std::string>& task, bool hasStream);
    void answer();
    bool handOver(const EngineFile& file, std::int64_t number);
    void read(const std::string& report);

    EngineInput m_input;
    std::int64_t m_next = 0; ///< number of the picture that is handed over next
    filetools::Descriptor m_socket{-1};
    filetools::Descriptor m_stream{-1};
    std::unique_ptr<Child> m_child;
    std::string m_startError;
    std::string m_report;
    std::string m_failure; ///< what this side could not do
    std::vector<FedStream> m_streams;
    bool m_wasDamaged = false;
    bool m_wasEndedByOthers = false;
};

} // namespace krxservice

#include "engines/Ffmpeg.h"

#include "engines/Child.h"
#include "engines/Feeder.h"

#include "base/Log.h"
#include "base/Text.h"
#include "media/helper/HelperRequests.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace krxservice {

namespace {

constexpr int kSliceMilliseconds = 50; ///< how soon cancelled work ends
constexpr int kProgress = 3;           ///< descriptors as ffmpeg knows them
constexpr int kFirstInput = 4;
constexpr int kMostPercent = 99; ///< until it is done
constexpr int kToldToEnd = 255;  ///< the code with which ffmpeg ends when a signal told it to
constexpr rlim_t kMostDescriptors = 256;
constexpr rlim_t kMemory = rlim_t(32) * 1024 * 1024 * 1024; ///< bytes of address space
constexpr std::size_t kLongestReason = 300;
constexpr std::int64_t kWriteBehind = std::int64_t{8} * 1024 * 1024; ///< bytes

struct Settings
{
    std::vector<std::string> program = {"ffmpeg"};
    int silence = Ffmpeg::kSilence;
};

std::mutex settingsMutex;
Settings settings;

Settings present()
{
    const std::lock_guard lock(settingsMutex);
    return settings;
}

std::int64_t steadyMilliseconds()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

/// What ffmpeg writes to its progress pipe: lines of key=value.
class Progress
{
public:
    /// Takes what came. \return true when the work went a step forward.
    bool take(int pipe)
    {
        bool isStep = false;
        char bytes[4096];
        for (;;) {
            const ssize_t got = ::read(pipe, bytes, sizeof bytes);
            if (got < 0 && errno == EINTR)
                continue;
            m_isOver = got == 0;
            if (got <= 0)
                return isStep;
            m_text.append(bytes, static_cast<std::size_t>(got));
            for (std::size_t end = 0; (end = m_text.find('\n')) != std::string::npos;
                 m_text.erase(0, end + 1))
                isStep = takeLine(m_text.substr(0, end)) || isStep;
            if (m_text.size() > sizeof bytes)
                m_text.clear();
        }
    }

    bool isOver() const { return m_isOver; }
    double seconds() const { return m_seconds; }

private:
    bool takeLine(const std::string& line)
    {
        const std::size_t sign = line.find('=');
        const std::string key = line.substr(0, sign);
        const std::string value = sign == std::string::npos ? std::string() : line.substr(sign + 1);
        std::string* const known = key == "frame"         ? &m_frame
                                   : key == "out_time_us" ? &m_time
                                   : key == "total_size"  ? &m_size
                                                          : nullptr;
        if (!known || *known == value)
            return false;
        *known = value;
        if (key == "out_time_us")
            m_seconds = std::max(m_seconds, std::strtod(value.c_str(), nullptr) / 1e6);
        return true;
    }

    std::string m_text;
    std::string m_frame;
    std::string m_time;
    std::string m_size;
    double m_seconds = 0;
    bool m_isOver = false;
};

/// The last line that says something, without the place in ffmpeg that it comes from.
std::string lastLine(const std::string& said)
{
    std::string text = said;
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    text.erase(0, text.rfind('\n') == std::string::npos ? 0 : text.rfind('\n') + 1);
    if (!text.empty() && text.front() == '[' && text.find("] ") != std::string::npos)
        text.erase(0, text.find("] ") + 2);
    return text.substr(0, kLongestReason);
}

/// The first line that complains of what was read. That the stream of packets has no name for a codec does
/// not matter: its decoder is named.
std::string firstComplaint(const std::string& said)
{
    for (std::size_t begin = 0; begin < said.size();) {
        const std::size_t end = std::min(said.find('\n', begin), said.size());
        const std::string line = lastLine(said.substr(begin, end - begin));
        if (!line.empty() && line.rfind("Unknown codec tag", 0) != 0)
            return line;
        begin = end + 1;
    }
    return {};
}

/// True when what has just come to an end as \a text says is to be begun once more. \a start: how often it
/// was.
bool isBegunAnew(bool wasEnded, int start, const CancelToken& cancel, const std::string& text)
{
    if (!wasEnded || start >= Ffmpeg::kMostStarts || *cancel)
        return false;
    log::warning(text + " and begins anew");
    return true;
}

/// One piece of work on its way.
class Run
{
public:
    /// \param told the percentage that was told of the order last.
    Run(const EngineOrder& order, int& told)
        : m_order(order)
        , m_told(told)
        , m_settings(present())
    {
    }

    EngineResult run()
    {
        for (const auto& input : m_order.inputs) {
            m_feeders.push_back(std::make_unique<Feeder>(input));
            if (!m_feeders.back()->startError().empty())
                return ended(EngineResult::End::NotThere, m_feeders.back()->startError());
        }
        if (!start())
            return ended(EngineResult::End::NotThere,
                         m_startError.empty() ? m_ffmpeg->startError() : m_startError);
        // From here on the feeds have no reader but ffmpeg: when that ends, they do.
        for (auto& feeder : m_feeders)
            feeder->releaseStream();
        return follow();
    }

private:
    EngineResult ended(EngineResult::End end, const std::string& text)
    {
        for (auto& feeder : m_feeders)
            feeder->kill();
        if (m_ffmpeg)
            m_ffmpeg->kill();
        EngineResult result;
        result.end = end;
        result.text = text;
        return result;
    }

    std::vector<std::string> command(std::vector<std::pair<int, int>>& descriptors) const
    {
        std::vector<std::string> command = m_settings.program;
        const auto add = [&](const std::vector<std::string>& more) {
            command.insert(command.end(), more.begin(), more.end());
        };
        add({"-nostdin", "-hide_banner", "-nostats", "-v", "error", "-y", "-copyts", "-progress",
             "pipe:" + std::to_string(kProgress), "-stats_period", "0.2"});
        int next = kFirstInput;
        for (std::size_t i = 0; i < m_order.inputs.size(); ++i) {
            add({"-protocol_whitelist", "pipe", "-format_whitelist", "nut"});
            add(m_order.inputs[i].arguments);
            add({"-f", "nut", "-i", "pipe:" + std::to_string(next)});
            descriptors.emplace_back(m_feeders[i]->stream(), next++);
        }
        add(m_order.filters);
        for (const auto& output : m_order.outputs) {
            add(output.arguments);
            // A muxer goes back to fill in what it knows at the end, which it cannot in a pipe.
            add({"-f", output.format, "/proc/self/fd/" + std::to_string(next)});
            descriptors.emplace_back(output.file, next++);
        }
        return command;
    }

    /// It may open itself, what it needs to begin, and the outputs.
    std::string confine(Confinement& confinement) const
    {
        for (const auto& word : m_settings.program) {
            const std::string path = Child::find(word);
            if (&word == &m_settings.program.front() || word.front() == '/')
                confinement.files().mayRun(path);
        }
        for (const auto& output : m_order.outputs)
            confinement.files().mayWrite(output.file);
        confinement.limit(RLIMIT_AS, kMemory);
        confinement.limit(RLIMIT_NOFILE, kMostDescriptors);
        return confinement.filterCalls();
    }

    bool start()
    {
        int pipe[2] = {-1, -1};
        if (::pipe2(pipe, O_CLOEXEC) != 0) {
            m_startError = "ffmpeg: " + text::errnoText(errno);
            return false;
        }
        m_progressPipe = filetools::Descriptor(pipe[0]);
        const filetools::Descriptor theirs(pipe[1]);
        ::fcntl(m_progressPipe.get(), F_SETFL, O_NONBLOCK);
        ChildOrder child;
        child.descriptors.emplace_back(theirs.get(), kProgress);
        child.command = command(child.descriptors);
        Confinement confinement;
        if (m_startError = confine(confinement); !m_startError.empty())
            return false;
        child.confinement = &confinement;
        m_ffmpeg = std::make_unique<Child>(child);
        return m_ffmpeg->startError().empty();
    }

    void wait()
    {
        std::vector<pollfd> sources;
        const auto add = [&](int descriptor) {
            if (descriptor >= 0)
                sources.push_back({descriptor, POLLIN, 0});
        };
        if (!m_progress.isOver())
            add(m_progressPipe.get());
        add(m_ffmpeg->errorStream());
        for (const auto& feeder : m_feeders) {
            add(feeder->socket());
            add(feeder->errorStream());
        }
        ::poll(sources.data(), sources.size(), kSliceMilliseconds);
    }

    EngineResult follow()
    {
        std::int64_t lastStep = steadyMilliseconds();
        for (;;) {
            wait();
            if (*m_order.cancel)
                return ended(EngineResult::End::Cancelled, "cancelled");
            // Asked before what it said is taken: then nothing can come behind that.
            const auto status = m_ffmpeg->ended();
            m_ffmpeg->takeErrors();
            writeBehind();
            bool isStep = m_progress.take(m_progressPipe.get());
            for (auto& feeder : m_feeders)
                isStep = feeder->serve() || isStep;
            if (status)
                return finish(*status);
            if (isStep) {
                lastStep = steadyMilliseconds();
                tell();
            } else if (steadyMilliseconds() - lastStep > m_settings.silence) {
                return ended(EngineResult::End::Silent, "ffmpeg made no progress for " +
                                                            std::to_string(m_settings.silence / 1000) +
                                                            " seconds and was ended");
            }
        }
    }

    /// Sets the disk to work on what was written, so that little is left to be waited for in the end.
    void writeBehind()
    {
        m_behind.resize(m_order.outputs.size());
        for (std::size_t i = 0; i < m_behind.size(); ++i) {
            struct stat facts
            {
            };
            const int file = m_order.outputs[i].file;
            if (::fstat(file, &facts) != 0 || facts.st_size - m_behind[i] < kWriteBehind)
                continue;
            ::sync_file_range(file, m_behind[i], facts.st_size - m_behind[i], SYNC_FILE_RANGE_WRITE);
            m_behind[i] = facts.st_size;
        }
    }

    void tell()
    {
        if (!m_order.progress || m_order.seconds <= 0)
            return;
        const auto percent = static_cast<int>(m_progress.seconds() * 100 / m_order.seconds);
        m_told = std::clamp(percent, m_told, kMostPercent);
        m_order.progress(m_told);
    }

    EngineResult finish(int status)
    {
        const std::string said = m_ffmpeg->said();
        const std::string how = Child::describe(status);
        if (said.find("No space left on device") != std::string::npos)
            return ended(EngineResult::End::NoSpace, "No space left on device");
        if (Child::wasEndedByOthers(status) || (WIFEXITED(status) && WEXITSTATUS(status) == kToldToEnd))
            return ended(EngineResult::End::Ended, "ffmpeg " + how);
        // Who feeds knows better why there was nothing more to eat.
        for (auto& feeder : m_feeders) {
            if (const std::string reason = feeder->finish(m_order.cancel, how.empty()); !reason.empty())
                return ended(*m_order.cancel              ? EngineResult::End::Cancelled
                             : feeder->wasEndedByOthers() ? EngineResult::End::Ended
                                                          : EngineResult::End::Failed,
                             reason);
        }
        const std::string why = "ffmpeg " + how + (said.empty() ? "" : ": " + lastLine(said));
        EngineResult result =
            how.empty() ? ended(EngineResult::End::Done, {}) : ended(EngineResult::End::Failed, why);
        for (const auto& feeder : m_feeders) {
            result.fed.insert(result.fed.end(), feeder->streams().begin(), feeder->streams().end());
            result.wasDamaged = result.wasDamaged || feeder->wasDamaged();
        }
        if (!how.empty())
            return result;
        result.complaint = firstComplaint(said);
        result.wasDamaged = result.wasDamaged || !result.complaint.empty();
        return result;
    }

    const EngineOrder& m_order;
    int& m_told;
    const Settings m_settings;
    std::vector<std::unique_ptr<Feeder>> m_feeders;
    filetools::Descriptor m_progressPipe{-1};
    Progress m_progress;
    std::unique_ptr<Child> m_ffmpeg;
    std::vector<std::int64_t> m_behind; ///< of each output, how much the disk was told of
    std::string m_startError;
};

} // namespace

EngineResult Ffmpeg::run(const EngineOrder& order)
{
    int told = 0;
    for (int start = 1;; ++start) {
        EngineResult result = Run(order, told).run();
        if (!isBegunAnew(result.end == EngineResult::End::Ended, start, order.cancel, result.text))
            return result;
        for (const auto& output : order.outputs) {
            if (::ftruncate(output.file, 0) != 0 || ::lseek(output.file, 0, SEEK_SET) != 0)
                return result;
        }
    }
}

CheckResult Ffmpeg::check(int file, const std::string& name, const CancelToken& cancel)
{
    for (int start = 1;; ++start) {
        CheckResult result = Feeder::check({file, name}, cancel);
        if (!isBegunAnew(!result.wasLookedAt, start, cancel, result.text))
            return result;
    }
}

std::vector<std::string> Ffmpeg::decoders(const MediaFacts& media)
{
    std::vector<std::string> arguments;
    bool hasPicture = false;
    int sounds = 0;
    for (const auto& stream : media.streams) {
        const bool isPicture = stream.type == "video" && !stream.isCover && stream.width > 0;
        if (stream.codec.empty() || stream.codec == "unknown")
            continue;
        if (isPicture && !hasPicture)
            arguments.insert(
                arguments.end(),
                {"-c:v:0", krxmedia::requests::isUnpacked(stream.codec) ? "rawvideo" : stream.codec});
        hasPicture = hasPicture || isPicture;
        if (stream.type == "audio" && stream.sampleRate > 0 && stream.channels > 0)
            arguments.insert(arguments.end(), {"-c:a:" + std::to_string(sounds++), stream.codec});
    }
    return arguments;
}

std::string Ffmpeg::trimming()
{
    const std::string lead = std::to_string(Feeder::kLead);
    return "trim=start=" + std::to_string(Feeder::kLead - 1) + ".9995,setpts=PTS-" + lead + "/TB";
}

int Ffmpeg::leadSeconds()
{
    return Feeder::kLead;
}

std::string Ffmpeg::soundTrimming()
{
    const std::string lead = std::to_string(Feeder::kLead);
    return "atrim=start=" + lead + ",asetpts=PTS-" + lead + "/TB";
}

void Ffmpeg::use(const std::vector<std::string>& program, int silenceMilliseconds)
{
    const std::lock_guard lock(settingsMutex);
    settings.program = program.empty() ? Settings().program : program;
    settings.silence = silenceMilliseconds;
}

} // namespace krxservice

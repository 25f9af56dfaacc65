#include "activities/Transcoder.h"

#include "MediaCatalogue.h"
#include "activities/EncodingPlan.h"
#include "activities/LinkedSource.h"
#include "activities/MediaTarget.h"
#include "base/Log.h"
#include "base/Text.h"
#include "engines/Ffmpeg.h"
#include "files/SourceFile.h"
#include "files/VolumeTurn.h"
#include "media/MediaProbe.h"
#include "media/Sequence.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <vector>

namespace krxservice::transcoder {

namespace {

constexpr double kMoreSpace = 1.02;                         ///< for what a file has besides its streams
constexpr std::int64_t kLeastSpace = std::int64_t{1} << 20; ///< bytes
constexpr double kMayMiss = 0.5; ///< seconds that a source may hold less than it says
constexpr double kMayMissPart = 0.01;
constexpr std::int64_t kMostMissing = 100000; ///< pictures that others stand for
constexpr int kEncoded = 95;                  ///< percent, when all is encoded and it is looked at
constexpr char kNoPictures[] = "it holds no pictures";
constexpr mode_t kOwners = 0600;
constexpr mode_t kFileMode = 0666;

/// What is done with a written file beside the look at it: its checksum is made while others read it, and
/// it goes to the disk.
class Settling
{
public:
    using Checksum = Outcome<std::string>;

    Settling(int file, const CancelToken& cancel)
        : m_synced(std::async([file] { return ::fdatasync(file) == 0 ? 0 : errno; }))
        , m_checksum(std::async([file, cancel]() -> Checksum {
            std::string error;
            const auto checksum = filetools::checksum(file, cancel, error);
            return checksum ? Checksum(*checksum) : Checksum(Refusal{500, error});
        }))
    {
    }
    /// Each waits for it, and may be asked once.
    Checksum checksum() { return m_checksum.get(); }
    int syncError() { return m_synced.get(); } ///< errno; the system tells it of a file only once

private:
    std::future<int> m_synced;
    std::future<Checksum> m_checksum;
};

/// A file that is made, and what it has to hold.
struct Result
{
    std::shared_ptr<HiddenFile> file;
    std::shared_ptr<Settling> settling; ///< behind the file: it ends first
    std::string kind;                   ///< "picture" or "sound"
    bool hasPicture = false;
    int tracks = 0;
};

class Run
{
public:
    Run(const Clip& clip, const MediaOptions& options, ActivityNote note, const ActivityProgress& progress,
        const CancelToken& cancel, const Making& making)
        : m_making(making)
        , m_clip(clip)
        , m_options(options)
        , m_note(std::move(note))
        , m_progress(progress)
        , m_cancel(cancel)
        , m_videoTarget(options.videoVolume, clip)
        , m_audioTarget(options.audioVolume, clip)
        , m_source(linkedsource::open(clip))
    {
    }

    Outcome<Clip> run()
    {
        if (!m_source.isOpen())
            return linkedsource::whyNot(m_source, failed(m_source.error()));
        const ProbeResult probe = MediaProbe::probe(m_source, m_cancel);
        if (probe.verdict != ProbeResult::Verdict::Media)
            return notRead(probe, {});
        m_media = m_read = probe.facts;
        if (const auto refusal = lookAtSoundPart())
            return *refusal;
        if (isPictures() && pictures() - present() > kMostMissing)
            return failed(std::to_string(pictures() - present()) +
                          " pictures are missing between the first and the last");
        auto plan = m_making.plan
                        ? m_making.plan(m_media)
                        : EncodingPlan::make(m_options, m_clip, m_media, KRXCatalogue::builtInCatalogue());
        if (!plan)
            return failed(plan.refusal().text);
        m_plan = std::move(*plan);
        if (const auto refusal = reckonSpace())
            return *refusal;
        const VolumeTurn turn(volumes());
        if (!turn.waitingFor().empty())
            return Refusal{kWaitFor, turn.waitingFor()};
        if (const auto refusal = openResults())
            return *refusal;
        if (const auto refusal = encode())
            return *refusal;
        for (auto& result : m_results)
            result.settling = std::make_shared<Settling>(result.file->get(), m_cancel);
        for (const auto& result : m_results) {
            const CheckResult found = Ffmpeg::check(result.file->get(), result.file->name(), m_cancel);
            if (*m_cancel)
                return Refusal{500, "cancelled"};
            if (!found.wasLookedAt)
                return failed("its result cannot be looked at: " + found.text, kNoEngine);
            if (const std::string reason = check(result, found); !reason.empty())
                return failed("its result is not right: " + reason);
        }
        if ((!m_clip.sequence && !m_source.isUnchanged()) || (m_soundSource && !m_soundSource->isUnchanged()))
            return Refusal{kLookAgain, m_clip.linked.path + " changed while it was " + m_making.done};
        return finish();
    }

private:
    Refusal failed(const std::string& reason, int status = 500) const
    {
        return {status, m_making.doing + ' ' + m_clip.linked.path + " failed: " + reason};
    }

    /// Without an answer nothing is known of it.
    Refusal notRead(const ProbeResult& probe, const std::string& which) const
    {
        const bool isAnswered = probe.verdict != ProbeResult::Verdict::Unavailable;
        return failed(which + probe.text, isAnswered ? 500 : kNoEngine);
    }

    FrameRate pictureRate() const
    {
        const FrameRate rate = FrameRate::from(m_clip.link.frameRate);
        return rate.isKnown() ? rate : m_plan.rate.isKnown() ? m_plan.rate : FrameRate{25, 1};
    }

    bool isPictures() const { return m_clip.sequence || m_media.kind == "image"; }

    std::int64_t pictures() const
    {
        return m_clip.sequence ? m_clip.sequence->lastNumber - m_clip.sequence->firstNumber + 1 : 1;
    }

    /// Those of them that are there.
    std::int64_t present() const
    {
        return m_clip.sequence ? static_cast<std::int64_t>(sequence::count(*m_clip.sequence)) : 1;
    }

    /// As far as it is known before.
    double seconds() const
    {
        if (isPictures())
            return double(pictures()) / pictureRate().value();
        return std::strtod(m_media.duration.c_str(), nullptr);
    }

    bool writesVideo() const { return m_plan.hasPicture || !m_plan.isSoundApart; }

    std::optional<Refusal> reckonSpace() const
    {
        const auto bytesFor = [this](std::int64_t bytesPerSecond) {
            return static_cast<std::int64_t>(double(bytesPerSecond) * seconds() * kMoreSpace) + kLeastSpace;
        };
        const std::int64_t video = writesVideo() ? bytesFor(m_plan.bytesPerSecond) : 0;
        const std::int64_t sound = m_plan.isSoundApart ? bytesFor(m_plan.soundBytesPerSecond) : 0;
        // Two names may lead to one volume.
        const bool isOne = video > 0 && sound > 0 && m_videoTarget.isOnVolumeOf(m_audioTarget);
        if (video > 0) {
            if (auto refusal = m_videoTarget.refusal(isOne ? video + sound : video))
                return refusal;
        }
        return sound > 0 ? m_audioTarget.refusal(sound) : std::nullopt;
    }

    /// Of all that is written to.
    std::vector<std::string> volumes() const
    {
        std::vector<std::string> all;
        if (writesVideo())
            all.push_back(m_options.videoVolume);
        if (m_plan.isSoundApart)
            all.push_back(m_options.audioVolume);
        return all;
    }

    std::optional<Refusal> openResults()
    {
        const auto open = [&](const MediaTarget& target, const std::string& extension, const char* kind) {
            auto file = target.begin(extension, m_progress);
            if (!file)
                return std::optional(file.refusal());
            Result result;
            result.file = *file;
            result.kind = kind;
            result.hasPicture = std::string(kind) == "picture";
            result.tracks = result.hasPicture ? (m_plan.isSoundApart ? 0 : m_plan.tracks) : 1;
            m_results.push_back(result);
            return std::optional<Refusal>();
        };
        if (m_plan.hasPicture) {
            if (auto refusal = open(m_videoTarget, m_plan.extension, "picture"))
                return refusal;
        }
        return m_plan.isSoundApart ? open(m_audioTarget, "wav", "sound") : std::nullopt;
    }

    std::vector<std::string> readingOf(const MediaFacts& media) const
    {
        auto arguments = Ffmpeg::decoders(media);
        arguments.insert(arguments.end(), m_plan.reading.begin(), m_plan.reading.end());
        return arguments;
    }

    EngineInput input()
    {
        EngineInput input;
        if (!isPictures()) {
            input.medium = {m_source.get(), text::baseName(m_clip.linked.path)};
            input.arguments = readingOf(m_read);
            return input;
        }
        const FrameRate rate = pictureRate();
        input.rateNumerator = static_cast<int>(rate.numerator);
        input.rateDenominator = static_cast<int>(rate.denominator);
        input.pictures = pictures();
        input.arguments = Ffmpeg::decoders(m_media);
        input.picture = [this](std::int64_t number) { return openPicture(number); };
        return input;
    }

    std::optional<EngineFile> openPicture(std::int64_t number)
    {
        if (!m_clip.sequence)
            return EngineFile{m_source.get(), text::baseName(m_clip.linked.path)};
        const std::string name = sequence::name(*m_clip.sequence, m_clip.sequence->firstNumber + number);
        const std::string directory = m_clip.linked.path.substr(0, m_clip.linked.path.rfind('/') + 1);
        m_picture = std::make_unique<SourceFile>(directory + name);
        if (!m_picture->isOpen())
            return std::nullopt;
        return EngineFile{m_picture->get(), name};
    }

    EngineOrder order()
    {
        EngineOrder order;
        order.inputs.push_back(input());
        if (m_soundSource) {
            EngineInput sound;
            sound.medium = {m_soundSource->get(), text::baseName(m_soundSource->path())};
            sound.arguments = readingOf(m_soundMedia);
            order.inputs.push_back(sound);
        }
        order.filters = m_plan.soundFilter;
        for (const auto& result : m_results) {
            EngineOutput output;
            output.file = result.file->get();
            output.format = result.hasPicture ? m_plan.muxer : "wav";
            if (result.hasPicture) {
                output.arguments = m_plan.video;
                output.arguments.insert(output.arguments.end(), m_plan.sound.begin(), m_plan.sound.end());
            } else {
                output.arguments = m_plan.soundApart;
            }
            output.arguments.insert(output.arguments.end(), m_plan.tags.begin(), m_plan.tags.end());
            order.outputs.push_back(output);
        }
        order.seconds = seconds();
        order.cancel = m_cancel;
        order.progress = [this](int percent) {
            if (m_progress.percent)
                m_progress.percent(percent * kEncoded / 100);
        };
        return order;
    }

    /// Sound that an action before this one put into a file of its own is the clip's all the same.
    std::optional<Refusal> lookAtSoundPart()
    {
        const auto part = std::find_if(m_clip.parts.begin(), m_clip.parts.end(),
                                       [](const ClipPart& each) { return each.kind == "sound"; });
        if (m_clip.parts.size() < 2 || part == m_clip.parts.end())
            return std::nullopt;
        m_soundSource = std::make_unique<SourceFile>(part->file.path);
        if (!m_soundSource->isOpen())
            return linkedsource::whyNot(*m_soundSource, failed(m_soundSource->error()));
        const ProbeResult probe = MediaProbe::probe(*m_soundSource, m_cancel);
        if (probe.verdict != ProbeResult::Verdict::Media)
            return notRead(probe, part->file.path + ": ");
        m_soundMedia = probe.facts;
        for (const auto& stream : m_soundMedia.streams) {
            if (stream.type == "audio")
                m_media.streams.push_back(stream);
        }
        return std::nullopt;
    }

    std::optional<Refusal> encode()
    {
        const EngineResult result = Ffmpeg::run(order());
        switch (result.end) {
        case EngineResult::End::Done:
            break;
        case EngineResult::End::NoSpace:
            return m_videoTarget.refusal(kLeastSpace) ? m_videoTarget.full() : m_audioTarget.full();
        case EngineResult::End::Cancelled:
            return Refusal{500, "cancelled"};
        case EngineResult::End::NotThere:
        case EngineResult::End::Ended:
        case EngineResult::End::Silent:
            return failed(result.text, kNoEngine);
        default:
            m_fed = result.fed;
            return failed(hasReadNoPictures() ? kNoPictures : result.text);
        }
        m_fed = result.fed;
        if (result.wasDamaged)
            m_note.notes.push_back("Some of it could not be read or decoded" +
                                   (result.complaint.empty() ? std::string() : ": " + result.complaint));
        return lookAtWhatWasRead();
    }

    double pictureSeconds() const
    {
        for (const auto& stream : m_fed) {
            if (stream.isPicture)
                return stream.end;
        }
        return 0;
    }

    std::int64_t picturesRead() const
    {
        for (const auto& stream : m_fed) {
            if (stream.isPicture)
                return stream.packets;
        }
        return 0;
    }

    /// What ffmpeg says of that is about its filters.
    bool hasReadNoPictures() const { return m_plan.hasPicture && !m_fed.empty() && picturesRead() == 0; }

    double soundSeconds() const
    {
        double end = 0;
        for (const auto& stream : m_fed)
            end = stream.isPicture ? end : std::max(end, stream.end);
        return end;
    }

    std::optional<Refusal> lookAtWhatWasRead() const
    {
        if (m_plan.hasPicture && pictureSeconds() <= 0)
            return failed(kNoPictures);
        if (isPictures())
            return std::nullopt;
        const double said = seconds();
        const double had = std::max(pictureSeconds(), soundSeconds());
        if (said - had > std::max(kMayMiss, said * kMayMissPart))
            return failed("it holds only " + std::to_string(had) + " of the " + std::to_string(said) +
                          " seconds that it says: it is cut off");
        return std::nullopt;
    }

    /// An empty text or what is wrong with a result.
    std::string check(const Result& result, const CheckResult& found) const
    {
        if (!found.isWhole)
            return found.text;
        int pictureStreams = 0;
        int tracks = 0;
        for (const auto& stream : found.streams) {
            if (stream.type == "video") {
                ++pictureStreams;
                const double wanted =
                    m_plan.copiesPictures ? double(picturesRead()) : pictureSeconds() * m_plan.rate.value();
                if (std::abs(double(stream.packets) - wanted) > (m_plan.copiesPictures ? 0.5 : 1.01))
                    return "it has " + std::to_string(stream.packets) + " pictures and not " +
                           std::to_string(std::llround(wanted));
            } else if (stream.type == "audio") {
                ++tracks;
                const double wanted = m_plan.hasPicture && m_plan.extension == "mxf" && result.hasPicture
                                          ? pictureSeconds()
                                          : soundSeconds();
                const double frame = m_plan.rate.isKnown() ? 1 / m_plan.rate.value() : 0.04;
                if (std::abs(stream.seconds - wanted) > std::max(frame, 0.04) + 0.001)
                    return "it has " + std::to_string(stream.seconds) + " seconds of sound and not " +
                           std::to_string(wanted);
            }
        }
        if (pictureStreams != (result.hasPicture ? 1 : 0) || tracks != result.tracks)
            return "it has " + std::to_string(pictureStreams) + " streams of pictures and " +
                   std::to_string(tracks) + " of sound, not " + (result.hasPicture ? "1" : "0") + " and " +
                   std::to_string(result.tracks);
        return {};
    }

    Outcome<Clip> finish()
    {
        const auto undo = [this] {
            for (auto& result : m_results)
                result.file->undo();
        };
        Clip made = m_clip;
        made.parts.clear();
        std::vector<std::string> checksums;
        for (auto& result : m_results) {
            const auto checksum = result.settling->checksum();
            if (!checksum)
                return *m_cancel ? Refusal{500, "cancelled"}
                                 : failed(result.file->path() + ": " + checksum.refusal().text);
            if (const int error = result.settling->syncError(); error != 0)
                return (result.hasPicture ? m_videoTarget : m_audioTarget)
                    .failed({error, result.file->path() + ": " + text::errnoText(error)});
            checksums.push_back(*checksum);
        }
        for (std::size_t i = 0; i < m_results.size(); ++i) {
            const Result& result = m_results[i];
            HiddenFile::Failure failure;
            const mode_t mode = (m_source.reachFor(result.file->get()) & kFileMode) | kOwners;
            if (!result.file->finish(mode, failure, m_progress.willWrite)) {
                undo();
                return (result.hasPicture ? m_videoTarget : m_audioTarget).failed(failure);
            }
            const auto stamp = filetools::stampOf(result.file->path());
            if (!stamp) {
                undo();
                return failed(result.file->path() + " is gone");
            }
            const FileFacts facts{result.file->path(), *stamp, checksums[i]};
            m_note.made.push_back(facts);
            made.parts.push_back({result.kind, facts});
            log::info(m_making.done + ' ' + m_clip.linked.path + " to " + facts.path);
        }
        made.linked = made.parts.front().file;
        if (made.parts.size() == 1)
            made.parts.clear();
        m_note.check = "verified";
        m_note.notes.insert(m_note.notes.end(), m_plan.notes.begin(), m_plan.notes.end());
        made.activities.push_back(m_note);
        return made;
    }

    const Making& m_making;
    const Clip& m_clip;
    const MediaOptions& m_options;
    ActivityNote m_note;
    const ActivityProgress& m_progress;
    const CancelToken m_cancel;
    const MediaTarget m_videoTarget;
    const MediaTarget m_audioTarget;
    const SourceFile m_source;
    MediaFacts m_media;      ///< of all parts
    MediaFacts m_read;       ///< of what the clip links to
    MediaFacts m_soundMedia; ///< of the sound that is apart from the pictures already
    EncodingPlan m_plan;
    std::vector<Result> m_results;
    std::vector<FedStream> m_fed;
    std::unique_ptr<SourceFile> m_picture;     ///< of a sequence, the one that is handed over
    std::unique_ptr<SourceFile> m_soundSource; ///< that sound
};

} // namespace

Outcome<Clip> run(const Clip& clip, const MediaOptions& options, ActivityNote note,
                  const ActivityProgress& progress, const CancelToken& cancel, const Making& making)
{
    return Run(clip, options, std::move(note), progress, cancel, making).run();
}

} // namespace krxservice::transcoder

#include "media/LinkRules.h"

#include "base/Text.h"
#include "media/ClipFiles.h"
#include "media/PictureKinds.h"
#include "media/Sequence.h"
#include "media/Timecode.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace krxservice::linkrules {

namespace {

constexpr std::size_t kMostRanges = 20; ///< of missing numbers that a message names
constexpr double kFastest = 240; ///< frames per second; above, a file counts its ticks and not its frames

const StreamFacts* firstOf(const MediaFacts& media, const std::string& type)
{
    const auto found =
        std::find_if(media.streams.begin(), media.streams.end(), [&](const StreamFacts& stream) {
            return stream.type == type && (type != "video" || (stream.width > 0 && !stream.isCover));
        });
    return found == media.streams.end() ? nullptr : &*found;
}

FrameRate rateOf(const StreamFacts& stream)
{
    const FrameRate rate = FrameRate::from(stream.frameRate);
    const FrameRate average = FrameRate::from(stream.averageRate);
    return rate.isKnown() && (rate.value() <= kFastest || !average.isKnown()) ? rate : average;
}

/// The rate in which the clip counts its frames.
FrameRate rateOf(const LinkSettings& settings, const Clip& clip, const PictureHeader& header)
{
    if (clip.sequence) {
        char text[32];
        std::snprintf(text, sizeof text, "%.3f", header.frameRate);
        const FrameRate own = FrameRate::from(text);
        return own.isKnown() ? own : settings.defaultRate;
    }
    if (clip.media.kind == "image")
        return settings.stillRate.isKnown() ? settings.stillRate : settings.defaultRate;
    const auto* video = firstOf(clip.media, "video");
    if (!video)
        return settings.audioRate.isKnown() ? settings.audioRate : settings.defaultRate;
    const FrameRate own = rateOf(*video);
    return own.isKnown() ? own : settings.defaultRate;
}

std::int64_t countOf(const Clip& clip, const FrameRate& rate)
{
    if (clip.sequence)
        return static_cast<std::int64_t>(sequence::count(*clip.sequence));
    if (clip.media.kind == "image")
        return 1;
    const auto* video = firstOf(clip.media, "video");
    if (!video)
        return 0;
    if (video->frames > 0)
        return video->frames;
    const std::string& duration = video->duration.empty() ? clip.media.duration : video->duration;
    return std::llround(std::max(0.0, std::strtod(duration.c_str(), nullptr)) * rate.value());
}

/// The directory \a level steps up from the file, or the topmost there is.
std::string folderAbove(const std::string& path, int level)
{
    std::string name;
    std::string rest = path;
    for (int i = 0; i < level; ++i) {
        const auto slash = rest.rfind('/');
        if (slash == std::string::npos || slash == 0)
            break;
        rest.resize(slash);
        name = text::baseName(rest);
    }
    return name;
}

/// Samples since midnight at which a Broadcast Wave file begins.
std::optional<std::int64_t> timeReference(const MediaFacts& media)
{
    std::int64_t samples = 0;
    const std::string& text = media.timeReference;
    const auto end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, samples);
    const bool isNumber = read.ec == std::errc() && read.ptr == end && samples >= 0;
    return isNumber ? std::optional(samples) : std::nullopt;
}

std::string embeddedTimecode(const Clip& clip, const FrameRate& rate, const PictureHeader& header)
{
    if (!clip.media.timecode.empty())
        return clip.media.timecode;
    if (!header.timecode.empty())
        return header.timecode;
    const auto* audio = firstOf(clip.media, "audio");
    const auto samples = timeReference(clip.media);
    if (!samples || !audio || !rate.isKnown())
        return {};
    return timecode::text(timecode::framesAfter(*samples, audio->sampleRate, rate), rate);
}

std::string timecodeInName(const Clip& clip, const FrameRate& rate)
{
    if (clip.sequence)
        return timecode::text(clip.sequence->firstNumber, rate);
    return timecode::inName(picturekinds::stem(text::baseName(clip.source.path)), rate);
}

std::int64_t startFrame(const LinkSettings& settings, const Clip& clip, const FrameRate& rate,
                        std::vector<std::string>& notes)
{
    using Counting = LinkSettings::FrameCounting;
    if (settings.frameCounting == Counting::Timecode) {
        const auto count = timecode::frames(clip.link.startTimecode, rate);
        if (!count)
            notes.push_back("it has no timecode to count its frames from, so they are counted from 0");
        return count.value_or(0);
    }
    if (settings.frameCounting == Counting::FileName) {
        const auto picture = sequence::parse(text::baseName(clip.source.path));
        if (!picture)
            notes.push_back("its name ends in no number, so its frames are counted from 0");
        return picture ? picture->number : 0;
    }
    return settings.frameCounting == Counting::One ? 1 : 0;
}

} // namespace

std::vector<std::string> apply(const LinkSettings& settings, Clip& clip)
{
    std::vector<std::string> notes;
    const PictureHeader header =
        clip.media.kind == "image" ? clipfiles::headerOf(clip.source.path, clip.watched) : PictureHeader();
    const FrameRate rate = rateOf(settings, clip, header);
    const bool isSound = !firstOf(clip.media, "video");
    LinkFacts& link = clip.link;
    link.plugin = settings.pluginName;
    link.reelName = settings.reelFromFolder ? folderAbove(clip.source.path, settings.reelLevel)
                                            : clipName(clip.source.path, clip.sequence);
    link.startTimecode = settings.timecodeFromName ? timecodeInName(clip, rate) : std::string();
    link.timecodeIsFromName = !link.startTimecode.empty();
    if (link.startTimecode.empty()) {
        if (settings.timecodeFromName)
            notes.push_back("its name holds no timecode, so the embedded one counts");
        link.startTimecode = embeddedTimecode(clip, rate, header);
    }
    if (const auto samples = timeReference(clip.media)) {
        const auto* audio = firstOf(clip.media, "audio");
        link.audioStart = samples;
        link.audioStartRate = audio ? audio->sampleRate : 0;
    }
    // A sound has no frames; only a start that was counted in them needs their rate.
    link.frameRate = isSound && link.startTimecode.empty() ? std::string() : rate.text();
    link.frameCount = countOf(clip, rate);
    link.startFrame = isSound ? 0 : startFrame(settings, clip, rate, notes);
    if (clip.sequence) {
        if (rate.isKnown()) {
            char text[48];
            std::snprintf(text, sizeof text, "%f", static_cast<double>(link.frameCount) / rate.value());
            clip.media.duration = text;
        }
        if (const auto missing = sequence::missing(*clip.sequence); !missing.empty())
            notes.push_back("the pictures with these numbers are missing: " +
                            sequence::text(missing, kMostRanges));
    }
    return notes;
}

void refresh(const LinkSettings& settings, Clip& clip)
{
    const bool isSame = clip.linked.path == clip.source.path || clip.sequence || clip.media.kind == "image";
    if (isSame || !firstOf(clip.media, "video"))
        return;
    const FrameRate rate = rateOf(settings, clip, {});
    clip.link.frameRate = rate.text();
    clip.link.frameCount = countOf(clip, rate);
}

std::string clipName(const std::string& path, const std::optional<SequenceFacts>& sequence)
{
    if (!sequence)
        return std::string(picturekinds::stem(text::baseName(path)));
    const auto end = sequence->stem.find_last_not_of("._- ");
    if (end != std::string::npos)
        return sequence->stem.substr(0, end + 1);
    return text::baseName(sequence->directory);
}

int preferredStream(const MediaFacts& media, const std::string& type, bool mostCompressed)
{
    const StreamFacts* best = nullptr;
    const auto weight = [](const StreamFacts& stream) {
        const auto plain = stream.type == "video" ? std::int64_t(stream.width) * stream.height
                                                  : std::int64_t(stream.sampleRate) * stream.channels;
        return std::pair(plain, stream.bitRate);
    };
    for (const auto& stream : media.streams) {
        if (stream.type != type || stream.isCover)
            continue;
        const bool isBetter =
            best && (mostCompressed ? weight(stream) < weight(*best) : weight(*best) < weight(stream));
        if (!best || isBetter)
            best = &stream;
    }
    return best ? best->index : -1;
}

} // namespace krxservice::linkrules

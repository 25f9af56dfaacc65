#include "activities/ConsolidationPlan.h"

#include "MediaCatalogue.h"
#include "base/Text.h"
#include "engines/Ffmpeg.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <string_view>

namespace krxservice::consolidation {

namespace {

/// Pictures whose frames can all be decoded again from MXF. Others are refused by its muxer, or lose frames
/// (H.264 with pictures that need later ones), or want it to be told that they are not official.
constexpr std::array<std::string_view, 5> kMxfPictures = {"mpeg2video", "dvvideo", "dnxhd", "prores",
                                                          "jpeg2000"};
constexpr std::array<std::string_view, 6> kMxfSounds = {"pcm_s16le", "pcm_s16be", "pcm_s24le",
                                                        "pcm_s24be", "pcm_s20",   "pcm_s24daud"};
constexpr int kMxfRate = 48000; ///< Hz

struct Wrapper
{
    std::string_view own;
    std::string_view written;
    std::string_view muxer;
};
constexpr std::array<Wrapper, 7> kWrappers = {{{"mov", "mov", "mov"},
                                               {"qt", "mov", "mov"},
                                               {"mp4", "mov", "mov"}, // MP4 holds no PCM
                                               {"m4v", "mov", "mov"},
                                               {"mkv", "mkv", "matroska"},
                                               {"avi", "avi", "avi"},
                                               {"mxf", "mxf", "mxf"}}};

bool isPicture(const StreamFacts& stream)
{
    return stream.type == "video" && !stream.isCover && stream.width > 0 && stream.height > 0;
}

bool isSound(const StreamFacts& stream)
{
    return stream.type == "audio" && stream.sampleRate > 0 && stream.channels > 0;
}

template <typename List>
bool holds(const List& list, const std::string& text)
{
    return std::find(list.begin(), list.end(), text) != list.end();
}

std::string extensionOf(const std::string& path)
{
    const std::string name = text::baseName(path);
    const auto dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

/// The profiles of ProRes, which MXF wants to know and packets do not tell, by what files call them.
constexpr std::array<std::string_view, 6> kProResTags = {"apco", "apcs", "apcn", "apch", "ap4h", "ap4x"};

/// Arguments that say what the packets of the pictures do not.
std::vector<std::string> told(const MediaFacts& media)
{
    const auto picture = std::find_if(media.streams.begin(), media.streams.end(), isPicture);
    if (picture == media.streams.end() || picture->codec != "prores")
        return {};
    const auto* tag = std::find(kProResTags.begin(), kProResTags.end(), picture->tag);
    return tag == kProResTags.end()
               ? std::vector<std::string>()
               : std::vector<std::string>{"-profile:v", std::to_string(tag - kProResTags.begin())};
}

/// What is read begins at its own start, instead of some seconds later: copied packets cannot be trimmed.
void beginAtStart(EncodingPlan& plan)
{
    const std::string trimming = Ffmpeg::soundTrimming();
    const auto shorten = [&](std::vector<std::string>& arguments) {
        for (auto& argument : arguments) {
            for (auto at = argument.find(trimming); at != std::string::npos; at = argument.find(trimming))
                argument.replace(at, trimming.size(), "atrim=start=0");
        }
    };
    shorten(plan.sound);
    shorten(plan.soundApart);
    shorten(plan.soundFilter);
    plan.reading = {"-itsoffset", '-' + std::to_string(Ffmpeg::leadSeconds())};
}

} // namespace

bool hasPicture(const MediaFacts& media)
{
    return std::any_of(media.streams.begin(), media.streams.end(), isPicture);
}

bool hasSound(const MediaFacts& media)
{
    return std::any_of(media.streams.begin(), media.streams.end(), isSound);
}

bool convertsSound(const MediaOptions& options)
{
    return options.audio.convertsRate || options.audio.convertsBits || options.audio.convertsFormat;
}

std::string whyNotMxf(const MediaOptions& options, const MediaFacts& media)
{
    for (const auto& stream : media.streams) {
        if (isPicture(stream)) {
            if (!holds(kMxfPictures, stream.codec))
                return "MXF cannot hold " + stream.codec;
            break;
        }
    }
    // Sound of its own goes into another file, and what is to be converted becomes what MXF takes.
    if (options.isApart() || options.audio.convertsFormat)
        return {};
    for (const auto& stream : media.streams) {
        if (!isSound(stream))
            continue;
        if (!holds(kMxfSounds, stream.codec))
            return "MXF cannot hold " + stream.codec;
        if (stream.sampleRate != kMxfRate && !options.audio.convertsRate)
            return "MXF cannot hold sound of " + std::to_string(stream.sampleRate) + " Hz";
    }
    return {};
}

std::string ownWrapper(const std::string& path, std::string& note)
{
    const std::string extension = extensionOf(path);
    for (const auto& wrapper : kWrappers) {
        if (wrapper.own != extension)
            continue;
        if (extension == "mp4" || extension == "m4v")
            note = "MP4 holds no PCM: it became MOV, which is the same but for that";
        return std::string(wrapper.written);
    }
    return {};
}

Outcome<EncodingPlan> plan(const MediaOptions& options, const Clip& clip, const MediaFacts& media,
                           const std::string& extension)
{
    // Sound is planned as for pictures that are encoded into such a file; only these stay as they are.
    constexpr quint32 kId = 1;
    KRXCatalogue::Compression copy;
    copy.id = kId;
    copy.name = QStringLiteral("as it is");
    copy.container = QString::fromStdString(extension);
    KRXCatalogue::MediaCatalogue catalogue;
    catalogue.compressions.append(copy);
    MediaOptions own = options;
    own.video = {};
    own.video.compressionId = std::to_string(kId);
    auto made = EncodingPlan::make(own, clip, media, catalogue);
    if (!made || !made->hasPicture)
        return made;
    EncodingPlan& result = *made;
    for (const auto& wrapper : kWrappers) {
        if (wrapper.written == extension)
            result.muxer = wrapper.muxer;
    }
    result.copiesPictures = true;
    result.video = {"-map", "0:v:0", "-c:v", "copy"};
    if (result.rate.isKnown())
        result.video.insert(result.video.end(), {"-r:v", result.rate.text()});
    for (auto& argument : told(media))
        result.video.push_back(std::move(argument));
    beginAtStart(result);
    const double seconds = std::strtod(media.duration.c_str(), nullptr);
    if (seconds > 0)
        result.bytesPerSecond = static_cast<std::int64_t>(double(clip.linked.stamp.size) / seconds);
    return made;
}

} // namespace krxservice::consolidation

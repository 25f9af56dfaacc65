#include "media/MediaProbe.h"

#include "base/Text.h"
#include "media/MediaHelper.h"

#include <pugixml.hpp>

#include <climits>
#include <memory>
#include <mutex>
#include <unistd.h>

namespace krxservice {

namespace {

constexpr char kProgram[] = "krx-media";
constexpr int kLeastScore = 26; ///< below, the helper is guessing

StreamFacts readStream(const pugi::xml_node& element)
{
    StreamFacts stream;
    stream.index = element.attribute("index").as_int();
    stream.type = element.attribute("codec_type").value();
    stream.codec = element.attribute("codec_name").value();
    stream.tag = element.attribute("codec_tag_string").value();
    stream.width = element.attribute("width").as_int();
    stream.height = element.attribute("height").as_int();
    stream.frameRate = stream.type == "video" ? element.attribute("r_frame_rate").value() : "";
    stream.averageRate = stream.type == "video" ? element.attribute("avg_frame_rate").value() : "";
    stream.sampleAspect = element.attribute("sample_aspect_ratio").value();
    stream.fieldOrder = element.attribute("field_order").value();
    stream.colorRange = element.attribute("color_range").value();
    stream.colorSpace = element.attribute("color_space").value();
    stream.colorPrimaries = element.attribute("color_primaries").value();
    stream.colorTransfer = element.attribute("color_transfer").value();
    stream.turn = element.attribute("turn").as_int();
    stream.isCover = element.attribute("is_cover").as_bool();
    stream.bits = element.attribute("bits").as_int();
    stream.reelName = element.attribute("reel_name").value();
    stream.frames = element.attribute("nb_frames").as_llong();
    stream.bitRate = element.attribute("bit_rate").as_llong();
    stream.pixelFormat = element.attribute("pix_fmt").value();
    stream.sampleRate = element.attribute("sample_rate").as_int();
    stream.channels = element.attribute("channels").as_int();
    stream.duration = element.attribute("duration").value();
    stream.timecode = element.attribute("timecode").value();
    return stream;
}

bool isImageFormat(const std::string& format)
{
    return format == "image2" || format == "image2pipe" ||
           (format.size() > 5 && format.compare(format.size() - 5, 5, "_pipe") == 0);
}

/// Text files are "played" by ffmpeg as terminal recordings; no editor wants those.
bool isNoFormat(const std::string& format)
{
    return format.empty() || format == "tty" || format == "bin" || format == "xbin";
}

ProbeResult notMedia(const std::string& text)
{
    ProbeResult result;
    result.verdict = ProbeResult::Verdict::NotMedia;
    result.text = text;
    return result;
}

ProbeResult unavailable(const std::string& text)
{
    ProbeResult result;
    result.text = text;
    return result;
}

ProbeResult notStarted(const std::string& reason)
{
    ProbeResult result = unavailable(std::string(kProgram) + " could not be started: " + reason);
    result.isAboutFile = false;
    return result;
}

/// Beside the program that runs, or where it is installed for it.
std::vector<std::string> usualProgram()
{
    char self[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", self, sizeof self);
    std::string place(self, length > 0 ? static_cast<std::size_t>(length) : 0);
    place.resize(place.rfind('/') == std::string::npos ? 0 : place.rfind('/') + 1);
    const std::string beside = place + kProgram;
    const std::string installed = place + KRX_MEDIA_WAY "/" + kProgram;
    return {::access(beside.c_str(), X_OK) != 0 && ::access(installed.c_str(), X_OK) == 0 ? installed
                                                                                          : beside};
}

std::mutex poolMutex;
std::vector<std::string> otherProgram; ///< empty for the usual one
std::shared_ptr<MediaHelpers> pool;

std::shared_ptr<MediaHelpers> helpers()
{
    const std::lock_guard lock(poolMutex);
    if (!pool)
        pool = std::make_shared<MediaHelpers>(usualProgram(), MediaProbe::kLongestMilliseconds);
    return pool;
}

bool isUsable(const StreamFacts& stream)
{
    return (stream.type == "video" && stream.width > 0 && stream.height > 0) ||
           (stream.type == "audio" && stream.sampleRate > 0);
}

} // namespace

void MediaProbe::use(const std::vector<std::string>& program, int longestMilliseconds)
{
    const std::lock_guard lock(poolMutex);
    otherProgram = program;
    pool = std::make_shared<MediaHelpers>(program.empty() ? usualProgram() : program, longestMilliseconds);
}

std::vector<std::string> MediaProbe::program()
{
    const std::lock_guard lock(poolMutex);
    return otherProgram.empty() ? usualProgram() : otherProgram;
}

ProbeResult MediaProbe::probe(const std::string& path, const CancelToken& cancel)
{
    return probe(SourceFile(path), cancel);
}

ProbeResult MediaProbe::probe(const SourceFile& file, const CancelToken& cancel)
{
    if (!file.isOpen())
        return unavailable(file.path() + ": " + file.error());
    const std::string name(filetools::cutText(text::baseName(file.path()), 255));
    const HelperAnswer answer = helpers()->ask(file.get(), name, cancel);
    const std::string about = std::string(kProgram) + " gave no answer: ";
    switch (answer.end) {
    case HelperAnswer::End::Answered:
        break;
    case HelperAnswer::End::NotStarted:
        return notStarted(answer.text);
    case HelperAnswer::End::Cancelled:
        return unavailable("cancelled");
    case HelperAnswer::End::Late:
        return unavailable(about + "it took too long");
    case HelperAnswer::End::Crashed:
        return unavailable(about + answer.text);
    }
    ProbeResult result = read(answer.text);
    if (result.verdict == ProbeResult::Verdict::Unavailable)
        result.text = about + result.text;
    return result;
}

ProbeResult MediaProbe::read(std::string_view report)
{
    pugi::xml_document document;
    const auto parsed =
        document.load_buffer(report.data(), report.size(), pugi::parse_default, pugi::encoding_utf8);
    const auto root = document.child("media");
    const std::string verdict = root.attribute("verdict").value();
    if (!parsed || (verdict != "media" && verdict != "nothing"))
        return unavailable(verdict == "later" ? root.attribute("text").value() : "its answer makes no sense");
    if (verdict == "nothing")
        return notMedia(root.attribute("text").value());
    const auto format = root.child("format");
    ProbeResult result;
    result.verdict = ProbeResult::Verdict::Media;
    result.facts.format = format.attribute("format_name").value();
    result.facts.duration = format.attribute("duration").value();
    result.facts.timecode = format.attribute("timecode").value();
    result.facts.reelName = format.attribute("reel_name").value();
    result.facts.created = format.attribute("creation_time").value();
    result.facts.timeReference = format.attribute("time_reference").value();
    if (isNoFormat(result.facts.format) || format.attribute("probe_score").as_int() < kLeastScore)
        return notMedia("it is no media file");
    bool video = false;
    bool audio = false;
    for (const auto& element : root.child("streams").children("stream")) {
        const StreamFacts stream = readStream(element);
        video = video || (isUsable(stream) && stream.type == "video");
        audio = audio || (isUsable(stream) && stream.type == "audio");
        if (result.facts.timecode.empty())
            result.facts.timecode = stream.timecode;
        if (result.facts.reelName.empty())
            result.facts.reelName = stream.reelName;
        result.facts.streams.push_back(stream);
    }
    if (!video && !audio)
        return notMedia("it holds neither video nor audio");
    result.facts.kind = !video ? "audio" : isImageFormat(result.facts.format) ? "image" : "video";
    return result;
}

} // namespace krxservice

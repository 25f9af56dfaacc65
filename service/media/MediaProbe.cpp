#include "media/MediaProbe.h"

#include "base/Text.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStringList>

#include <pugixml.hpp>

namespace krxservice {

namespace {

constexpr int kSliceMilliseconds = 50;          ///< how soon a cancelled probe ends
constexpr int kLeastScore = 26;                 ///< below, ffprobe is guessing
constexpr int kLargestReport = 8 * 1024 * 1024; ///< bytes

std::string tag(const pugi::xml_node& element, const char* key)
{
    for (const auto& one : element.children("tag")) {
        if (std::string_view(one.attribute("key").value()) == key)
            return one.attribute("value").value();
    }
    return {};
}

StreamFacts readStream(const pugi::xml_node& element)
{
    StreamFacts stream;
    stream.index = element.attribute("index").as_int();
    stream.type = element.attribute("codec_type").value();
    stream.codec = element.attribute("codec_name").value();
    stream.width = element.attribute("width").as_int();
    stream.height = element.attribute("height").as_int();
    stream.frameRate = stream.type == "video" ? element.attribute("r_frame_rate").value() : "";
    stream.pixelFormat = element.attribute("pix_fmt").value();
    stream.sampleRate = element.attribute("sample_rate").as_int();
    stream.channels = element.attribute("channels").as_int();
    stream.duration = element.attribute("duration").value();
    stream.timecode = tag(element, "timecode");
    return stream;
}

bool isImageFormat(const std::string& format)
{
    return format == "image2" || (format.size() > 5 && format.compare(format.size() - 5, 5, "_pipe") == 0);
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

/// Waits for the end of the program; an empty text or why it was given up.
std::string waitFor(QProcess& program, const CancelToken& cancel)
{
    QElapsedTimer timer;
    timer.start();
    while (!program.waitForFinished(kSliceMilliseconds) && program.state() != QProcess::NotRunning) {
        const bool late = timer.elapsed() > MediaProbe::kLongestMilliseconds;
        if (!*cancel && !late && program.bytesAvailable() <= kLargestReport)
            continue;
        program.kill();
        program.waitForFinished(-1);
        return *cancel ? "cancelled" : "ffprobe came to no result";
    }
    return {};
}

} // namespace

ProbeResult MediaProbe::probe(const std::string& path, const CancelToken& cancel)
{
    QProcess program;
    program.setProgram(QStringLiteral("ffprobe"));
    // Play lists must not make the probe open other places.
    program.setArguments({QStringLiteral("-v"), QStringLiteral("quiet"),
                          QStringLiteral("-protocol_whitelist"), QStringLiteral("file"),
                          QStringLiteral("-print_format"), QStringLiteral("xml"),
                          QStringLiteral("-show_format"), QStringLiteral("-show_streams"),
                          QStringLiteral("-i"), QString::fromStdString("file:" + path)});
    program.setProcessChannelMode(QProcess::SeparateChannels);
    program.setStandardInputFile(QProcess::nullDevice());
    program.setStandardErrorFile(QProcess::nullDevice());
    program.start(QIODevice::ReadOnly);
    if (!program.waitForStarted())
        return unavailable("ffprobe could not be started: " + program.errorString().toStdString());
    const std::string reason = waitFor(program, cancel);
    if (*cancel)
        return unavailable(reason);
    if (!reason.empty())
        return notMedia(reason);
    if (program.exitStatus() != QProcess::NormalExit)
        return notMedia("ffprobe could not read it");
    const QByteArray report = program.readAllStandardOutput();
    return read({report.constData(), static_cast<std::size_t>(report.size())});
}

ProbeResult MediaProbe::probe(const SourceFile& file, const CancelToken& cancel)
{
    return probe(file.path(), cancel);
}

ProbeResult MediaProbe::read(std::string_view report)
{
    pugi::xml_document document;
    if (!document.load_buffer(report.data(), report.size(), pugi::parse_default, pugi::encoding_utf8))
        return notMedia("ffprobe could not read it");
    const auto root = document.child("ffprobe");
    const auto format = root.child("format");
    ProbeResult result;
    result.verdict = ProbeResult::Verdict::Media;
    result.facts.format = format.attribute("format_name").value();
    result.facts.duration = format.attribute("duration").value();
    result.facts.timecode = tag(format, "timecode");
    if (isNoFormat(result.facts.format) || format.attribute("probe_score").as_int() < kLeastScore)
        return notMedia("it is no media file");
    bool video = false;
    bool audio = false;
    for (const auto& element : root.child("streams").children("stream")) {
        const StreamFacts stream = readStream(element);
        video = video || (stream.type == "video" && stream.width > 0 && stream.height > 0);
        audio = audio || (stream.type == "audio" && stream.sampleRate > 0);
        if (result.facts.timecode.empty())
            result.facts.timecode = stream.timecode;
        result.facts.streams.push_back(stream);
    }
    if (!video && !audio)
        return notMedia("it holds neither video nor audio");
    result.facts.kind = !video ? "audio" : isImageFormat(result.facts.format) ? "image" : "video";
    return result;
}

} // namespace krxservice

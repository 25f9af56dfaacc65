#include "Looker.h"

#include "Memory.h"
#include "References.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

namespace krxmedia {

namespace {

constexpr int kBuffer = 64 * 1024;
constexpr unsigned kMostStreams = 512; ///< named in the answer
constexpr int kLeastScore = 26;        ///< below, the library is guessing

/// Formats that name other files or places. Formats that do without a file are refused all the same.
constexpr std::array<std::string_view, 11> kNamingOthers = {
    "hls", "applehttp", "dash", "concat", "sdp", "rtsp", "rtp", "sap", "webm_dash_manifest", "imf", "vobsub"};

/// The file that was handed over.
struct Input
{
    int file;
    std::int64_t size;
    std::int64_t offset = 0;
    int error = 0; ///< errno value when it could not be read
};

std::size_t readAt(Input& input, std::int64_t offset, void* target, std::size_t size)
{
    for (;;) {
        const ssize_t got = ::pread(input.file, target, size, offset);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            input.error = errno;
        return got < 0 ? 0 : static_cast<std::size_t>(got);
    }
}

int readPacket(void* opaque, std::uint8_t* target, int size)
{
    Input& input = *static_cast<Input*>(opaque);
    const std::size_t got = readAt(input, input.offset, target, static_cast<std::size_t>(size));
    input.offset += static_cast<std::int64_t>(got);
    if (got > 0)
        return static_cast<int>(got);
    return input.error != 0 ? AVERROR(input.error) : AVERROR_EOF;
}

std::int64_t seek(void* opaque, std::int64_t offset, int whence)
{
    Input& input = *static_cast<Input*>(opaque);
    if (whence & AVSEEK_SIZE)
        return input.size;
    const int from = whence & ~AVSEEK_FORCE;
    const std::int64_t base = from == SEEK_CUR ? input.offset : from == SEEK_END ? input.size : 0;
    if (base + offset < 0)
        return AVERROR(EINVAL);
    input.offset = base + offset;
    return input.offset;
}

/// Called for every other place that a format wants to open.
int openNothing(AVFormatContext* /*context*/, AVIOContext** place, const char* /*url*/, int /*flags*/,
                AVDictionary** /*options*/)
{
    *place = nullptr;
    return AVERROR(EPERM);
}

struct IoDeleter
{
    void operator()(AVIOContext* io) const
    {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
};

struct FormatDeleter
{
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};

using Io = std::unique_ptr<AVIOContext, IoDeleter>;
using Format = std::unique_ptr<AVFormatContext, FormatDeleter>;

/// Printable ASCII that needs no escape stays; what a file brings along cannot spoil the answer.
std::string attribute(const char* name, std::string_view value)
{
    std::string text = std::string(" ") + name + "=\"";
    for (const char c : value)
        text += c >= ' ' && c < 0x7F && !std::strchr("<>&\"'", c) ? c : '?';
    return text + '"';
}

std::string attribute(const char* name, std::int64_t value)
{
    return attribute(name, std::to_string(value));
}

std::string tagOf(const AVDictionary* tags, const char* key)
{
    const AVDictionaryEntry* entry = av_dict_get(tags, key, nullptr, 0);
    return entry ? entry->value : "";
}

std::string seconds(std::int64_t ticks, AVRational base)
{
    if (ticks == AV_NOPTS_VALUE)
        return {};
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(ticks) * av_q2d(base));
    return text;
}

std::string answer(const char* verdict, std::string_view text, const std::string& content = {})
{
    return "<media" + attribute("verdict", verdict) + attribute("text", text) + '>' + content + "</media>";
}

std::string describe(const AVStream& stream)
{
    const AVCodecParameters& codec = *stream.codecpar;
    const char* type = av_get_media_type_string(codec.codec_type);
    std::string text =
        "<stream" + attribute("index", stream.index) + attribute("codec_type", type ? type : "unknown") +
        attribute("codec_name",
                  codec.codec_id == AV_CODEC_ID_NONE ? "unknown" : avcodec_get_name(codec.codec_id));
    if (codec.codec_type == AVMEDIA_TYPE_VIDEO) {
        const char* pixels = av_get_pix_fmt_name(static_cast<AVPixelFormat>(codec.format));
        text += attribute("width", codec.width) + attribute("height", codec.height) +
                attribute("pix_fmt", pixels ? pixels : "") +
                attribute("r_frame_rate", std::to_string(stream.r_frame_rate.num) + '/' +
                                              std::to_string(stream.r_frame_rate.den));
    }
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO)
        text +=
            attribute("sample_rate", codec.sample_rate) + attribute("channels", codec.ch_layout.nb_channels);
    return text + attribute("duration", seconds(stream.duration, stream.time_base)) +
           attribute("timecode", tagOf(stream.metadata, "timecode")) + "/>";
}

bool namesOthers(const AVInputFormat& format)
{
    std::string_view names = format.name;
    while (!names.empty()) {
        const std::string_view name = names.substr(0, names.find(','));
        if (std::find(kNamingOthers.begin(), kNamingOthers.end(), name) != kNamingOthers.end())
            return true;
        names.remove_prefix(std::min(names.size(), name.size() + 1));
    }
    return (format.flags & AVFMT_NOFILE) != 0;
}

bool isMovie(const AVInputFormat& format)
{
    return std::string_view(format.name).substr(0, 3) == "mov";
}

/// How to open a picture that is told by its extension only: as a stream that is one whole picture.
struct Picture
{
    AVCodecID codec = AV_CODEC_ID_NONE;
    const AVInputFormat* format = nullptr;

    Picture(const AVInputFormat* found, const std::string& name)
    {
        if (!found || std::string_view(found->name) != "image2")
            return;
        const AVOutputFormat* writer = av_guess_format("image2", nullptr, nullptr);
        if (writer)
            codec = av_guess_codec(writer, nullptr, name.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
        if (codec != AV_CODEC_ID_NONE)
            format = av_find_input_format("image2pipe");
    }
};

std::string errorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

std::string damaged(const AVInputFormat& format, const std::string& why)
{
    return answer("nothing",
                  std::string("it is a damaged or incomplete ") + format.name + " file (" + why + ')');
}

std::string lookInto(Input& input, const std::string& name)
{
    Io io(avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBuffer)), kBuffer, 0, &input, &readPacket,
                             nullptr, &seek));
    if (!io)
        return answer("later", "there is no memory");
    const AVInputFormat* found = nullptr;
    const int score = av_probe_input_buffer2(io.get(), &found, name.c_str(), nullptr, 0, 0);
    const Picture picture(found, name);
    if (picture.format)
        found = picture.format;
    if (!found || score < kLeastScore)
        return answer("nothing", "it is no media file");
    if (namesOthers(*found))
        return answer("nothing", std::string("it is a list of other files (") + found->name +
                                     "), and those are not opened");
    const auto reader = [&input](std::int64_t offset, void* target, std::size_t size) {
        return readAt(input, offset, target, size);
    };
    if (isMovie(*found) && references::leadElsewhere(reader, input.size))
        return answer("nothing", "its media lie in other files, and those are not opened");

    AVFormatContext* context = avformat_alloc_context();
    if (!context)
        return answer("later", "there is no memory");
    context->pb = io.get();
    context->io_open = &openNothing;
    context->flags |= AVFMT_FLAG_CUSTOM_IO;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    if (picture.format) {
        context->video_codec_id = picture.codec;
        av_dict_set_int(&options, "frame_size",
                        std::min<std::int64_t>(input.size, std::numeric_limits<int>::max()), 0);
    }
    const int opened = avformat_open_input(&context, "", found, &options);
    av_dict_free(&options);
    if (opened < 0)
        return damaged(*found, errorText(opened));
    const Format format(context);
    const int known = avformat_find_stream_info(context, nullptr);
    if (known < 0)
        return damaged(*found, errorText(known));

    std::string content = "<format" + attribute("format_name", found->name) +
                          attribute("probe_score", score) +
                          attribute("duration", seconds(context->duration, AVRational{1, AV_TIME_BASE})) +
                          attribute("timecode", tagOf(context->metadata, "timecode")) + "/><streams>";
    for (unsigned i = 0; i < std::min(context->nb_streams, kMostStreams); ++i)
        content += describe(*context->streams[i]);
    return answer("media", {}, content + "</streams>");
}

} // namespace

std::string look(int file, const std::string& name)
{
    av_log_set_callback([](void*, int, const char*, va_list) {});
    Input input{file, ::lseek(file, 0, SEEK_END)};
    memory::wasRefused();
    std::string result =
        input.size < 0 ? answer("later", "its length cannot be found out") : lookInto(input, name);
    // What could not be read or kept says nothing about the file.
    if (input.error != 0)
        return answer("later", std::string("it cannot be read: ") + std::strerror(input.error));
    if (memory::wasRefused())
        return answer("later", "it needs more memory than one file may have");
    return result;
}

} // namespace krxmedia

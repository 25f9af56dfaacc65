#include "media/helper/Looker.h"

#include "media/helper/Medium.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/display.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace krxmedia {

namespace {

constexpr unsigned kMostStreams = 512; ///< named in the answer

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

std::string attribute(const char* name, AVRational value)
{
    return attribute(name, std::to_string(value.num) + '/' + std::to_string(value.den));
}

/// The library has none of it for what it does not know.
std::string attribute(const char* name, const char* value)
{
    return attribute(name, std::string_view(value ? value : ""));
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

/// By how many degrees the picture is to be turned clockwise before it is shown: 0, 90, 180 or 270.
int turnOf(const AVStream& stream)
{
    const auto* matrix = reinterpret_cast<const std::int32_t*>(
        av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    const double angle = matrix ? av_display_rotation_get(matrix) : 0;
    if (!std::isfinite(angle))
        return 0;
    return (static_cast<int>(std::lround(-angle / 90)) % 4 + 4) % 4 * 90;
}

const char* fieldOrder(AVFieldOrder order)
{
    switch (order) {
    case AV_FIELD_PROGRESSIVE:
        return "progressive";
    case AV_FIELD_TT:
    case AV_FIELD_TB:
        return "top";
    case AV_FIELD_BB:
    case AV_FIELD_BT:
        return "bottom";
    default:
        return "";
    }
}

std::string describePicture(const AVStream& stream)
{
    const AVCodecParameters& codec = *stream.codecpar;
    const bool isCover = (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
    return attribute("width", codec.width) + attribute("height", codec.height) +
           attribute("pix_fmt", av_get_pix_fmt_name(static_cast<AVPixelFormat>(codec.format))) +
           attribute("r_frame_rate", stream.r_frame_rate) +
           attribute("avg_frame_rate", stream.avg_frame_rate) + attribute("nb_frames", stream.nb_frames) +
           attribute("sample_aspect_ratio", stream.sample_aspect_ratio.num != 0 ? stream.sample_aspect_ratio
                                                                                : codec.sample_aspect_ratio) +
           attribute("field_order", fieldOrder(codec.field_order)) +
           attribute("color_range", av_color_range_name(codec.color_range)) +
           attribute("color_space", av_color_space_name(codec.color_space)) +
           attribute("color_primaries", av_color_primaries_name(codec.color_primaries)) +
           attribute("color_transfer", av_color_transfer_name(codec.color_trc)) +
           attribute("turn", turnOf(stream)) + attribute("is_cover", isCover ? "true" : "false");
}

std::string describeSound(const AVCodecParameters& codec)
{
    const int bits = codec.bits_per_raw_sample > 0 ? codec.bits_per_raw_sample
                                                   : av_get_exact_bits_per_sample(codec.codec_id);
    return attribute("sample_rate", codec.sample_rate) + attribute("channels", codec.ch_layout.nb_channels) +
           attribute("bits", bits);
}

/// The four letters or digits that the file calls the codec by; empty when they are something else.
std::string tagOf(unsigned tag)
{
    std::string text;
    for (; tag != 0; tag >>= 8) {
        const unsigned byte = tag & 0xff;
        const bool isPlain =
            (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        if (!isPlain)
            return {};
        text += static_cast<char>(byte);
    }
    return text.size() == 4 ? text : std::string();
}

std::string describe(const AVStream& stream)
{
    const AVCodecParameters& codec = *stream.codecpar;
    const char* type = av_get_media_type_string(codec.codec_type);
    std::string text =
        "<stream" + attribute("index", stream.index) + attribute("codec_type", type ? type : "unknown") +
        attribute("codec_name",
                  codec.codec_id == AV_CODEC_ID_NONE ? "unknown" : avcodec_get_name(codec.codec_id));
    if (const std::string tag = tagOf(codec.codec_tag); !tag.empty())
        text += attribute("codec_tag_string", tag.c_str());
    if (codec.codec_type == AVMEDIA_TYPE_VIDEO)
        text += describePicture(stream);
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO)
        text += describeSound(codec);
    if (codec.bit_rate > 0)
        text += attribute("bit_rate", codec.bit_rate);
    return text + attribute("duration", seconds(stream.duration, stream.time_base)) +
           attribute("timecode", tagOf(stream.metadata, "timecode")) +
           attribute("reel_name", tagOf(stream.metadata, "reel_name")) + "/>";
}

} // namespace

std::string look(int file, const std::string& name)
{
    av_log_set_callback([](void*, int, const char*, va_list) {});
    Medium medium(file, name);
    switch (medium.open()) {
    case Medium::Verdict::Nothing:
        return answer("nothing", medium.text());
    case Medium::Verdict::Later:
        return answer("later", medium.text());
    case Medium::Verdict::Media:
        break;
    }
    if (medium.isEmpty())
        return answer("nothing", "it holds not one picture and no sound");
    const AVFormatContext& context = medium.context();
    std::string content = "<format" + attribute("format_name", medium.format().name) +
                          attribute("probe_score", medium.score()) +
                          attribute("duration", seconds(context.duration, AVRational{1, AV_TIME_BASE})) +
                          attribute("timecode", tagOf(context.metadata, "timecode")) +
                          attribute("creation_time", tagOf(context.metadata, "creation_time")) +
                          attribute("reel_name", tagOf(context.metadata, "reel_name")) +
                          attribute("time_reference", tagOf(context.metadata, "time_reference")) +
                          "/><streams>";
    for (unsigned i = 0; i < std::min(context.nb_streams, kMostStreams); ++i)
        content += describe(*context.streams[i]);
    return answer("media", {}, content + "</streams>");
}

} // namespace krxmedia

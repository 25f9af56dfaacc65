#include "media/helper/Medium.h"

#include "media/helper/Memory.h"
#include "media/helper/References.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <string_view>

namespace krxmedia {

namespace {

constexpr int kBuffer = 64 * 1024;
constexpr int kLeastScore = 26; ///< below, the library is guessing

/// Formats that name other files or places. Formats that do without a file are refused all the same.
constexpr std::array<std::string_view, 11> kNamingOthers = {
    "hls", "applehttp", "dash", "concat", "sdp", "rtsp", "rtp", "sap", "webm_dash_manifest", "imf", "vobsub"};

/// Called for every other place that a format wants to open.
int openNothing(AVFormatContext* /*context*/, AVIOContext** place, const char* /*url*/, int /*flags*/,
                AVDictionary** /*options*/)
{
    *place = nullptr;
    return AVERROR(EPERM);
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

/// The codec of a picture that is told by its extension only.
AVCodecID pictureCodec(const AVInputFormat* found, const std::string& name)
{
    if (!found || std::string_view(found->name) != "image2")
        return AV_CODEC_ID_NONE;
    const AVOutputFormat* writer = av_guess_format("image2", nullptr, nullptr);
    return writer ? av_guess_codec(writer, nullptr, name.c_str(), nullptr, AVMEDIA_TYPE_VIDEO)
                  : AV_CODEC_ID_NONE;
}

std::string damaged(const AVInputFormat& format, const std::string& why)
{
    return std::string("it is a damaged or incomplete ") + format.name + " file (" + why + ')';
}

} // namespace

std::string errorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof text);
    return text;
}

Medium::Medium(int file, const std::string& name)
    : m_name(name)
    , m_input{file, ::lseek(file, 0, SEEK_END), 0, 0}
{
}

Medium::~Medium()
{
    avformat_close_input(&m_context);
    if (m_io)
        av_freep(&m_io->buffer);
    avio_context_free(&m_io);
}

Medium::Verdict Medium::says(Verdict verdict, const std::string& text)
{
    m_text = text;
    return verdict;
}

Medium::Verdict Medium::open()
{
    memory::wasRefused();
    if (m_input.size < 0)
        return says(Verdict::Later, "its length cannot be found out");
    Verdict verdict = find();
    if (verdict == Verdict::Media)
        verdict = read();
    // What could not be read or kept says nothing about the file.
    if (m_input.error != 0)
        return says(Verdict::Later, std::string("it cannot be read: ") + std::strerror(m_input.error));
    if (memory::wasRefused())
        return says(Verdict::Later, "it needs more memory than one file may have");
    return verdict;
}

bool Medium::isEmpty()
{
    // What has a length holds something, and so does a picture, which has none.
    const std::string_view format = m_format->name;
    constexpr std::string_view kPicture = "_pipe";
    const bool isPicture =
        m_picture != AV_CODEC_ID_NONE ||
        (format.size() > kPicture.size() && format.substr(format.size() - kPicture.size()) == kPicture);
    if (isPicture || (m_context->duration != AV_NOPTS_VALUE && m_context->duration > 0))
        return false;
    const bool isDescribed = std::any_of(m_context->streams, m_context->streams + m_context->nb_streams,
                                         [](const AVStream* stream) {
                                             return stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO ||
                                                    stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO;
                                         });
    if (!isDescribed)
        return false;
    AVPacket* packet = av_packet_alloc();
    const int got = packet ? av_read_frame(m_context, packet) : 0;
    av_packet_free(&packet);
    return got == AVERROR_EOF && m_input.error == 0 && !memory::wasRefused();
}

Medium::Verdict Medium::find()
{
    m_io = avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBuffer)), kBuffer, 0, &m_input,
                              &readPacket, nullptr, &seek);
    if (!m_io)
        return says(Verdict::Later, "there is no memory");
    m_score = av_probe_input_buffer2(m_io, &m_format, m_name.c_str(), nullptr, 0, 0);
    m_picture = pictureCodec(m_format, m_name);
    // Then it is opened as a stream that is one whole picture.
    if (m_picture != AV_CODEC_ID_NONE)
        m_format = av_find_input_format("image2pipe");
    if (!m_format || m_score < kLeastScore)
        return says(Verdict::Nothing, "it is no media file");
    if (namesOthers(*m_format))
        return says(Verdict::Nothing, std::string("it is a list of other files (") + m_format->name +
                                          "), and those are not opened");
    const auto reader = [this](std::int64_t offset, void* target, std::size_t size) {
        return readAt(m_input, offset, target, size);
    };
    if (isMovie(*m_format) && references::leadElsewhere(reader, m_input.size))
        return says(Verdict::Nothing, "its media lie in other files, and those are not opened");
    return Verdict::Media;
}

Medium::Verdict Medium::read()
{
    m_context = avformat_alloc_context();
    if (!m_context)
        return says(Verdict::Later, "there is no memory");
    m_context->pb = m_io;
    m_context->io_open = &openNothing;
    m_context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_GENPTS;
    AVDictionary* options = nullptr;
    av_dict_set(&options, "protocol_whitelist", "none", 0);
    if (m_picture != AV_CODEC_ID_NONE) {
        m_context->video_codec_id = m_picture;
        av_dict_set_int(&options, "frame_size",
                        std::min<std::int64_t>(m_input.size, std::numeric_limits<int>::max()), 0);
    }
    const int opened = avformat_open_input(&m_context, "", m_format, &options);
    av_dict_free(&options);
    if (opened < 0)
        return says(Verdict::Nothing, damaged(*m_format, errorText(opened)));
    const int known = avformat_find_stream_info(m_context, nullptr);
    if (known < 0)
        return says(Verdict::Nothing, damaged(*m_format, errorText(known)));
    return Verdict::Media;
}

std::size_t Medium::readAt(Input& input, std::int64_t offset, void* target, std::size_t size)
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

int Medium::readPacket(void* opaque, std::uint8_t* target, int size)
{
    Input& input = *static_cast<Input*>(opaque);
    const std::size_t got = readAt(input, input.offset, target, static_cast<std::size_t>(size));
    input.offset += static_cast<std::int64_t>(got);
    if (got > 0)
        return static_cast<int>(got);
    return input.error != 0 ? AVERROR(input.error) : AVERROR_EOF;
}

std::int64_t Medium::seek(void* opaque, std::int64_t offset, int whence)
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

} // namespace krxmedia

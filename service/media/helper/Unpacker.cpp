#include "media/helper/Unpacker.h"

extern "C" {
#include <libavutil/imgutils.h>
}

#include <cstdint>
#include <cstring>

namespace krxmedia {

namespace {

constexpr int kPaletteBytes = 3; ///< of a pixel, when its colour is looked up

} // namespace

Unpacker::Unpacker(const AVStream& stream)
    : m_stream(stream)
    , m_frame(av_frame_alloc())
{
    const auto format = static_cast<AVPixelFormat>(stream.codecpar->format);
    const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
    if (!m_frame || !codec || format == AV_PIX_FMT_NONE)
        return;
    m_format = format == AV_PIX_FMT_PAL8 ? AV_PIX_FMT_RGB24 : format;
    m_decoder = avcodec_alloc_context3(codec);
    if (!m_decoder)
        return;
    m_decoder->thread_count = 1;
    m_decoder->pkt_timebase = stream.time_base;
    if (avcodec_pix_fmt_to_codec_tag(m_format) == 0 ||
        avcodec_parameters_to_context(m_decoder, stream.codecpar) < 0 ||
        avcodec_open2(m_decoder, codec, nullptr) != 0)
        avcodec_free_context(&m_decoder);
}

Unpacker::~Unpacker()
{
    avcodec_free_context(&m_decoder);
    av_frame_free(&m_frame);
}

bool Unpacker::describe(AVCodecParameters& parameters) const
{
    if (avcodec_parameters_copy(&parameters, m_stream.codecpar) < 0)
        return false;
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.codec_id = AV_CODEC_ID_RAWVIDEO;
    parameters.codec_tag = 0;
    parameters.bits_per_coded_sample = 0;
    parameters.format = m_format;
    return true;
}

/// Puts the decoded picture into \a picture.
bool Unpacker::fill(AVPacket& picture) const
{
    const int width = m_frame->width;
    const int height = m_frame->height;
    const int size = av_image_get_buffer_size(m_format, width, height, 1);
    if (size <= 0 || width != m_stream.codecpar->width || height != m_stream.codecpar->height ||
        av_new_packet(&picture, size) < 0)
        return false;
    if (m_frame->format == m_format)
        return av_image_copy_to_buffer(picture.data, size, m_frame->data, m_frame->linesize, m_format, width,
                                       height, 1) >= 0;
    if (m_frame->format != AV_PIX_FMT_PAL8)
        return false;
    std::uint8_t* out = picture.data;
    for (int y = 0; y < height; ++y) {
        const std::uint8_t* line = m_frame->data[0] + static_cast<std::ptrdiff_t>(y) * m_frame->linesize[0];
        for (int x = 0; x < width; ++x, out += kPaletteBytes) {
            std::uint32_t color = 0;
            std::memcpy(&color, m_frame->data[1] + std::size_t{4} * line[x], sizeof color);
            out[0] = static_cast<std::uint8_t>(color >> 16);
            out[1] = static_cast<std::uint8_t>(color >> 8);
            out[2] = static_cast<std::uint8_t>(color);
        }
    }
    return true;
}

int Unpacker::take(const AVPacket* packet, bool& isDamaged, const std::function<int(AVPacket& picture)>& give)
{
    if (avcodec_send_packet(m_decoder, packet) < 0) {
        isDamaged = true;
        return 0;
    }
    for (;;) {
        const int got = avcodec_receive_frame(m_decoder, m_frame);
        if (got == AVERROR(EAGAIN) || got == AVERROR_EOF)
            return 0;
        if (got < 0) {
            isDamaged = true;
            return 0;
        }
        AVPacket* picture = av_packet_alloc();
        int put = 0;
        if (picture && fill(*picture)) {
            picture->pts = picture->dts = m_frame->best_effort_timestamp;
            picture->duration = packet ? packet->duration : 0;
            picture->flags = AV_PKT_FLAG_KEY;
            put = give(*picture);
        } else {
            isDamaged = true;
        }
        av_packet_free(&picture);
        av_frame_unref(m_frame);
        if (put < 0)
            return put;
    }
}

} // namespace krxmedia

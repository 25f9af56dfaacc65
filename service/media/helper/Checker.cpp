#include "media/helper/Checker.h"

#include "media/helper/HelperRequests.h"
#include "media/helper/Medium.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

namespace krxmedia::checker {

namespace {

constexpr int kMostPackets = 1000; ///< read for one picture: more than any group has
constexpr int kPlaces = 3;         ///< beginning, middle, end

enum ExitCode { kDone = 0, kUnreadable = 6, kNotTaken = 7 };

struct PacketDeleter
{
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct FrameDeleter
{
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct DecoderDeleter
{
    void operator()(AVCodecContext* decoder) const { avcodec_free_context(&decoder); }
};
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;
using Decoder = std::unique_ptr<AVCodecContext, DecoderDeleter>;

/// What was counted of a stream.
struct Count
{
    std::int64_t packets = 0;
    std::int64_t ticks = 0;
};

/// Looks at one stream of pictures.
class Pictures
{
public:
    Pictures(AVFormatContext& context, int stream)
        : m_context(context)
        , m_stream(*context.streams[stream])
        , m_packet(av_packet_alloc())
        , m_frame(av_frame_alloc())
    {
        const AVCodec* codec = avcodec_find_decoder(m_stream.codecpar->codec_id);
        m_decoder.reset(codec ? avcodec_alloc_context3(codec) : nullptr);
        if (!m_decoder || avcodec_parameters_to_context(m_decoder.get(), m_stream.codecpar) < 0)
            return;
        m_decoder->pkt_timebase = m_stream.time_base;
        m_decoder->err_recognition = AV_EF_EXPLODE;
        m_decoder->thread_count = 1;
        m_isReady = avcodec_open2(m_decoder.get(), codec, nullptr) == 0;
    }

    /// True when a picture at \a time (of the stream, or the last before it) can be decoded.
    bool decodes(std::int64_t time)
    {
        if (!m_isReady || !m_packet || !m_frame ||
            av_seek_frame(&m_context, m_stream.index, time, AVSEEK_FLAG_BACKWARD) < 0)
            return false;
        avcodec_flush_buffers(m_decoder.get());
        bool isAnything = false;
        for (int i = 0; i < kMostPackets;) {
            const int got = av_read_frame(&m_context, m_packet.get());
            if (got == AVERROR_EOF)
                return avcodec_send_packet(m_decoder.get(), nullptr) == 0 && takesPictures(time, isAnything)
                           ? isAnything
                           : isAnything && !m_isBroken;
            if (got < 0)
                return false;
            const bool isOurs = m_packet->stream_index == m_stream.index;
            const int sent = isOurs ? avcodec_send_packet(m_decoder.get(), m_packet.get()) : 0;
            av_packet_unref(m_packet.get());
            if (sent < 0)
                return false;
            if (isOurs && takesPictures(time, isAnything))
                return true;
            if (m_isBroken)
                return false;
            i += isOurs ? 1 : 0;
        }
        return false;
    }

private:
    /// True when the picture at \a time was among those that are ready.
    bool takesPictures(std::int64_t time, bool& isAnything)
    {
        for (;;) {
            const int got = avcodec_receive_frame(m_decoder.get(), m_frame.get());
            if (got < 0) {
                m_isBroken = got != AVERROR(EAGAIN) && got != AVERROR_EOF;
                return false;
            }
            isAnything = true;
            const bool isWhole =
                m_frame->decode_error_flags == 0 && (m_frame->flags & AV_FRAME_FLAG_CORRUPT) == 0;
            const std::int64_t when = m_frame->best_effort_timestamp;
            av_frame_unref(m_frame.get());
            m_isBroken = !isWhole;
            if (m_isBroken)
                return false;
            if (when == AV_NOPTS_VALUE || when >= time)
                return true;
        }
    }

    AVFormatContext& m_context;
    const AVStream& m_stream;
    Packet m_packet;
    Frame m_frame;
    Decoder m_decoder;
    bool m_isReady = false;
    bool m_isBroken = false;
};

int failed(const std::string& reason)
{
    ::dprintf(STDERR_FILENO, "%s\n", reason.c_str());
    return kUnreadable;
}

/// Counts all packets; an empty text or why it cannot.
std::string countAll(Medium& medium, std::vector<Count>& counts, std::vector<std::int64_t>& times,
                     int picture)
{
    const Packet packet(av_packet_alloc());
    for (;;) {
        const int got = av_read_frame(&medium.context(), packet.get());
        if (got == AVERROR_EOF)
            return {};
        if (got < 0)
            return "it cannot be read to its end: " + errorText(got);
        const auto index = static_cast<std::size_t>(packet->stream_index);
        if (index < counts.size()) {
            ++counts[index].packets;
            counts[index].ticks += packet->duration;
            if (packet->stream_index == picture && packet->pts != AV_NOPTS_VALUE)
                times.push_back(packet->pts);
        }
        av_packet_unref(packet.get());
    }
}

} // namespace

int check()
{
    requests::Handed handed;
    const int file = requests::next(handed);
    if (file < 0)
        return failed("no file came");
    Medium medium(file, handed.name);
    if (medium.open() != Medium::Verdict::Media)
        return failed(medium.text());
    AVFormatContext& context = medium.context();
    std::vector<Count> counts(context.nb_streams);
    int picture = -1;
    for (unsigned i = 0; i < context.nb_streams && picture < 0; ++i)
        picture = context.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? static_cast<int>(i) : -1;
    std::vector<std::int64_t> times;
    if (const auto reason = countAll(medium, counts, times, picture); !reason.empty())
        return failed(reason);
    std::string text;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const AVStream& stream = *context.streams[i];
        const AVMediaType type = stream.codecpar->codec_type;
        char line[128];
        std::snprintf(line, sizeof line, "%s %lld %.6f\n",
                      type == AVMEDIA_TYPE_VIDEO   ? "video"
                      : type == AVMEDIA_TYPE_AUDIO ? "audio"
                                                   : "other",
                      static_cast<long long>(counts[i].packets),
                      static_cast<double>(counts[i].ticks) * av_q2d(stream.time_base));
        text += line;
    }
    std::sort(times.begin(), times.end());
    if (picture >= 0 && !times.empty()) {
        constexpr const char* kNames[kPlaces] = {"beginning", "middle", "end"};
        const std::int64_t places[kPlaces] = {times.front(), times[times.size() / 2], times.back()};
        Pictures pictures(context, picture);
        for (int i = 0; i < kPlaces; ++i) {
            if (!pictures.decodes(places[i]))
                return failed(std::string("its ") + kNames[i] + " cannot be decoded");
        }
    }
    text += "decoded " + std::to_string(kPlaces) + '\n';
    return requests::report(text) ? kDone : kNotTaken;
}

} // namespace krxmedia::checker

#include "media/helper/Feed.h"

#include "media/helper/HelperRequests.h"
#include "media/helper/Medium.h"
#include "media/helper/Unpacker.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace krxmedia::feed {

namespace {

constexpr int kBuffer = 256 * 1024;
constexpr double kEarliest = -0.0005; ///< seconds: times are rounded
constexpr int kMostErrors = 100;      ///< one behind the other, before a file is given up

enum ExitCode { kDone = 0, kUnreadable = 6, kNotTaken = 7 };

/// Why there is nothing more to be had; the reader of the standard error tells it on.
int failed(const std::string& reason, ExitCode code = kUnreadable)
{
    ::dprintf(STDERR_FILENO, "%s\n", reason.c_str());
    return code;
}

int writeStream(void* /*opaque*/, std::uint8_t* bytes, int size)
{
    int done = 0;
    while (done < size) {
        const ssize_t put = ::write(requests::kStream, bytes + done, static_cast<std::size_t>(size - done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0)
            return AVERROR(errno);
        done += static_cast<int>(put);
    }
    return size;
}

struct PacketDeleter
{
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using Packet = std::unique_ptr<AVPacket, PacketDeleter>;

/// One stream on its way, and what was seen of it.
struct Track
{
    int out = -1;                  ///< its place in what is written; -1 when it is left out
    AVRational base{0, 1};         ///< of its own times
    AVRational fine{0, 1};         ///< the same or finer, such that a second is a whole number of ticks
    std::int64_t shift = 0;        ///< fine ticks that are added to each time
    std::int64_t next = 0;         ///< when the next packet begins that does not say so, in its own ticks
    std::int64_t lastDecoded = -1; ///< of the packet before
    std::int64_t packets = 0;
    double begin = std::numeric_limits<double>::max();
    double end = 0;
    bool isPicture = false;
    std::unique_ptr<Unpacker> unpacker; ///< for what cannot be handed on as it is

    void setBase(AVRational own)
    {
        base = own;
        fine = AVRational{1, own.den};
        shift = std::int64_t{kLead} * own.den;
    }
};

/// The NUT stream.
class Writer
{
public:
    Writer()
    {
        if (avformat_alloc_output_context2(&m_context, nullptr, "nut", nullptr) < 0)
            return;
        m_context->pb = avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBuffer)), kBuffer, 1,
                                           nullptr, nullptr, &writeStream, nullptr);
        m_context->flags |= AVFMT_FLAG_CUSTOM_IO;
        m_context->strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    }
    ~Writer()
    {
        if (!m_context)
            return;
        if (m_context->pb)
            av_freep(&m_context->pb->buffer);
        avio_context_free(&m_context->pb);
        avformat_free_context(m_context);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool isThere() const { return m_context && m_context->pb; }

    /// \return the stream's place, or -1.
    int add(const AVCodecParameters& codec, AVRational base, AVRational aspect)
    {
        AVStream* stream = avformat_new_stream(m_context, nullptr);
        if (!stream || avcodec_parameters_copy(stream->codecpar, &codec) < 0)
            return -1;
        AVCodecParameters& own = *stream->codecpar;
        own.codec_tag = tagFor(own);
        if (own.codec_type == AVMEDIA_TYPE_VIDEO && aspect.num > 0)
            own.sample_aspect_ratio = stream->sample_aspect_ratio = aspect;
        stream->time_base = base;
        return stream->index;
    }

    int begin()
    {
        AVDictionary* options = nullptr;
        av_dict_set(&options, "write_index", "0", 0);
        const int result = avformat_write_header(m_context, &options);
        av_dict_free(&options);
        return result;
    }

    /// The times of \a packet count in \a base.
    int write(AVPacket& packet, int place, AVRational base)
    {
        packet.stream_index = place;
        av_packet_rescale_ts(&packet, base, m_context->streams[place]->time_base);
        return av_write_frame(m_context, &packet);
    }

    int end() { return av_write_trailer(m_context); }

private:
    /// The reader is told each codec by name; the stream wants some tag all the same, of which none may mean
    /// another codec. Raw pictures are told by nothing else.
    unsigned tagFor(const AVCodecParameters& codec) const
    {
        const auto* tags = m_context->oformat->codec_tag;
        if (codec.codec_id == AV_CODEC_ID_RAWVIDEO) {
            const unsigned raw = avcodec_pix_fmt_to_codec_tag(static_cast<AVPixelFormat>(codec.format));
            if (raw != 0)
                return raw;
        }
        if (codec.codec_tag != 0 && av_codec_get_id(tags, codec.codec_tag) == codec.codec_id)
            return codec.codec_tag;
        const unsigned usual = av_codec_get_tag(tags, codec.codec_id);
        return usual != 0 ? usual : MKTAG('K', 'R', 'X', codec.codec_type == AVMEDIA_TYPE_VIDEO ? 'v' : 'a');
    }

    AVFormatContext* m_context = nullptr;
};

bool isWanted(const AVStream& stream, bool hasPicture)
{
    const AVCodecParameters& codec = *stream.codecpar;
    if (codec.codec_id == AV_CODEC_ID_NONE)
        return false;
    if (codec.codec_type == AVMEDIA_TYPE_AUDIO)
        return codec.sample_rate > 0 && codec.ch_layout.nb_channels > 0;
    return codec.codec_type == AVMEDIA_TYPE_VIDEO && !hasPicture && codec.width > 0 && codec.height > 0 &&
           (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) == 0;
}

/// \return the stream's place in what is written, or -1.
int addStream(const AVStream& stream, Writer& writer, Track& track)
{
    if (track.isPicture && requests::isUnpacked(avcodec_get_name(stream.codecpar->codec_id)))
        track.unpacker = std::make_unique<Unpacker>(stream);
    if (!track.unpacker)
        return writer.add(*stream.codecpar, track.fine, stream.sample_aspect_ratio);
    AVCodecParameters* plain = avcodec_parameters_alloc();
    const bool isDescribed = plain && track.unpacker->isReady() && track.unpacker->describe(*plain);
    const int place = isDescribed ? writer.add(*plain, track.fine, stream.sample_aspect_ratio) : -1;
    avcodec_parameters_free(&plain);
    return place;
}

/// Adds the wanted streams of \a context, whose earliest begins at kLead then. False when one was refused.
bool addStreams(AVFormatContext& context, Writer& writer, std::vector<Track>& tracks)
{
    bool hasPicture = false;
    const AVStream* first = nullptr;
    tracks.resize(context.nb_streams);
    for (unsigned i = 0; i < context.nb_streams; ++i) {
        AVStream& stream = *context.streams[i];
        Track& track = tracks[i];
        stream.discard = AVDISCARD_ALL;
        if (!isWanted(stream, hasPicture))
            continue;
        stream.discard = AVDISCARD_DEFAULT;
        track.isPicture = stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        hasPicture = hasPicture || track.isPicture;
        track.setBase(stream.time_base);
        track.out = addStream(stream, writer, track);
        if (track.out < 0)
            return false;
        if (stream.start_time != AV_NOPTS_VALUE &&
            (!first ||
             av_compare_ts(stream.start_time, stream.time_base, first->start_time, first->time_base) < 0))
            first = &stream;
    }
    for (Track& track : tracks) {
        if (track.out < 0)
            continue;
        if (first)
            track.shift -= av_rescale_q(first->start_time, first->time_base, track.fine);
    }
    return true;
}

/// Makes the times of \a packet such as every writer takes, which a damaged file does not have.
void settleTimes(AVPacket& packet, Track& track)
{
    if (packet.pts == AV_NOPTS_VALUE)
        packet.pts = packet.dts != AV_NOPTS_VALUE ? packet.dts : track.next;
    if (packet.dts == AV_NOPTS_VALUE)
        packet.dts = packet.pts;
    track.next = packet.pts + std::max<std::int64_t>(packet.duration, 1);
    av_packet_rescale_ts(&packet, track.base, track.fine);
    packet.pts = std::max<std::int64_t>(packet.pts + track.shift, 0);
    packet.dts = std::max(std::min(packet.dts + track.shift, packet.pts), track.lastDecoded + 1);
    packet.pts = std::max(packet.pts, packet.dts);
    track.lastDecoded = packet.dts;
}

void count(const AVPacket& packet, Track& track)
{
    const double begin = static_cast<double>(packet.pts) * av_q2d(track.fine) - kLead;
    const double end = begin + static_cast<double>(packet.duration) * av_q2d(track.fine);
    if (end <= kEarliest || (track.isPicture && begin < kEarliest))
        return; // only decoded, not shown
    ++track.packets;
    track.begin = std::min(track.begin, begin);
    track.end = std::max(track.end, end);
}

std::string lineOf(const Track& track)
{
    char text[128];
    std::snprintf(text, sizeof text, "%s %lld %.6f %.6f\n", track.isPicture ? "video" : "audio",
                  static_cast<long long>(track.packets), track.packets > 0 ? track.begin : 0.0, track.end);
    return text;
}

int reportOn(const std::vector<Track>& tracks, bool isDamaged)
{
    std::string text;
    for (const Track& track : tracks)
        text += track.out < 0 ? "" : lineOf(track);
    if (isDamaged)
        text += "damaged\n";
    return requests::report(text) ? kDone : kNotTaken;
}

int writePacket(AVPacket& packet, Writer& writer, Track& track)
{
    settleTimes(packet, track);
    count(packet, track);
    return writer.write(packet, track.out, track.fine);
}

/// All packets of the medium; negative when nobody takes them.
int writePackets(Medium& source, Writer& writer, std::vector<Track>& tracks, bool& isDamaged)
{
    const Packet packet(av_packet_alloc());
    int errors = 0;
    while (packet && errors < kMostErrors) {
        const int got = av_read_frame(&source.context(), packet.get());
        if (got == AVERROR_EOF || source.readError() != 0)
            break;
        if (got < 0) {
            isDamaged = true;
            ++errors;
            continue;
        }
        errors = 0;
        const auto index = static_cast<std::size_t>(packet->stream_index);
        isDamaged = isDamaged || (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
        // Streams may appear later; nobody waits for those.
        if (index < tracks.size() && tracks[index].out >= 0 && packet->size > 0) {
            const int put =
                tracks[index].unpacker
                    ? tracks[index].unpacker->take(
                          packet.get(), isDamaged,
                          [&](AVPacket& picture) { return writePacket(picture, writer, tracks[index]); })
                    : writePacket(*packet, writer, tracks[index]);
            if (put < 0)
                return put;
        }
        av_packet_unref(packet.get());
    }
    for (Track& track : tracks) {
        const int put =
            track.unpacker
                ? track.unpacker->take(nullptr, isDamaged,
                                       [&](AVPacket& picture) { return writePacket(picture, writer, track); })
                : 0;
        if (put < 0)
            return put;
    }
    return 0;
}

/// The whole of an open file as one packet; false when it cannot be read.
bool readWhole(int file, AVPacket& packet)
{
    const off_t size = ::lseek(file, 0, SEEK_END);
    if (size <= 0 || size > std::numeric_limits<int>::max() - AV_INPUT_BUFFER_PADDING_SIZE ||
        av_new_packet(&packet, static_cast<int>(size)) < 0)
        return false;
    off_t done = 0;
    while (done < size) {
        const ssize_t got = ::pread(file, packet.data + done, static_cast<std::size_t>(size - done), done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        done += got;
    }
    return true;
}

bool writePicture(Writer& writer, Track& track, const AVPacket& picture, std::int64_t number)
{
    const Packet packet(av_packet_clone(&picture));
    if (!packet)
        return false;
    packet->pts = packet->dts = number;
    packet->duration = 1;
    packet->flags = AV_PKT_FLAG_KEY;
    settleTimes(*packet, track);
    count(*packet, track);
    return writer.write(*packet, track.out, track.fine) >= 0;
}

} // namespace

int medium()
{
    requests::Handed handed;
    const int file = requests::next(handed);
    if (file < 0)
        return failed("no file came");
    Medium source(file, handed.name);
    if (source.open() != Medium::Verdict::Media)
        return failed(source.text());
    Writer writer;
    std::vector<Track> tracks;
    if (!writer.isThere() || !addStreams(source.context(), writer, tracks))
        return failed("its streams cannot be handed on");
    if (const int error = writer.begin(); error < 0)
        return failed("its streams cannot be handed on: " + errorText(error));
    bool isDamaged = false;
    if (writePackets(source, writer, tracks, isDamaged) < 0 || writer.end() < 0)
        return kNotTaken;
    if (source.readError() != 0)
        return failed(std::string("it cannot be read: ") + std::strerror(source.readError()));
    return reportOn(tracks, isDamaged);
}

int pictures(int numerator, int denominator)
{
    Writer writer;
    std::vector<Track> tracks(1);
    Track& track = tracks.front();
    track.isPicture = true;
    track.setBase(AVRational{denominator, numerator});
    Packet last;
    std::int64_t written = 0;
    if (!writer.isThere())
        return failed("there is no memory");
    requests::Handed handed;
    for (int file = requests::next(handed); file >= 0; file = requests::next(handed)) {
        if (track.out < 0) {
            Medium first(file, handed.name);
            if (first.open() != Medium::Verdict::Media)
                return failed(std::string(handed.name) + ": " + first.text());
            const AVStream& stream = *first.context().streams[0];
            track.out = writer.add(*stream.codecpar, track.fine, stream.sample_aspect_ratio);
            if (track.out < 0 || writer.begin() < 0)
                return failed(std::string(handed.name) + ": it cannot be handed on");
        }
        Packet picture(av_packet_alloc());
        const bool isRead = picture && readWhole(file, *picture);
        ::close(file);
        if (!isRead)
            return failed(std::string(handed.name) + " cannot be read");
        // The one before stands for those that are missing.
        for (; last && written < handed.number; ++written) {
            if (!writePicture(writer, track, *last, written))
                return kNotTaken;
        }
        last = std::move(picture);
        written = handed.number + 1;
        if (!writePicture(writer, track, *last, handed.number))
            return kNotTaken;
    }
    if (track.out < 0)
        return failed("no picture came");
    return writer.end() < 0 ? static_cast<int>(kNotTaken) : reportOn(tracks, false);
}

} // namespace krxmedia::feed

#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <functional>

namespace krxmedia {

/// Decodes pictures of a coding that the stream of packets cannot describe (requests::isUnpacked()), so that
/// they go on as plain pixels: whoever reads the stream could not open their decoder.
class Unpacker
{
public:
    explicit Unpacker(const AVStream& stream);
    ~Unpacker();
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    /// False when there is no decoder for it, or none that knows its pixels beforehand.
    bool isReady() const { return m_decoder != nullptr; }
    /// What comes out of it; \a parameters are empty. False when there is no memory.
    bool describe(AVCodecParameters& parameters) const;

    /// Hands over each picture that \a packet (null at the end) makes, in the stream's own times. \return a
    /// negative number of \a give; a picture that cannot be decoded sets \a isDamaged and is left out.
    int take(const AVPacket* packet, bool& isDamaged, const std::function<int(AVPacket& picture)>& give);

private:
    bool fill(AVPacket& picture) const;

    const AVStream& m_stream;
    AVCodecContext* m_decoder = nullptr;
    AVFrame* m_frame = nullptr;
    AVPixelFormat m_format = AV_PIX_FMT_NONE; ///< of what comes out
};

} // namespace krxmedia

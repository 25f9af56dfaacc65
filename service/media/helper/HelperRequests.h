#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

/// How the two sides of krx-media's file socket speak: when it feeds or checks, files are asked for.
namespace krxmedia::requests {

constexpr int kSocket = 3; ///< the descriptor of the socket, a SOCK_SEQPACKET
constexpr int kStream = 4; ///< the descriptor that a feed is written to
constexpr std::size_t kLongestName = 255;
constexpr char kNext = 'n';

/// True for pictures whose decoder wants to know what the stream of packets has no place for, how many bits a
/// pixel had: they are fed as plain pixels.
inline bool isUnpacked(std::string_view codec)
{
    constexpr std::string_view kCodecs[] = {"qtrle", "8bps", "msrle", "aasc", "tscc", "qpeg"};
    return std::find(std::begin(kCodecs), std::end(kCodecs), codec) != std::end(kCodecs);
}

/// What comes with a file.
struct Handed
{
    std::int64_t number = 0; ///< of a picture, counted from 0; the one before stands for one that is left out
    char name[kLongestName + 1] = {};
};

#ifdef KRX_MEDIA_PROGRAM
/// Asks for the next file. \return its descriptor, or -1 when there is no more.
int next(Handed& handed);
/// \return false when nobody listens.
bool report(const std::string& text);
#endif

} // namespace krxmedia::requests

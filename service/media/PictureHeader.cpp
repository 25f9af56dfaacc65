#include "media/PictureHeader.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace krxservice {

namespace {

constexpr std::size_t kHead = 2048; ///< bytes; all of the headers with fixed places lie within
constexpr int kMostEntries = 512;   ///< of a directory, chunks or attributes that are looked through
constexpr std::uint32_t kUndefined = 0xFFFFFFFF;
constexpr double kFastest = 1000; ///< frames per second that are believed

/// Positioned reading of numbers; what lies beyond the end is 0.
class Bytes
{
public:
    explicit Bytes(int file)
        : m_file(file)
    {
        const ssize_t got = ::pread(file, m_head.data(), m_head.size(), 0);
        m_known = got > 0 ? static_cast<std::size_t>(got) : 0;
    }

    bool isBig = true; ///< the order of bytes in numbers

    std::string_view head(std::size_t length) const
    {
        return {reinterpret_cast<const char*>(m_head.data()), std::min(length, m_known)};
    }
    std::uint32_t number(std::uint64_t at, std::size_t length) const
    {
        std::array<unsigned char, 4> bytes{};
        if (!get(at, bytes.data(), length))
            return 0;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length; ++i)
            value = value << 8 | bytes[isBig ? i : length - 1 - i];
        return value;
    }
    std::uint32_t u32(std::uint64_t at) const { return number(at, 4); }
    std::uint32_t u16(std::uint64_t at) const { return number(at, 2); }
    std::uint32_t u8(std::uint64_t at) const { return number(at, 1); }
    double real(std::uint64_t at) const
    {
        const std::uint32_t bits = u32(at);
        float value = 0;
        std::memcpy(&value, &bits, sizeof value);
        return bits == kUndefined || !std::isfinite(value) ? 0 : static_cast<double>(value);
    }

private:
    bool get(std::uint64_t at, unsigned char* target, std::size_t length) const
    {
        if (at + length <= m_known) {
            std::memcpy(target, m_head.data() + at, length);
            return true;
        }
        return at < (std::uint64_t(1) << 62) &&
               ::pread(m_file, target, length, static_cast<off_t>(at)) == static_cast<ssize_t>(length);
    }

    int m_file;
    std::array<unsigned char, kHead> m_head{};
    std::size_t m_known = 0;
};

/// Binary coded decimals, as tape machines wrote them.
std::string timecodeOf(std::uint32_t code)
{
    std::array<unsigned, 4> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const unsigned byte = code >> (24 - 8 * i) & 0xFF;
        if ((byte & 0x0F) > 9 || byte >> 4 > 9)
            return {};
        parts[i] = (byte >> 4) * 10 + (byte & 0x0F);
    }
    if (code == kUndefined || parts[0] > 23 || parts[1] > 59 || parts[2] > 59)
        return {};
    char text[48];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u:%02u", parts[0], parts[1], parts[2], parts[3]);
    return text;
}

PictureHeader readDpx(const Bytes& bytes)
{
    PictureHeader header;
    header.width = bytes.u32(772);
    header.height = bytes.u32(776);
    // Where the pixels begin: the parts for film and television may not be there.
    const std::uint64_t end = bytes.u32(4);
    if (end >= 1924)
        header.timecode = timecodeOf(bytes.u32(1920));
    for (const std::uint64_t place : {1940U, 1724U}) {
        const double rate = place + 4 <= end ? bytes.real(place) : 0;
        if (header.frameRate == 0 && rate >= 1 && rate <= kFastest)
            header.frameRate = rate;
    }
    return header;
}

PictureHeader sized(std::uint32_t width, std::uint32_t height)
{
    PictureHeader header;
    header.width = width;
    header.height = height;
    return header;
}

PictureHeader readTiff(const Bytes& bytes)
{
    PictureHeader header;
    const std::uint64_t directory = bytes.u32(4);
    const int count = std::min(static_cast<int>(bytes.u16(directory)), kMostEntries);
    for (int i = 0; i < count; ++i) {
        const std::uint64_t entry = directory + 2 + 12 * static_cast<std::uint64_t>(i);
        const std::uint32_t value = bytes.u16(entry + 2) == 3 ? bytes.u16(entry + 8) : bytes.u32(entry + 8);
        if (bytes.u16(entry) == 256)
            header.width = value;
        else if (bytes.u16(entry) == 257)
            header.height = value;
    }
    return header;
}

std::string word(const Bytes& bytes, std::uint64_t& at)
{
    constexpr std::size_t kLongest = 255;
    std::string text;
    for (std::uint32_t c = bytes.u8(at++); c != 0 && text.size() < kLongest; c = bytes.u8(at++))
        text += static_cast<char>(c);
    return text;
}

PictureHeader readExr(const Bytes& bytes)
{
    std::uint64_t at = 8;
    for (int i = 0; i < kMostEntries; ++i) {
        const std::string name = word(bytes, at);
        if (name.empty())
            break;
        word(bytes, at);
        const std::uint32_t size = bytes.u32(at);
        at += 4;
        if (name == "displayWindow")
            return sized(bytes.u32(at + 8) - bytes.u32(at) + 1, bytes.u32(at + 12) - bytes.u32(at + 4) + 1);
        at += size;
    }
    return {};
}

PictureHeader readJpeg(const Bytes& bytes)
{
    std::uint64_t at = 2;
    for (int i = 0; i < kMostEntries && bytes.u8(at) == 0xFF; ++i) {
        const std::uint32_t marker = bytes.u8(at + 1);
        // Frame headers, but neither tables nor arithmetic conditioning.
        if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC)
            return sized(bytes.u16(at + 7), bytes.u16(at + 5));
        at += marker == 0xFF ? 1 : 2 + bytes.u16(at + 2);
    }
    return {};
}

bool isTarga(std::string_view name)
{
    constexpr std::string_view kEnd = ".tga";
    return name.size() > kEnd.size() &&
           std::equal(kEnd.begin(), kEnd.end(), name.end() - kEnd.size(),
                      [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

} // namespace

PictureHeader PictureHeader::read(int file, const std::string& name)
{
    using namespace std::string_view_literals;
    Bytes bytes(file);
    const auto magic = bytes.head(4);
    bytes.isBig = magic != "XPDS"sv && magic != "II*\0"sv && magic != "v/1\x01"sv;
    if (magic == "SDPX"sv || magic == "XPDS"sv)
        return readDpx(bytes);
    if (magic == "\x80\x2A\x5F\xD7"sv)
        return sized(bytes.u32(200), bytes.u32(204));
    if (magic == "II*\0"sv || magic == "MM\0*"sv)
        return readTiff(bytes);
    if (magic == "v/1\x01"sv)
        return readExr(bytes);
    if (magic == "\x89PNG"sv)
        return sized(bytes.u32(16), bytes.u32(20));
    if (magic.substr(0, 3) == "\xFF\xD8\xFF"sv)
        return readJpeg(bytes);
    if (!isTarga(name))
        return {};
    bytes.isBig = false;
    return sized(bytes.u16(12), bytes.u16(14));
}

} // namespace krxservice

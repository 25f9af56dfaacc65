#include "store/WalCheck.h"

#include <array>
#include <cstdint>
#include <fstream>
#include <vector>

namespace krxservice::walcheck {

namespace {

// The form of the log, as SQLite documents it: a header, then frames of a header and a page each; all numbers
// are big-endian. The sums go on from frame to frame.
constexpr std::size_t kHeader = 32;
constexpr std::size_t kFrameHeader = 24;
constexpr std::uint32_t kMagic = 0x377f0682; ///< the last bit set: sums of big-endian words
constexpr std::size_t kPageSizeAt = 8;
constexpr std::size_t kSaltAt = 16;      ///< two words, in the header
constexpr std::size_t kSumAt = 24;       ///< two words, in the header
constexpr std::size_t kFramePagesAt = 4; ///< not 0 in the last frame of a transaction
constexpr std::size_t kFrameSaltAt = 8;
constexpr std::size_t kFrameSumAt = 16;
constexpr std::size_t kSummedOfFrameHeader = 8;

using Bytes = std::vector<unsigned char>;

std::uint32_t word(const Bytes& bytes, std::size_t at, bool bigEndian = true)
{
    const auto byte = [&](std::size_t i) { return std::uint32_t(bytes[at + i]); };
    return bigEndian ? byte(0) << 24 | byte(1) << 16 | byte(2) << 8 | byte(3)
                     : byte(3) << 24 | byte(2) << 16 | byte(1) << 8 | byte(0);
}

class Sum
{
public:
    explicit Sum(bool bigEndian)
        : m_bigEndian(bigEndian)
    {
    }
    void add(const Bytes& bytes, std::size_t size)
    {
        for (std::size_t at = 0; at + 8 <= size; at += 8) {
            m_words[0] += word(bytes, at, m_bigEndian) + m_words[1];
            m_words[1] += word(bytes, at + 4, m_bigEndian) + m_words[0];
        }
    }
    bool isAt(const Bytes& bytes, std::size_t at) const
    {
        return word(bytes, at) == m_words[0] && word(bytes, at + 4) == m_words[1];
    }

private:
    bool m_bigEndian;
    std::array<std::uint32_t, 2> m_words = {0, 0};
};

bool read(std::ifstream& file, Bytes& bytes)
{
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return file.gcount() == static_cast<std::streamsize>(bytes.size());
}

} // namespace

bool isDamaged(const std::string& logFile)
{
    std::ifstream file(logFile, std::ios::binary);
    Bytes header(kHeader);
    if (!file || !read(file, header))
        return false;
    const std::uint32_t magic = word(header, 0);
    const std::uint32_t pageSize = word(header, kPageSizeAt);
    Sum sum((magic & 1) != 0);
    sum.add(header, kSumAt);
    const bool isHeaderWhole =
        (magic & ~1U) == kMagic && pageSize >= 512 && pageSize <= 65536 && sum.isAt(header, kSumAt);
    if (!isHeaderWhole)
        return file.peek() != std::ifstream::traits_type::eof();
    Bytes frame(kFrameHeader);
    Bytes page(pageSize);
    bool isWhole = true;
    while (read(file, frame) && read(file, page)) {
        const bool isOurs = word(frame, kFrameSaltAt) == word(header, kSaltAt) &&
                            word(frame, kFrameSaltAt + 4) == word(header, kSaltAt + 4);
        if (!isWhole) {
            if (isOurs && word(frame, kFramePagesAt) != 0)
                return true;
            continue;
        }
        sum.add(frame, kSummedOfFrameHeader);
        sum.add(page, page.size());
        isWhole = isOurs && sum.isAt(frame, kFrameSumAt);
    }
    return false;
}

} // namespace krxservice::walcheck

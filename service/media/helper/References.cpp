#include "media/helper/References.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace krxmedia::references {

namespace {

constexpr int kDeepest = 8;
constexpr int kMostBoxes = 100000;          ///< looked at in one movie
constexpr unsigned char kSelfContained = 1; ///< flag of a data reference: the media are in this file

/// Boxes on the way to the data references.
constexpr std::array<const char*, 6> kContainers = {"moov", "trak", "mdia", "minf", "dinf", "rmra"};

struct Box
{
    char type[4] = {};
    std::int64_t begin = 0; ///< of its content
    std::int64_t end = 0;
};

std::uint64_t number(const unsigned char* bytes, int count)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

class Search
{
public:
    explicit Search(const Reader& read)
        : m_read(read)
    {
    }

    bool in(std::int64_t begin, std::int64_t end, int depth)
    {
        Box box;
        for (std::int64_t at = begin; next(at, end, box); at = box.end) {
            if (is(box, "rmra"))
                return true;
            if (is(box, "dref") && hasOutsideReference(box))
                return true;
            const bool isContainer = std::any_of(kContainers.begin(), kContainers.end(),
                                                 [&](const char* type) { return is(box, type); });
            if (isContainer && depth < kDeepest && in(box.begin, box.end, depth + 1))
                return true;
        }
        return false;
    }

private:
    static bool is(const Box& box, const char* type) { return std::memcmp(box.type, type, 4) == 0; }

    /// Reads the head of the box at \a at; false at the end and where it is damaged.
    bool next(std::int64_t at, std::int64_t end, Box& box)
    {
        unsigned char head[16];
        if (++m_boxes > kMostBoxes || end - at < 8 || m_read(at, head, 8) != 8)
            return false;
        std::uint64_t size = number(head, 4);
        std::int64_t length = 8;
        if (size == 1) {
            if (end - at < 16 || m_read(at + 8, head + 8, 8) != 8)
                return false;
            size = number(head + 8, 8);
            length = 16;
        }
        const auto room = static_cast<std::uint64_t>(end - at);
        if (size == 0)
            size = room;
        if (size < static_cast<std::uint64_t>(length) || size > room)
            return false;
        std::memcpy(box.type, head + 4, 4);
        box.begin = at + length;
        box.end = at + static_cast<std::int64_t>(size);
        return true;
    }

    /// Version, flags and a count, then one box for each reference that begins with version and flags.
    bool hasOutsideReference(const Box& list)
    {
        Box reference;
        for (std::int64_t at = list.begin + 8; next(at, list.end, reference); at = reference.end) {
            unsigned char flags[4];
            if (m_read(reference.begin, flags, 4) == 4 && !(flags[3] & kSelfContained))
                return true;
        }
        return false;
    }

    const Reader& m_read;
    int m_boxes = 0;
};

} // namespace

bool leadElsewhere(const Reader& read, std::int64_t size)
{
    return Search(read).in(0, size, 0);
}

} // namespace krxmedia::references

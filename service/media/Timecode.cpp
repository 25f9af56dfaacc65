#include "media/Timecode.h"

#include <array>
#include <cstdio>

namespace krxservice::timecode {

namespace {

constexpr std::int64_t kMinutes = std::int64_t{24} * 60;
constexpr std::string_view kDividers = "-_.:";
constexpr std::size_t kPairs = 4;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

using Parts = std::array<std::int64_t, kPairs>;

/// Four pairs of digits with \a divider between them, or nothing when it is 0, right at the start of \a text.
/// \return how long they are; 0 when they are not there.
std::size_t readPairs(std::string_view text, char divider, Parts& parts)
{
    std::size_t at = 0;
    for (std::size_t i = 0; i < kPairs; ++i) {
        if (i > 0 && divider != 0) {
            if (at >= text.size() || text[at] != divider)
                return 0;
            ++at;
        }
        if (at + 2 > text.size() || !isDigit(text[at]) || !isDigit(text[at + 1]))
            return 0;
        parts[i] = (text[at] - '0') * 10 + (text[at + 1] - '0');
        at += 2;
    }
    return at;
}

bool isTimecode(const Parts& parts, const FrameRate& rate)
{
    return parts[0] < 24 && parts[1] < 60 && parts[2] < 60 && parts[3] < rate.nominal();
}

/// Frame numbers left out at the start of a minute.
std::int64_t dropped(const FrameRate& rate)
{
    return rate.denominator == 1001 && rate.nominal() % 30 == 0 ? rate.nominal() / 15 : 0;
}

} // namespace

std::optional<std::int64_t> frames(std::string_view text, const FrameRate& rate)
{
    Parts parts{};
    constexpr std::size_t kLength = 11;
    if (text.size() != kLength)
        return std::nullopt;
    std::string plain(text);
    const bool isDrop = plain[8] == ';' || plain[8] == '.';
    if (isDrop)
        plain[8] = ':';
    if (readPairs(plain, ':', parts) != kLength || !isTimecode(parts, rate))
        return std::nullopt;
    const std::int64_t minutes = parts[0] * 60 + parts[1];
    std::int64_t count = (minutes * 60 + parts[2]) * rate.nominal() + parts[3];
    if (isDrop)
        count -= dropped(rate) * (minutes - minutes / 10);
    return count;
}

std::string text(std::int64_t count, const FrameRate& rate, bool isDrop)
{
    const std::int64_t nominal = rate.nominal();
    if (nominal <= 0)
        return {};
    const std::int64_t left = isDrop ? dropped(rate) : 0;
    const std::int64_t day = kMinutes * 60 * nominal - left * (kMinutes - kMinutes / 10);
    count %= day;
    if (count < 0)
        count += day;
    if (left > 0) {
        const std::int64_t minute = 60 * nominal - left;
        const std::int64_t ten = 10 * minute + left;
        const std::int64_t rest = count % ten;
        count += count / ten * 9 * left + (rest < left ? 0 : (rest - left) / minute * left);
    }
    char buffer[64];
    std::snprintf(
        buffer, sizeof buffer, "%02lld:%02lld:%02lld%c%02lld", static_cast<long long>(count / nominal / 3600),
        static_cast<long long>(count / nominal / 60 % 60), static_cast<long long>(count / nominal % 60),
        left > 0 ? ';' : ':', static_cast<long long>(count % nominal));
    return buffer;
}

std::string inName(std::string_view name, const FrameRate& rate)
{
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (!isDigit(name[at]) || (at > 0 && isDigit(name[at - 1])))
            continue;
        for (const char divider : {kDividers[0], kDividers[1], kDividers[2], kDividers[3], '\0'}) {
            Parts parts{};
            const std::size_t length = readPairs(name.substr(at), divider, parts);
            const bool goesOn = at + length < name.size() && isDigit(name[at + length]);
            if (length == 0 || goesOn || !isTimecode(parts, rate))
                continue;
            char buffer[64];
            std::snprintf(buffer, sizeof buffer, "%02lld:%02lld:%02lld:%02lld",
                          static_cast<long long>(parts[0]), static_cast<long long>(parts[1]),
                          static_cast<long long>(parts[2]), static_cast<long long>(parts[3]));
            return buffer;
        }
    }
    return {};
}

std::int64_t framesAfter(std::int64_t samples, int sampleRate, const FrameRate& rate)
{
    if (sampleRate <= 0 || !rate.isKnown() || samples < 0)
        return 0;
    __extension__ using Wide = __int128;
    const Wide count = Wide(samples) * rate.numerator / (Wide(sampleRate) * rate.denominator);
    return static_cast<std::int64_t>(count);
}

} // namespace krxservice::timecode

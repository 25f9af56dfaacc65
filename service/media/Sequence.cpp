#include "media/Sequence.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace krxservice::sequence {

namespace {

constexpr std::size_t kMostDigits = 18; ///< more do not fit into 64 bits

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

} // namespace

std::optional<PictureName> parse(std::string_view name)
{
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return std::nullopt;
    std::size_t begin = dot;
    while (begin > 0 && isDigit(name[begin - 1]))
        --begin;
    const std::size_t digits = dot - begin;
    if (digits == 0 || digits > kMostDigits)
        return std::nullopt;
    PictureName picture;
    picture.stem = name.substr(0, begin);
    picture.extension = name.substr(dot);
    for (std::size_t i = begin; i < dot; ++i)
        picture.number = picture.number * 10 + (name[i] - '0');
    picture.digits = static_cast<int>(digits);
    picture.isPadded = digits > 1 && name[begin] == '0';
    return picture;
}

std::vector<SequenceFacts> split(const std::string& directory, const std::vector<NumberedPicture>& pictures)
{
    std::set<int> paddings;
    for (const auto& picture : pictures) {
        if (picture.name.isPadded)
            paddings.insert(picture.name.digits);
    }
    std::map<std::pair<int, std::uint64_t>, std::vector<std::int64_t>> parts;
    for (const auto& picture : pictures) {
        const auto above = paddings.upper_bound(picture.name.digits);
        const int padding = above == paddings.begin() ? 1 : *std::prev(above);
        parts[{padding, picture.size}].push_back(picture.name.number);
    }
    std::vector<SequenceFacts> result;
    for (auto& [key, numbers] : parts) {
        std::sort(numbers.begin(), numbers.end());
        SequenceFacts facts;
        facts.directory = directory;
        facts.stem = pictures.front().name.stem;
        facts.extension = pictures.front().name.extension;
        facts.padding = key.first;
        facts.firstNumber = numbers.front();
        facts.lastNumber = numbers.back();
        facts.present = ranges(numbers);
        result.push_back(std::move(facts));
    }
    return result;
}

std::string name(const SequenceFacts& facts, std::int64_t number)
{
    std::string digits = std::to_string(number);
    if (const auto wanted = static_cast<std::size_t>(std::max(facts.padding, 0)); digits.size() < wanted)
        digits.insert(0, wanted - digits.size(), '0');
    return facts.stem + digits + facts.extension;
}

std::string path(const SequenceFacts& facts, std::int64_t number)
{
    return facts.directory + '/' + name(facts, number);
}

std::vector<NumberRange> ranges(const std::vector<std::int64_t>& numbers)
{
    std::vector<NumberRange> result;
    for (const std::int64_t number : numbers) {
        if (!result.empty() && result.back().last + 1 == number)
            result.back().last = number;
        else
            result.push_back({number, number});
    }
    return result;
}

std::vector<NumberRange> missing(const SequenceFacts& facts)
{
    std::vector<NumberRange> result;
    for (std::size_t i = 1; i < facts.present.size(); ++i)
        result.push_back({facts.present[i - 1].last + 1, facts.present[i].first - 1});
    return result;
}

std::size_t count(const SequenceFacts& facts)
{
    std::size_t sum = 0;
    for (const auto& range : facts.present)
        sum += static_cast<std::size_t>(range.last - range.first + 1);
    return sum;
}

void forEach(const SequenceFacts& facts, const std::function<bool(std::int64_t number)>& each)
{
    for (const auto& range : facts.present) {
        for (std::int64_t number = range.first; number <= range.last; ++number) {
            if (!each(number))
                return;
        }
    }
}

std::vector<std::string> paths(const SequenceFacts& facts)
{
    std::vector<std::string> result;
    forEach(facts, [&](std::int64_t number) {
        result.push_back(path(facts, number));
        return true;
    });
    return result;
}

std::string text(const std::vector<NumberRange>& ranges, std::size_t most)
{
    std::string result;
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        if (i > 0)
            result += ' ';
        if (i == most)
            return result + "...";
        result += std::to_string(ranges[i].first);
        if (ranges[i].last > ranges[i].first)
            result += '-' + std::to_string(ranges[i].last);
    }
    return result;
}

} // namespace krxservice::sequence

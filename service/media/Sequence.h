#pragma once

#include "media/Clip.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace krxservice {

/// The name of a numbered picture, taken apart: "shot_0042.dpx" is "shot_", 42 of 4 digits, ".dpx".
struct PictureName
{
    std::string stem;
    std::string extension; ///< with its dot, as it is written
    std::int64_t number = 0;
    int digits = 0;
    bool isPadded = false; ///< there are zeros before the number
};

/// A picture that may belong to a sequence.
struct NumberedPicture
{
    PictureName name;
    std::uint64_t size = 0; ///< tells widths and heights apart: only pictures of one size are a clip together
};

/// What has to do with numbered pictures: pure functions of names and numbers.
namespace sequence {

/// Takes \a name apart, whatever its extension; nothing when no number of at most 18 digits stands before it.
std::optional<PictureName> parse(std::string_view name);
/// Puts \a pictures of one directory, stem and extension together: each part holds one padding and one size,
/// and is at least one picture. A number without zeros before it goes where its count of digits is the
/// padding, else where it outgrew the padding, else to those that have none.
std::vector<SequenceFacts> split(const std::string& directory, const std::vector<NumberedPicture>& pictures);

/// The name of the picture with this number.
std::string name(const SequenceFacts& facts, std::int64_t number);
/// Its whole path.
std::string path(const SequenceFacts& facts, std::int64_t number);

/// Puts \a numbers, ascending and without doubles, into ranges.
std::vector<NumberRange> ranges(const std::vector<std::int64_t>& numbers);
/// What lies between the ranges.
std::vector<NumberRange> missing(const SequenceFacts& facts);
/// How many pictures there are.
std::size_t count(const SequenceFacts& facts);
/// Calls \a each for every picture that is there, ascending, until it returns false.
void forEach(const SequenceFacts& facts, const std::function<bool(std::int64_t number)>& each);
/// The paths of all pictures, ascending.
std::vector<std::string> paths(const SequenceFacts& facts);

/// Ranges as a person writes them: "3 5-8 12"; at most \a most of them, then "...".
std::string text(const std::vector<NumberRange>& ranges, std::size_t most);

} // namespace sequence

} // namespace krxservice

#include "media/PictureKinds.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace krxservice::picturekinds {

namespace {

constexpr std::array<std::string_view, 6> kAlways = {"dpx", "exr", "tif", "tiff", "cin", "tga"};
constexpr std::array<std::string_view, 3> kWithPlugin = {"png", "jpg", "jpeg"};
constexpr std::array<std::string_view, 8> kSidecars = {"xml",  "xmp", "srt", "cdl",
                                                       "cube", "ale", "edl", "txt"};

bool isSame(std::string_view text, std::string_view lower)
{
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return std::tolower(static_cast<unsigned char>(a)) == b; });
}

template <typename Table>
bool hasExtension(std::string_view name, const Table& table)
{
    const auto dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0)
        return false;
    const auto extension = name.substr(dot + 1);
    return std::any_of(table.begin(), table.end(),
                       [&](std::string_view known) { return isSame(extension, known); });
}

} // namespace

bool isJoined(std::string_view name, bool all)
{
    return hasExtension(name, kAlways) || (all && hasExtension(name, kWithPlugin));
}

bool isSidecar(std::string_view name)
{
    return hasExtension(name, kSidecars);
}

std::string_view stem(std::string_view name)
{
    const auto dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
}

} // namespace krxservice::picturekinds

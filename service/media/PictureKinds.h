#pragma once

#include <string_view>

/// Which files are what, as far as their extension tells.
namespace krxservice::picturekinds {

/// True for pictures of which numbered ones are a clip together: DPX, EXR, TIFF, CIN and TGA, with \a all
/// PNG and JPEG as well.
bool isJoined(std::string_view name, bool all);

/// True for a file that says something about a clip of the same stem and goes where that goes.
bool isSidecar(std::string_view name);

/// The name without its last extension.
std::string_view stem(std::string_view name);

} // namespace krxservice::picturekinds

#pragma once

#include <cstdint>
#include <string>

namespace krxservice {

/// What the first bytes of a picture say. Only numbers are read from it: this is to know thousands of
/// pictures apart, whether one is whole is found out elsewhere.
struct PictureHeader
{
    std::uint32_t width = 0; ///< pixels; 0 when it is not known
    std::uint32_t height = 0;
    std::string timecode; ///< HH:MM:SS:FF, as DPX has it; empty without
    double frameRate = 0; ///< frames per second, as DPX has it; 0 without

    /// One number for both dimensions; 0 when they are not known.
    std::uint64_t size() const { return std::uint64_t(width) << 32 | height; }

    /// Reads the open \a file, called \a name, at positions of its own: DPX, Cineon, OpenEXR, TIFF, PNG,
    /// JPEG, and Targa by its extension. Nothing known for anything else.
    static PictureHeader read(int file, const std::string& name);
};

} // namespace krxservice

#pragma once

#include <cstdint>
#include <functional>

namespace krxmedia::references {

/// Reads up to \a size bytes at \a offset into \a target; the number read.
using Reader = std::function<std::size_t(std::int64_t offset, void* target, std::size_t size)>;

/// True when a QuickTime or MP4 movie of \a size bytes names other files: a reference movie, or a track whose
/// media lie outside. Damage is no reference.
bool leadElsewhere(const Reader& read, std::int64_t size);

} // namespace krxmedia::references

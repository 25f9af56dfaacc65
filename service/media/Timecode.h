#pragma once

#include "media/LinkSettings.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// Timecodes as texts and as counts of frames since midnight.
namespace krxservice::timecode {

/// Reads HH:MM:SS:FF, drop frame with ; or . before the frames. Nothing for another text, or for one that is
/// no timecode at \a rate.
std::optional<std::int64_t> frames(std::string_view text, const FrameRate& rate);

/// The timecode of frame \a count, which starts anew after 24 hours; empty without a rate.
std::string text(std::int64_t count, const FrameRate& rate, bool isDrop = false);

/// The first HH-MM-SS-FF in \a name that is a timecode at \a rate, as HH:MM:SS:FF; between the pairs of
/// digits stands -, _, ., : or nothing, each time the same. Empty when there is none.
std::string inName(std::string_view name, const FrameRate& rate);

/// The count of frames after \a samples at \a sampleRate.
std::int64_t framesAfter(std::int64_t samples, int sampleRate, const FrameRate& rate);

} // namespace krxservice::timecode

#pragma once

#include "activities/EncodingPlan.h"

#include <string>

namespace krxservice {

/// How media are put into another file without encoding their pictures anew. Pure functions of what is known
/// of the medium.
namespace consolidation {

bool hasPicture(const MediaFacts& media);
bool hasSound(const MediaFacts& media);
/// True when sound is to become something else than it is.
bool convertsSound(const MediaOptions& options);

/// Why MXF cannot hold the medium, as far as that is known before; empty when it can.
std::string whyNotMxf(const MediaOptions& options, const MediaFacts& media);

/// The extension of the file that a medium called \a path is written into when its wrapper is to stay; empty
/// when that cannot be written. \a note says so when it is not the very same.
std::string ownWrapper(const std::string& path, std::string& note);

/// The plan for a file (with the pictures, or of sound alone) with this extension.
Outcome<EncodingPlan> plan(const MediaOptions& options, const Clip& clip, const MediaFacts& media,
                           const std::string& extension);

} // namespace consolidation

} // namespace krxservice

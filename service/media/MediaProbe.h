#pragma once

#include "base/CancelToken.h"
#include "base/SourceFile.h"
#include "media/OutputDocument.h"

#include <string>
#include <string_view>

namespace krxservice {

/// What a probe said about a file.
struct ProbeResult
{
    enum class Verdict {
        Media,      ///< facts are filled
        NotMedia,   ///< nothing that an editor could play; text says what it is
        Unavailable ///< the question could not be put; ask again later
    };

    Verdict verdict = Verdict::Unavailable;
    MediaFacts facts;
    std::string text;
};

/// Asks ffprobe what a file is.
class MediaProbe
{
public:
    static constexpr int kLongestMilliseconds = 30000; ///< a probe that takes longer is given up

    /// Blocks the calling thread; may be called from every thread.
    static ProbeResult probe(const std::string& path, const CancelToken& cancel);
    static ProbeResult probe(const SourceFile& file, const CancelToken& cancel);

    /// Reads what ffprobe prints ("-print_format xml -show_format -show_streams").
    static ProbeResult read(std::string_view report);
};

} // namespace krxservice

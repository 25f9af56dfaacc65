#pragma once

#include "base/CancelToken.h"
#include "files/SourceFile.h"
#include "media/Clip.h"

#include <string>
#include <string_view>
#include <vector>

namespace krxservice {

/// What a probe said about a file.
struct ProbeResult
{
    enum class Verdict {
        Media,      ///< facts are filled
        NotMedia,   ///< nothing that an editor could play; text says what it is
        Unavailable ///< the question could not be put or was not answered; ask again later
    };

    Verdict verdict = Verdict::Unavailable;
    MediaFacts facts;
    std::string text;
    bool isAboutFile = true; ///< false when no file can be looked into for the moment
};

/// Finds out what a file is, by way of a confined process: krx-media, which lies beside this program. It is
/// handed the open file and can open nothing itself, whatever the file asks for.
class MediaProbe
{
public:
    static constexpr int kLongestMilliseconds = 30000; ///< a look that takes longer is given up

    /// Blocks the calling thread; may be called from every thread.
    static ProbeResult probe(const SourceFile& file, const CancelToken& cancel);
    static ProbeResult probe(const std::string& path, const CancelToken& cancel);

    /// Reads what krx-media answers. An answer that makes no sense is Unavailable.
    static ProbeResult read(std::string_view report);

    /// krx-media, and the arguments that come before its own.
    static std::vector<std::string> program();

    /// For tests: another program (its path and arguments) and limit from now on. Without a program the usual
    /// one. Not while a probe runs.
    static void use(const std::vector<std::string>& program, int longestMilliseconds = kLongestMilliseconds);
};

} // namespace krxservice

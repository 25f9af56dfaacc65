#pragma once

#include "base/CancelToken.h"
#include "media/Clip.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace krxservice {

/// An original, or one picture of a sequence, that is to be read.
struct EngineFile
{
    int file = -1;    ///< open for reading; the caller's
    std::string name; ///< a hint: some formats are told by their extension only
};

/// What ffmpeg reads: one medium, or numbered pictures.
struct EngineInput
{
    /// The medium. It is left to the confined krx-media to take it apart: ffmpeg gets the first stream of
    /// pictures that is no cover and all of sound, in their order, and never the file.
    EngineFile medium;

    /// The pictures of a sequence: opens the one with this number, counted from 0. A number that is missing
    /// gives nothing and the next one is asked for. Empty for a medium.
    std::function<std::optional<EngineFile>(std::int64_t number)> picture;
    std::int64_t pictures = 0; ///< how many numbers there are
    int rateNumerator = 25;    ///< pictures in each second
    int rateDenominator = 1;

    /// What ffmpeg is told of it, for example its decoders.
    std::vector<std::string> arguments;
};

/// What ffmpeg writes.
struct EngineOutput
{
    int file = -1;                      ///< empty and open for writing; the caller's
    std::string format;                 ///< the muxer's name
    std::vector<std::string> arguments; ///< what goes in, how it is encoded
};

/// One piece of work for ffmpeg.
struct EngineOrder
{
    std::vector<EngineInput> inputs;
    std::vector<std::string> filters; ///< arguments before the first output, for example "-filter_complex"
    std::vector<EngineOutput> outputs;
    double seconds = 0; ///< how long the result is to be; for the progress. 0 when it is not known
    std::function<void(int percent)> progress;
    CancelToken cancel;
};

/// What was read of a stream, in the order of the inputs.
struct FedStream
{
    bool isPicture = false;
    std::int64_t packets = 0; ///< that are shown
    double begin = 0;         ///< seconds from the start of the input
    double end = 0;
};

struct EngineResult
{
    enum class End {
        Done,
        Cancelled,
        NoSpace,  ///< a volume is full
        NotThere, ///< ffmpeg cannot be started, for any work
        Ended,    ///< others ended it, each time that it was begun: nothing is known of the medium
        Silent,   ///< it made no progress, and was given up
        Failed
    };

    End end = End::Failed;
    std::string text;           ///< why it was not done
    std::vector<FedStream> fed; ///< none when it failed before all was read
    bool wasDamaged = false;    ///< some of an input could not be read or decoded
    std::string complaint;      ///< ffmpeg's first words about that
};

/// What was counted in a file.
struct CheckResult
{
    struct Stream
    {
        std::string type; ///< "video", "audio" or "other"
        std::int64_t packets = 0;
        double seconds = 0;
    };
    bool isWhole = false; ///< it could be read to its end, and decoded in three places
    /// Otherwise nothing is known of it: krx-media could not begin, or others ended it.
    bool wasLookedAt = true;
    std::string text; ///< why not
    std::vector<Stream> streams;
};

/// Runs ffmpeg, the program, for heavy work. Originals reach it as a stream of packets that the confined
/// krx-media makes of them (docs/security.md); it opens no file but the outputs, and those by descriptors.
/// Both are groups of processes of their own and end when \a order.cancel is set, or the service ends, at
/// once. When somebody else ends one of them (the system does when memory is short), the work begins anew, up
/// to kMostStarts times in all.
///
/// What is presented begins some seconds after the start of what ffmpeg reads, so the filters of an order
/// begin with trimming() and soundTrimming().
class Ffmpeg
{
public:
    static constexpr int kSilence =
        120000;                           ///< milliseconds without a step forward, after which it is given up
    static constexpr int kMostStarts = 3; ///< of work whose programs others end

    /// Blocks the calling thread; may be called from every thread. What it wrote into the outputs is the
    /// caller's, whatever the end.
    static EngineResult run(const EngineOrder& order);

    /// Reads the open \a file to its end and decodes its pictures at its beginning, middle and end.
    static CheckResult check(int file, const std::string& name, const CancelToken& cancel);

    /// The arguments that name the decoders of a medium: the stream of packets does not know them all.
    static std::vector<std::string> decoders(const MediaFacts& media);

    /// The filters that drop what precedes the start, and let time begin at 0.
    static std::string trimming();
    static std::string soundTrimming();
    /// How many seconds precede the start.
    static int leadSeconds();

    /// For tests: another program with its arguments, another limit. Without a program the usual one. Not
    /// while work runs.
    static void use(const std::vector<std::string>& program, int silenceMilliseconds = kSilence);
};

} // namespace krxservice

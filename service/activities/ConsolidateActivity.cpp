#include "activities/ConsolidateActivity.h"

#include "activities/ClipCopy.h"
#include "activities/ConsolidationPlan.h"
#include "activities/LinkedSource.h"
#include "activities/MediaTarget.h"
#include "activities/Transcoder.h"
#include "base/Log.h"
#include "base/Text.h"
#include "engines/Ffmpeg.h"
#include "files/SourceFile.h"
#include "files/VolumeTurn.h"
#include "media/ClipFiles.h"
#include "media/MediaProbe.h"
#include "media/TargetIndex.h"
#include "media/helper/HelperRequests.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>
#include <vector>

namespace krxservice {

namespace {

constexpr double kMayMiss = 0.5; ///< seconds that a source may hold less than it says
constexpr double kMayMissPart = 0.01;
constexpr char kCancelled[] = "cancelled";

/// A file that is to lie on a volume.
struct Piece
{
    std::string kind; ///< "clip", "picture" or "sound"
    std::string volume;
    std::string checksum; ///< of what it is made of
};

/// One clip on its way.
class Consolidation
{
public:
    Consolidation(const Clip& clip, const ActivityRecipe& recipe, const ActivityProgress& progress,
                  const CancelToken& cancel)
        : m_clip(clip)
        , m_options(MediaOptions::read(recipe.element))
        , m_progress(progress)
        , m_cancel(cancel)
        , m_source(linkedsource::open(clip))
    {
        m_note.id = recipe.id;
        m_note.name = recipe.name;
    }

    Outcome<Clip> run()
    {
        if (!m_source.isOpen())
            return linkedsource::whyNot(m_source, failed(m_source.error()));
        const ProbeResult probe = MediaProbe::probe(m_source, m_cancel);
        if (probe.verdict != ProbeResult::Verdict::Media)
            return failed(probe.text);
        m_media = probe.facts;
        m_isStill = m_clip.sequence || m_media.kind == "image";
        std::vector<std::string> volumes;
        for (const auto& piece : pieces()) {
            if (const auto refusal = MediaTarget(piece.volume, m_clip).refusal(0))
                return *refusal;
            volumes.push_back(piece.volume);
        }
        // Before all of it is read.
        if (const std::string busy = VolumeTurn::toWaitFor(volumes); !busy.empty())
            return Refusal{kWaitFor, busy};
        if (m_options.skipsOnTarget) {
            if (auto skipped = skip())
                return std::move(*skipped);
        }
        auto brought = bring();
        if (brought) {
            remember(*brought);
            return brought;
        }
        const Refusal& refusal = brought.refusal();
        if (isFinal(refusal) || !m_options.transcodesOtherwise)
            return refusal;
        return transcode(refusal.text);
    }

private:
    Refusal failed(const std::string& reason, int status = 500) const
    {
        return {status, "Consolidating " + m_clip.linked.path + " failed: " + reason};
    }

    /// True when another way of doing it does not help.
    bool isFinal(const Refusal& refusal) const
    {
        return *m_cancel || refusal.status == kLookAgain || refusal.status == kWaitFor ||
               refusal.status == kNoEngine;
    }

    bool hasPicture() const { return consolidation::hasPicture(m_media); }
    bool hasSound() const { return consolidation::hasSound(m_media); }
    /// True when pictures and sound are to be in files of their own.
    bool goesApart() const { return m_options.isApart() && hasPicture() && hasSound() && !m_isStill; }

    std::vector<Piece> pieces() const
    {
        std::vector<Piece> all;
        for (const auto& part : m_clip.parts)
            all.push_back({part.kind, part.kind == "sound" ? m_options.audioVolume : m_options.videoVolume,
                           part.file.checksum});
        if (!all.empty())
            return all;
        const std::string& checksum = m_clip.linked.checksum;
        if (goesApart())
            return {{"picture", m_options.videoVolume, checksum}, {"sound", m_options.audioVolume, checksum}};
        return {{"clip", hasPicture() ? m_options.videoVolume : m_options.audioVolume, checksum}};
    }

    static TargetIndex indexOf(const std::string& volume)
    {
        return TargetIndex(profiledocument::mediaFolder(volume));
    }

    /// The clip as it is when all of it lies there already.
    std::optional<Clip> skip()
    {
        std::vector<ClipPart> found;
        for (const auto& piece : pieces()) {
            const auto file = indexOf(piece.volume).find({piece.kind, piece.checksum}, m_cancel);
            if (!file)
                return std::nullopt;
            found.push_back({piece.kind, *file});
        }
        Clip clip = m_clip;
        std::string where;
        for (const auto& part : found)
            where += (where.empty() ? "" : ", ") + part.file.path;
        if (m_options.relinksSkipped) {
            clip.linked = found.front().file;
            clip.parts = found.size() > 1 ? found : std::vector<ClipPart>();
            clip.sequence = clipfiles::of(clip.linked.path, {}, m_clip.sequence.has_value()).sequence;
        }
        m_note.notes.push_back("It was skipped: the same media lie on the target already, as " + where +
                               (m_options.relinksSkipped ? ", and the clip links to them" : ""));
        log::info("skipped " + m_clip.linked.path + ", which lies there already as " + where);
        clip.activities.push_back(m_note);
        return clip;
    }

    void remember(const Clip& made) const
    {
        const auto wanted = pieces();
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const FileFacts& file =
                wanted.size() > 1 && i < made.parts.size() ? made.parts[i].file : made.linked;
            const std::string folder = profiledocument::mediaFolder(wanted[i].volume);
            if (text::isBelow(file.path, folder))
                TargetIndex(folder).add({wanted[i].kind, wanted[i].checksum}, file);
        }
    }

    Outcome<Clip> bring()
    {
        const bool convertsSound = hasSound() && consolidation::convertsSound(m_options);
        if (m_isStill || !m_clip.parts.empty())
            return asItIs();
        if (!hasPicture())
            return convertsSound ? remade("wav") : asItIs();
        std::string note;
        const std::string own = consolidation::ownWrapper(m_clip.linked.path, note);
        const bool isRemade = convertsSound || goesApart();
        if (own == "mxf" && !isRemade)
            return asItIs();
        std::string reason = consolidation::whyNotMxf(m_options, m_media);
        if (reason.empty()) {
            auto made = remade("mxf");
            if (made || isFinal(made.refusal()))
                return made;
            reason = "in MXF it is not right (" + made.refusal().text + ')';
        }
        if (own == "mxf")
            return failed(reason);
        m_note.notes.push_back(reason + ": it keeps its own wrapper");
        if (!isRemade)
            return asItIs();
        if (own.empty())
            return failed(reason + ", and a file like " + text::baseName(m_clip.linked.path) +
                          " cannot be written with other sound");
        for (const auto& stream : m_media.streams) {
            if (stream.type == "video" && krxmedia::requests::isUnpacked(stream.codec))
                return failed(reason + ", and " + stream.codec + " cannot go into a new file as it is");
        }
        if (!note.empty())
            m_note.notes.push_back(note);
        return remade(own);
    }

    /// In a new file, by way of ffmpeg.
    Outcome<Clip> remade(const std::string& extension)
    {
        transcoder::Making making;
        making.doing = "Consolidating";
        making.done = "consolidated";
        making.plan = [&](const MediaFacts& media) {
            return consolidation::plan(m_options, m_clip, media, extension);
        };
        MediaOptions options = m_options;
        if (!goesApart() && hasPicture())
            options.audioVolume = options.videoVolume;
        return transcoder::run(m_clip, options, m_note, m_progress, m_cancel, making);
    }

    /// Looks through the medium, which goes over as it is with whatever is wrong in it. Nothing, or why it is
    /// no whole one.
    std::optional<Refusal> look()
    {
        const CheckResult found = Ffmpeg::check(m_source.get(), text::baseName(m_clip.linked.path), m_cancel);
        if (*m_cancel)
            return Refusal{500, kCancelled};
        if (!found.wasLookedAt)
            return failed(found.text, kNoEngine);
        if (!found.isWhole) {
            m_note.notes.push_back("It went over as it is, but " + text::oneLine(found.text));
            return std::nullopt;
        }
        double had = 0;
        for (const auto& stream : found.streams) {
            had = std::max(had, stream.seconds);
            if (stream.type == "video" && stream.packets == 0 && hasPicture())
                return failed("it holds no pictures");
        }
        const double said = m_isStill ? 0 : std::strtod(m_media.duration.c_str(), nullptr);
        if (said - had > std::max(kMayMiss, said * kMayMissPart))
            return failed("it holds only " + std::to_string(had) + " of the " + std::to_string(said) +
                          " seconds that it says: it is cut off");
        return std::nullopt;
    }

    /// The very files, each on its volume.
    Outcome<Clip> asItIs()
    {
        if (const auto refusal = look())
            return *refusal;
        Clip made = m_clip;
        if (m_clip.parts.empty() || !m_options.isApart()) {
            if (const auto refusal = copy(m_clip, pieces().front().volume, made))
                return *refusal;
        } else if (const auto refusal = copyParts(made)) {
            return *refusal;
        }
        m_note.check = "verified";
        made.activities.push_back(m_note);
        return made;
    }

    /// Copies all files of \a clip and relinks \a made to them.
    std::optional<Refusal> copy(const Clip& clip, const std::string& volume, Clip& made)
    {
        const MediaTarget target(volume, m_clip);
        if (auto refusal = target.refusal(clip.linked.stamp.size))
            return refusal;
        const VolumeTurn turn(volume);
        if (!turn.waitingFor().empty())
            return Refusal{kWaitFor, turn.waitingFor()};
        CopyOrder order = clipcopy::order(clip);
        order.directory = volume;
        order.below = target.below();
        order.cancel = m_cancel;
        order.willWrite = m_progress.willWrite;
        order.progress = m_progress.percent;
        const CopyResult result = Copier::copy(order);
        if (result.cancelled)
            return Refusal{500, kCancelled};
        if (result.sourceChanged)
            return Refusal{kLookAgain, result.error};
        if (!result.ok) {
            // What does not fit any more, or is away, is not the clip's fault.
            const auto refusal = target.refusal(clip.linked.stamp.size);
            return refusal ? *refusal : failed(result.error);
        }
        m_copied.insert(m_copied.end(), result.files.begin(), result.files.end());
        const FileFacts facts = clipcopy::facts(result, order);
        if (clipcopy::isOther(clip, result, order)) {
            clipcopy::undo(result);
            return Refusal{kLookAgain, clip.linked.path + " changed before it was consolidated"};
        }
        log::info("consolidated " + clip.linked.path + " to " + facts.path);
        clipcopy::relink(made, result, facts);
        const auto files = clipcopy::made(result, order);
        m_note.made.insert(m_note.made.end(), files.begin(), files.end());
        return std::nullopt;
    }

    /// Takes back what was copied of a clip that cannot be brought as a whole.
    void undo()
    {
        for (const auto& file : m_copied) {
            const auto now = filetools::stampOfUnlinked(file.path);
            if (!file.existed && now && file.stamp.isUntouched(*now))
                ::unlink(file.path.c_str());
        }
        m_copied.clear();
        m_note.made.clear();
    }

    std::optional<Refusal> copyParts(Clip& made)
    {
        for (std::size_t i = 0; i < m_clip.parts.size(); ++i) {
            Clip part;
            part.source = part.linked = m_clip.parts[i].file;
            Clip brought = part;
            if (auto refusal = copy(part, pieces()[i].volume, brought)) {
                undo();
                return refusal;
            }
            made.parts[i].file = brought.linked;
        }
        made.linked = made.parts.front().file;
        return std::nullopt;
    }

    Outcome<Clip> transcode(const std::string& reason)
    {
        ActivityNote note;
        note.id = m_note.id;
        note.name = m_note.name;
        note.notes.push_back("It could not be consolidated and was transcoded instead: " + reason);
        log::warning(m_clip.linked.path + " is transcoded instead of consolidated: " + reason);
        auto made = transcoder::run(m_clip, m_options, note, m_progress, m_cancel);
        if (made || isFinal(made.refusal()))
            return made;
        return Refusal{made.refusal().status, reason + "; " + made.refusal().text};
    }

    const Clip& m_clip;
    const MediaOptions m_options;
    const ActivityProgress& m_progress;
    const CancelToken m_cancel;
    const SourceFile m_source;
    ActivityNote m_note;
    MediaFacts m_media;
    bool m_isStill = false;
    std::vector<CopiedFile> m_copied; ///< by this action
};

} // namespace

Outcome<Clip> ConsolidateActivity::run(const Clip& clip, const ActivityRecipe& recipe,
                                       const ActivityProgress& progress, const CancelToken& cancel) const
{
    return Consolidation(clip, recipe, progress, cancel).run();
}

} // namespace krxservice

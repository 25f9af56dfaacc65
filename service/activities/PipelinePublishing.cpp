#include "activities/Pipeline.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "files/SourceFile.h"
#include "media/ClipFiles.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace krxservice {

namespace {

constexpr char kOutOfReach[] = "the directory of its output is out of reach";
constexpr int kAttempts = 2;                                            ///< to give a document its name
constexpr int kAtOnce = 100;                                            ///< records looked at together
constexpr std::int64_t kKeptFor = 30LL * 24 * 60 * 60 * 1000 * 1000000; ///< nanoseconds
constexpr std::int64_t kMostBetweenLooks = 2LL * 24 * 60 * 60 * 1000 * 1000000; ///< nanoseconds that count
constexpr char kRemoved[] = "its folder or job was removed";

enum class Whereabouts {
    There,
    Gone,
    Unknown, ///< perhaps its volume is away
};

Whereabouts whereabouts(const std::string& path)
{
    struct stat facts
    {
    };
    if (::stat(path.c_str(), &facts) == 0)
        return Whereabouts::There;
    if (errno != ENOENT)
        return Whereabouts::Unknown;
    // A volume that is away takes its directories along, or leaves the empty one that it was mounted in.
    std::error_code error;
    const bool isEmpty = std::filesystem::is_empty(path.substr(0, path.rfind('/')), error);
    return error || isEmpty ? Whereabouts::Unknown : Whereabouts::Gone;
}

} // namespace

FileResult Pipeline::ended(FileResult::End end, const std::string& text,
                           const std::optional<FileStamp>& stamp)
{
    return {end, text, stamp, nullptr, {}, {}};
}

/// Makes the records of \a clips and, in the same order, their documents.
std::vector<OutputArea::Document>
Pipeline::beginTogether(const std::vector<std::shared_ptr<ReadyClip>>& clips)
{
    std::vector<OutputArea::Document> documents;
    Transaction transaction(m_database);
    for (const auto& clip : clips) {
        const auto begun = m_clips.begin(
            clip->record, [&](std::int64_t id) { return OutputArea::fileName(id, clip->record.path); });
        if (!begun) {
            documents.push_back({clip->record.owner, {}, {}, kRemoved});
            continue;
        }
        clip->record = *begun;
        clip->facts.id = begun->guid;
        documents.push_back({begun->owner, begun->output, outputdocument::write(clip->facts), {}});
    }
    transaction.commit();
    return documents;
}

std::vector<FileResult> Pipeline::publishTogether(const std::vector<std::shared_ptr<ReadyClip>>& clips)
{
    // Each step for all of them before the next one, so that the disk is waited for once a step.
    auto documents = beginTogether(clips);
    m_outputs.prepare(documents);
    std::vector<FileResult> results;
    {
        Transaction transaction(m_database);
        for (std::size_t i = 0; i < clips.size(); ++i) {
            const ClipRecord& record = clips[i]->record;
            results.push_back(ended(FileResult::End::Later, documents[i].error));
            if (documents[i].error.empty() && m_clips.publish(record.id))
                results.back() = ended(FileResult::End::Publishing, {}, record.stamp);
            else if (documents[i].error.empty())
                documents[i].error = kRemoved;
            else if (record.id != 0)
                m_clips.wait(record.id);
        }
        transaction.commit();
    }
    for (std::size_t i = 0; i < clips.size(); ++i) {
        if (results[i].end == FileResult::End::Publishing)
            continue;
        m_outputs.abandon(documents[i].owner, documents[i].name);
        const log::AboutClip about(clips[i]->record.guid);
        if (documents[i].error != kRemoved)
            m_errors.add("The output for " + clips[i]->record.path +
                         " cannot be written: " + documents[i].error);
    }
    m_outputs.publish(documents);
    {
        Transaction transaction(m_database);
        for (std::size_t i = 0; i < clips.size(); ++i) {
            if (documents[i].error.empty() && m_clips.offer(clips[i]->record.id))
                results[i].end = FileResult::End::Offered;
        }
        transaction.commit();
    }
    for (std::size_t i = 0; i < clips.size(); ++i) {
        const ClipRecord& record = clips[i]->record;
        if (results[i].end == FileResult::End::Publishing)
            results[i] = finish(record, {});
        else if (results[i].end == FileResult::End::Offered)
            log::info("offered " + record.path + " as " + m_outputs.path(record.owner, record.output),
                      record.guid);
        if (results[i].end == FileResult::End::Offered)
            say(record.path, clips[i]->notes);
    }
    return results;
}

void Pipeline::say(const std::string& path, const std::vector<std::string>& notes)
{
    const std::string start = ErrorStore::notedStart(path);
    // What an older content was said to lack this one may have.
    m_errors.removeStarting(start);
    for (const auto& note : notes)
        m_errors.add(start + note);
}

/// Gives the document of a clip its name, unless it has it (or had it and was taken), and notes it.
FileResult Pipeline::finish(const ClipRecord& clip, const std::function<void(const FileResult&)>& willEnd)
{
    const log::AboutClip about(clip.guid);
    std::string reason;
    bool hasItsName = false;
    for (int i = 0; !hasItsName && i < kAttempts && m_outputs.isPrepared(clip.owner, clip.output); ++i) {
        reason = m_outputs.publish(clip.owner, clip.output);
        hasItsName = reason.empty();
    }
    if (!hasItsName && !m_outputs.hasLeftItsHiddenPlace(clip.owner, clip.output)) {
        // Out of sight without a reason it may be there again the next time, or be removed with its owner.
        if (!reason.empty() && m_outputs.isPrepared(clip.owner, clip.output))
            m_errors.add("The output for " + clip.path + " cannot be written: " + reason);
        return ended(FileResult::End::Publishing, reason.empty() ? kOutOfReach : reason, clip.stamp);
    }
    const FileResult result = ended(FileResult::End::Offered, {}, clip.stamp);
    {
        Transaction transaction(m_database);
        if (!m_clips.offer(clip.id)) {
            const auto now = m_clips.find(clip.id);
            // Somebody else finished it, or its folder or job was removed.
            return now ? ended(FileResult::End::Known, "it was worked on before", clip.stamp)
                       : ended(FileResult::End::Later, {});
        }
        if (willEnd)
            willEnd(result);
        transaction.commit();
    }
    m_errors.removeStarting(ErrorStore::refusedStart(clip.path));
    log::info("offered " + clip.path + " as " + m_outputs.path(clip.owner, clip.output), clip.guid);
    return result;
}

void Pipeline::publishRest()
{
    for (const auto& clip : m_clips.inState(ClipState::Publishing))
        finish(clip, {});
}

void Pipeline::noteTaken()
{
    const auto taken = m_outputs.takeTaken();
    if (!taken.empty())
        m_clips.take(taken);
}

/// Of work that was called off nobody waited for a look at the content.
void Pipeline::learnLate(const ClipRecord& clip, const CancelToken& cancel)
{
    // Which numbered pictures were one clip the profile said, and the stamp says it, too.
    for (const bool joinsAllPictures : {false, true}) {
        const ClipFiles files = clipfiles::of(clip.path, {}, joinsAllPictures);
        if (files.path != clip.path || !clip.stamp.isUntouched(files.stamp))
            continue;
        const SourceFile source(clip.path);
        std::string error;
        const auto checksum =
            files.sequence    ? clipfiles::fingerprint(*files.sequence, {}, clip.stamp.size, cancel, error)
            : source.isOpen() ? filetools::fingerprint(source.get(), cancel, error)
                              : std::nullopt;
        const ClipFiles now = clipfiles::of(clip.path, {}, joinsAllPictures);
        if (checksum && files.stamp.isUntouched(now.stamp))
            m_clips.setChecksum(clip.id, knownBy(*checksum, clip.stamp));
        return;
    }
}

void Pipeline::learnCalledOff(const CancelToken& cancel)
{
    for (const auto& clip : m_clips.inState(ClipState::Failed)) {
        if (*cancel)
            return;
        if (ClipStore::isProvisional(clip.checksum))
            learnLate(clip, cancel);
    }
}

std::optional<FileStamp> Pipeline::callOff(const FileOrder& order, const ClipFiles& files,
                                           const std::string& job)
{
    const auto stamp = files.sequence ? std::optional(files.stamp) : filetools::stampOf(files.path);
    if (!stamp || !text::isPlainText(files.path))
        return std::nullopt;
    ClipRecord record;
    record.owner = order.ownerId;
    record.path = files.path;
    record.stamp = *stamp;
    record.checksum = ClipStore::provisionalChecksum(*stamp);
    record.profile = order.profile.id;
    Transaction transaction(m_database);
    if (m_clips.find(record.owner, record.path, record.checksum))
        return stamp;
    const auto begun =
        m_clips.begin(record, [&](std::int64_t id) { return OutputArea::fileName(id, files.path); });
    if (!begun)
        return std::nullopt;
    m_clips.setJob(begun->id, job);
    m_clips.fail(begun->id, {}, ClipStore::kCancelled);
    transaction.commit();
    return stamp;
}

void Pipeline::prune(std::int64_t now, const CancelToken& cancel)
{
    m_clips.noteLook(now, kMostBetweenLooks);
    std::int64_t last = 0;
    for (;;) {
        const auto clips = m_clips.finished(last, kAtOnce);
        for (const auto& clip : clips) {
            last = clip.id;
            const Whereabouts place = whereabouts(clip.path);
            if (place == Whereabouts::There && ClipStore::isProvisional(clip.checksum))
                learnLate(clip, cancel);
            if (*cancel)
                return;
            if (place == Whereabouts::There && clip.goneSince != 0)
                m_clips.setGoneSince(clip.id, 0);
            else if (place == Whereabouts::Gone && clip.goneSince == 0)
                m_clips.setGoneSince(clip.id, now);
            else if (place == Whereabouts::Gone && now - clip.goneSince > kKeptFor)
                m_clips.forget(clip.id);
        }
        if (clips.empty())
            return;
    }
}

void Pipeline::recover(bool isComplete)
{
    int count = 0;
    const std::string kept = m_outputs.settle(
        [this](const OutputArea::Key& key, const std::string& name) { return m_clips.owns(key, name); },
        isComplete, count);
    if (!kept.empty())
        m_errors.add(std::to_string(count) +
                     " output documents of which the database knows nothing were kept in " + kept);
    publishRest();
    for (const auto state : {ClipState::Acting, ClipState::Waiting}) {
        for (const auto& clip : m_clips.inState(state)) {
            if (!clip.output.empty() && m_outputs.isPublished(clip.owner, clip.output)) {
                finish(clip, {});
                continue;
            }
            removeScratch(clip.scratch);
            if (!clip.output.empty())
                m_outputs.abandon(clip.owner, clip.output);
            if (clip.done == 0)
                m_clips.forget(clip.id);
            else
                m_clips.wait(clip.id);
        }
    }
    // The host may have taken clips while nobody looked.
    for (const auto& clip : m_clips.inState(ClipState::Offered)) {
        if (!clip.output.empty())
            m_outputs.expect(clip.owner, clip.output);
    }
    noteTaken();
}

} // namespace krxservice

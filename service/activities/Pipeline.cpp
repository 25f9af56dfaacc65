#include "activities/Pipeline.h"

#include "activities/Activity.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/SourceFile.h"
#include "base/Text.h"
#include "media/ClipMemory.h"
#include "media/MediaProbe.h"
#include "media/OutputDocument.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace krxservice {

namespace {

constexpr char kRefusedBefore[] = "it was not offered before either, and holds the same content";
constexpr char kOutOfReach[] = "the directory of its output is out of reach";
constexpr char kRemoved[] = "its folder or job was removed";
constexpr int kAttempts = 2;                                            ///< to give a document its name
constexpr int kAtOnce = 100;                                            ///< records looked at together
constexpr std::int64_t kKeptFor = 30LL * 24 * 60 * 60 * 1000 * 1000000; ///< nanoseconds

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

CopiedClip copiedInto(const std::string& folder, std::vector<HistoryEntry> files)
{
    const std::string canonical = text::canonicalPath(folder);
    struct stat facts
    {
    };
    const bool isThere = ::stat(folder.c_str(), &facts) == 0;
    return {canonical.empty() ? folder : canonical, isThere ? static_cast<std::int64_t>(facts.st_ino) : 0,
            text::now(), std::move(files)};
}

FileResult ended(FileResult::End end, const std::string& text,
                 const std::optional<FileStamp>& stamp = std::nullopt)
{
    return {end, text, stamp, nullptr};
}

} // namespace

/// One file on its way through the pipeline.
struct Pipeline::Work
{
    const FileOrder& order;
    const SourceFile& source;
    ClipRecord record;
    Clip clip;
};

Pipeline::Pipeline(Database& database, ClipStore& clips, ErrorStore& errors, OutputArea& outputs)
    : m_database(database)
    , m_clips(clips)
    , m_errors(errors)
    , m_outputs(outputs)
{
}

FileResult Pipeline::process(const FileOrder& order)
{
    // Opened once: all that follows is about this file, whatever happens to its name.
    const SourceFile source(order.path, order.ownerPath);
    if (source.isMissing())
        return ended(FileResult::End::Later, "the file is gone");
    if (!source.isOpen()) {
        m_errors.add("The file " + order.path + " cannot be read: " + source.error());
        return ended(FileResult::End::Later, source.error());
    }
    Work work{order, source, {}, {}};
    work.record.owner = order.ownerId;
    work.record.path = order.path;
    work.record.stamp = source.stamp();
    if (!text::isPlainText(order.path))
        return reject(work, "its name cannot be written in a document");
    if (const auto known = recognise(work))
        return *known;
    dropOthers(work);

    const ProbeResult probe = MediaProbe::probe(source, order.cancel);
    if (*order.cancel)
        return ended(FileResult::End::Cancelled, "cancelled");
    if (probe.verdict == ProbeResult::Verdict::Unavailable) {
        const std::string start = ErrorStore::refusedStart(order.path);
        if (probe.isAboutFile)
            m_errors.removeStarting(start);
        m_errors.add((probe.isAboutFile ? start : "Files cannot be looked into: ") + probe.text);
        return ended(FileResult::End::Later, probe.text);
    }
    if (!source.isUnchanged() || !source.isStillNamed())
        return ended(FileResult::End::Later, "the file changed while it was read");
    if (probe.verdict == ProbeResult::Verdict::NotMedia)
        return reject(work, probe.text);
    work.clip.linked = work.clip.source;
    work.clip.media = probe.facts;
    if (order.ownerKind == "folder")
        work.clip.watched = order.ownerPath;
    goOn(work);
    if (order.mayBeGrouped && order.profile.activities.empty() && work.record.id == 0) {
        FileResult result = ended(FileResult::End::Ready, {}, work.record.stamp);
        result.ready = std::make_shared<ReadyClip>(ReadyClip{work.record, factsOf(work)});
        return result;
    }
    const auto begun =
        m_clips.begin(work.record, [&](std::int64_t id) { return OutputArea::fileName(id, order.path); });
    if (!begun)
        return ended(FileResult::End::Later, kRemoved);
    work.record = *begun;

    const auto failure = runActivities(work);
    if (*order.cancel)
        return interrupted(work);
    if (failure && failure->status == kLookAgain)
        return lookAgain(work, failure->text);
    return failure ? fail(work, failure->text) : publish(work);
}

/// Fills in which content the file has. \return what is to be said when there is nothing to be done.
std::optional<FileResult> Pipeline::recognise(Work& work)
{
    const FileOrder& order = work.order;
    ClipRecord& record = work.record;
    std::string error;
    const auto checksum = filetools::fingerprint(work.source.get(), order.cancel, error);
    if (*order.cancel)
        return ended(FileResult::End::Cancelled, "cancelled");
    if (!checksum) {
        m_errors.add("The file " + order.path + " cannot be read: " + error);
        return ended(FileResult::End::Later, error);
    }
    work.clip.source = {order.path, record.stamp, *checksum};
    record.checksum = *checksum;
    // Samples see no change between them, and other times can be put back.
    if (checksum->rfind(filetools::kWholeMethod, 0) != 0)
        record.checksum += '@' + std::to_string(record.stamp.changed);
    auto seen = m_clips.find(order.ownerId, order.path, record.checksum);
    if (seen && seen->state == ClipState::Failed && order.ownerKind == "job") {
        // Each run of a job tries everything that is not done; a crash may have kept it from saying so.
        m_clips.retry(order.ownerId, order.path);
        seen = m_clips.find(seen->id);
    }
    if (!seen)
        return std::nullopt;
    switch (seen->state) {
    case ClipState::Waiting:
    case ClipState::Acting:
        if (m_outputs.isPublished(seen->owner, seen->output))
            return finish(*seen, order.willEnd);
        seen->stamp = record.stamp;
        record = *seen;
        return std::nullopt;
    case ClipState::Publishing:
        return finish(*seen, order.willEnd);
    case ClipState::Rejected:
        m_clips.setStamp(seen->id, record.stamp);
        return ended(FileResult::End::Rejected, kRefusedBefore, record.stamp);
    default:
        m_clips.setStamp(seen->id, record.stamp);
        return ended(FileResult::End::Known, "it was worked on before", record.stamp);
    }
}

/// Brings work on an older content of the same path to an end.
void Pipeline::dropOthers(const Work& work)
{
    for (const auto& other : m_clips.open(work.record.owner, work.record.path)) {
        if (other.id == work.record.id)
            continue;
        if (other.state == ClipState::Publishing)
            finish(other, {});
        else
            drop(other);
    }
}

void Pipeline::drop(const ClipRecord& clip)
{
    if (!clip.scratch.empty())
        ::unlink(clip.scratch.c_str());
    if (!clip.output.empty())
        m_outputs.abandon(clip.owner, clip.output);
    m_clips.forget(clip.id);
}

/// Takes over what the finished actions of an earlier run made, unless it is no longer so.
void Pipeline::goOn(Work& work)
{
    ClipRecord& record = work.record;
    const bool linked = !record.linkedPath.empty();
    Clip made = work.clip;
    bool stands = record.profile == work.order.profile.id &&
                  record.done <= static_cast<int>(work.order.profile.activities.size()) &&
                  (record.made.empty() || clipmemory::read(record.made, made)) &&
                  (!linked || filetools::stampOf(record.linkedPath) == std::optional(record.linkedStamp));
    for (const auto& part : made.parts)
        stands = stands && filetools::stampOf(part.file.path) == std::optional(part.file.stamp);
    record.profile = work.order.profile.id;
    if (!record.scratch.empty())
        ::unlink(record.scratch.c_str());
    if (!stands) {
        record.done = 0;
        record.linkedPath.clear();
        record.made.clear();
        return;
    }
    work.clip = std::move(made);
    if (linked)
        work.clip.linked = {record.linkedPath, record.linkedStamp, record.linkedChecksum};
}

FileResult Pipeline::reject(const Work& work, const std::string& reason)
{
    m_clips.reject(work.record);
    const std::string start = ErrorStore::refusedStart(work.order.path);
    m_errors.removeStarting(start);
    m_errors.add(start + reason);
    return ended(FileResult::End::Rejected, reason, work.record.stamp);
}

FileResult Pipeline::interrupted(Work& work)
{
    if (work.order.staysCancelled && work.order.staysCancelled()) {
        m_clips.fail(work.record.id);
        return ended(FileResult::End::Cancelled, "cancelled", work.record.stamp);
    }
    if (work.record.done > 0)
        m_clips.wait(work.record.id);
    else
        drop(work.record);
    return ended(FileResult::End::Cancelled, "cancelled");
}

FileResult Pipeline::lookAgain(const Work& work, const std::string& reason)
{
    drop(work.record);
    return ended(FileResult::End::Later, reason);
}

FileResult Pipeline::fail(Work& work, const std::string& reason)
{
    const FileResult result = ended(FileResult::End::Failed, reason, work.record.stamp);
    // Who sees the failed job finds the reason in the list. A manual job speaks for all of its files.
    if (work.order.ownerKind == "folder")
        m_errors.add(reason);
    Transaction transaction(m_database);
    m_clips.fail(work.record.id);
    if (work.order.willEnd)
        work.order.willEnd(result);
    transaction.commit();
    return result;
}

std::optional<Refusal> Pipeline::runActivities(Work& work)
{
    const auto& activities = work.order.profile.activities;
    ClipRecord& record = work.record;
    if (!activities.empty() && work.order.willAct) {
        Transaction transaction(m_database);
        record.job = work.order.willAct(record.job);
        m_clips.setJob(record.id, record.job);
        transaction.commit();
    }
    for (auto i = static_cast<std::size_t>(record.done); i < activities.size() && !*work.order.cancel; ++i) {
        ActivityProgress progress;
        progress.willWrite = [&](const std::string& scratch) {
            record.scratch = scratch;
            m_clips.setScratch(record.id, scratch);
        };
        progress.percent = [&](int percent) {
            const auto all =
                static_cast<int>((i * 100 + static_cast<std::size_t>(percent)) / activities.size());
            if (work.order.progress)
                work.order.progress(all);
            if (work.order.activity)
                work.order.activity(activities[i].name.empty() ? activities[i].id : activities[i].name, all);
        };
        progress.percent(0);
        std::vector<CopiedClip> copied;
        progress.copied = [&](const std::string& folder, std::vector<HistoryEntry> files) {
            copied.push_back(copiedInto(folder, std::move(files)));
        };
        auto made =
            Activity::forId(activities[i].id).run(work.clip, activities[i], progress, work.order.cancel);
        if (!made)
            return made.refusal();
        work.clip = std::move(*made);
        record.done = static_cast<int>(i) + 1;
        record.scratch.clear();
        if (work.clip.linked.path != record.path) {
            record.linkedPath = work.clip.linked.path;
            record.linkedStamp = work.clip.linked.stamp;
            record.linkedChecksum = work.clip.linked.checksum;
        }
        record.made = clipmemory::write(work.clip);
        noteActed(record, copied);
    }
    return std::nullopt;
}

/// An action is finished, and what it copied waits for the histories: both or neither.
void Pipeline::noteActed(const ClipRecord& clip, const std::vector<CopiedClip>& copied)
{
    Transaction transaction(m_database);
    m_clips.acted(clip);
    for (const auto& each : copied)
        m_copied.add(each);
    transaction.commit();
}

OutputFacts Pipeline::factsOf(const Work& work)
{
    OutputFacts facts;
    facts.id = work.record.guid;
    facts.created = text::isoTime(text::now());
    facts.ownerKind = work.order.ownerKind;
    facts.ownerId = work.order.ownerId;
    facts.ownerPath = work.order.ownerPath;
    facts.clip = work.clip;
    facts.profile = work.order.profile;
    return facts;
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
    }
    return results;
}

FileResult Pipeline::publish(Work& work)
{
    const FileOrder& order = work.order;
    const ClipRecord& record = work.record;
    if (work.clip.linked.path == order.path && !work.source.isStillNamed())
        return lookAgain(work, "another file took its place while it was worked on");
    const FileFacts& linked = work.clip.linked;
    if (linked.path != order.path && filetools::stampOf(linked.path) != std::optional(linked.stamp))
        return lookAgain(work, "its copy went away while it was worked on");
    const auto reason = m_outputs.prepare(record.owner, record.output, outputdocument::write(factsOf(work)));
    if (!reason.empty()) {
        m_outputs.abandon(record.owner, record.output);
        m_errors.add("The output for " + order.path + " cannot be written: " + reason);
        m_clips.wait(record.id);
        return ended(FileResult::End::Later, reason);
    }
    if (!m_clips.publish(record.id)) {
        // The folder or the job was removed meanwhile.
        m_outputs.abandon(record.owner, record.output);
        return ended(FileResult::End::Later, {});
    }
    return finish(record, order.willEnd);
}

/// Gives the document of a clip its name, unless it has it (or had it and was taken), and notes it.
FileResult Pipeline::finish(const ClipRecord& clip, const std::function<void(const FileResult&)>& willEnd)
{
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

void Pipeline::prune(std::int64_t now, const CancelToken& cancel)
{
    std::int64_t last = 0;
    for (;;) {
        const auto clips = m_clips.finished(last, kAtOnce);
        for (const auto& clip : clips) {
            last = clip.id;
            const Whereabouts place = whereabouts(clip.path);
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
            if (!clip.scratch.empty())
                ::unlink(clip.scratch.c_str());
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

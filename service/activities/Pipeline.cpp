#include "activities/Pipeline.h"

#include "activities/Activity.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "files/HiddenFile.h"
#include "files/SourceFile.h"
#include "media/ClipFiles.h"
#include "media/ClipMemory.h"
#include "media/LinkRules.h"
#include "media/LinkSettings.h"
#include "media/MediaProbe.h"
#include "media/OutputDocument.h"

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

namespace krxservice {

namespace {

constexpr char kRefusedBefore[] = "it was not offered before either, and holds the same content";
constexpr char kRemoved[] = "its folder or job was removed";
constexpr char kSampled[] = "-sampled:"; ///< in the method of checksums that are made of samples

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

constexpr char kBetweenScratch = '\n'; ///< no path that is worked on has it

/// How far an action is, which is one of several perhaps.
std::string progressText(const std::string& name, int percent, std::size_t index, std::size_t count)
{
    std::string text = name + ": " + std::to_string(percent) + " %";
    if (count > 1)
        text += " (action " + std::to_string(index + 1) + " of " + std::to_string(count) + ')';
    return text;
}

/// What people call an action.
const std::string& nameOf(const ActivityRecipe& activity)
{
    return activity.name.empty() ? activity.id : activity.name;
}

} // namespace

/// One file on its way through the pipeline.
struct Pipeline::Work
{
    const FileOrder& order;
    const SourceFile& source;
    const LinkSettings& settings;
    const ClipFiles& files;
    ClipRecord record;
    Clip clip;
    std::vector<std::string> notes; ///< to be said of it when it is offered
};

Pipeline::Pipeline(Database& database, ClipStore& clips, ErrorStore& errors, OutputArea& outputs)
    : m_database(database)
    , m_clips(clips)
    , m_errors(errors)
    , m_outputs(outputs)
{
    m_times.load(database);
}

FileResult Pipeline::process(const FileOrder& order)
{
    const LinkSettings settings = LinkSettings::read(order.profile.settings);
    const ClipFiles files = clipfiles::of(order.path, order.ownerPath, settings.joinsAllPictures);
    if (files.path == order.path)
        return process(order, settings, files);
    // One of many pictures stands for all, and the first of them gives the clip its name.
    FileOrder whole = order;
    whole.path = files.path;
    whole.mayBeGrouped = false; // others may be on their way to the same clip
    return process(whole, settings, files);
}

FileResult Pipeline::process(const FileOrder& order, const LinkSettings& settings, const ClipFiles& files)
{
    const std::string guid = text::newGuid();
    log::AboutClip about(guid);
    // Opened once: all that follows is about this file, whatever happens to its name.
    const SourceFile source(order.path, order.ownerPath);
    if (source.isMissing())
        return ended(FileResult::End::Later, "the file is gone");
    if (!source.isOpen()) {
        m_errors.add("The file " + order.path + " cannot be read: " + source.error());
        return ended(FileResult::End::Later, source.error());
    }
    Work work{order, source, settings, files, {}, {}, {}};
    work.record.owner = order.ownerId;
    work.record.path = order.path;
    work.record.guid = guid;
    work.record.stamp = files.sequence ? files.stamp : source.stamp();
    if (!text::isPlainText(order.path))
        return reject(work, "its name cannot be written in a document");
    if (!settings.covers(text::baseName(order.path))) {
        const std::string reason = "the plug-in " + settings.pluginName + " does not take it";
        // The watcher names those of a folder, for as long as its profile is this one.
        return order.ownerKind == "job" ? reject(work, reason)
                                        : ended(FileResult::End::Rejected, reason, work.record.stamp);
    }
    if (const auto known = recognise(work))
        return *known;
    about.is(work.record.guid);
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
    if (!source.isUnchanged() || !source.isStillNamed() || !sequenceStands(work))
        return ended(FileResult::End::Later, "the file changed while it was read");
    if (probe.verdict == ProbeResult::Verdict::NotMedia)
        return reject(work, probe.text);
    work.clip.linked = work.clip.source;
    work.clip.media = probe.facts;
    if (order.ownerKind == "folder")
        work.clip.watched = order.ownerPath;
    work.clip.sequence = files.sequence;
    if (!addSidecars(work))
        return ended(FileResult::End::Later, "a file beside it changed while it was read");
    work.notes = linkrules::apply(settings, work.clip);
    goOn(work);
    if (order.mayBeGrouped && order.profile.activities.empty() && work.record.id == 0) {
        FileResult result = ended(FileResult::End::Ready, {}, work.record.stamp);
        result.ready = std::make_shared<ReadyClip>(ReadyClip{work.record, factsOf(work), work.notes});
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
    if (failure && failure->status == kWaitFor)
        return waitFor(work, failure->text);
    return failure ? fail(work, failure->text) : publish(work);
}

/// What tells the content of the file apart, by reading it; nothing with \a error set when it cannot be read.
std::optional<std::string> Pipeline::contentOf(const Work& work, const CancelToken& cancel,
                                               std::string& error)
{
    const FileStamp& stamp = work.record.stamp;
    return work.files.sequence
               ? clipfiles::fingerprint(*work.files.sequence, work.order.ownerPath, stamp.size, cancel, error)
               : filetools::fingerprint(work.source.get(), cancel, error);
}

/// The checksum by which a clip is known. Samples see no change between them, and other times can be put
/// back.
std::string Pipeline::knownBy(const std::string& checksum, const FileStamp& stamp)
{
    return checksum.find(kSampled) == std::string::npos ? checksum
                                                        : checksum + '@' + std::to_string(stamp.changed);
}

/// True when the first action reads all files of a clip and tells what they hold, so that nobody else has to.
bool Pipeline::isReadByActions(const FileOrder& order)
{
    const auto& activities = order.profile.activities;
    return !activities.empty() && Activity::forId(activities.front().id).learnsContent();
}

/// Fills in which content the file has. \return what is to be said when there is nothing to be done.
///
/// An action may read all of the file and tell its checksum. So when one of those is the first, and no clip
/// of this path is known that the content could be compared with, what stands for the checksum until then is
/// made of the file's stamp.
std::optional<FileResult> Pipeline::recognise(Work& work)
{
    const FileOrder& order = work.order;
    ClipRecord& record = work.record;
    const std::string provisional = ClipStore::provisionalChecksum(record.stamp);
    auto seen = m_clips.find(order.ownerId, order.path, provisional);
    const bool isUnread =
        isReadByActions(order) && (seen ? seen->done == 0 : !m_clips.knows(order.ownerId, order.path));
    std::string error;
    const auto checksum = isUnread ? std::optional(provisional) : contentOf(work, order.cancel, error);
    if (*order.cancel)
        return ended(FileResult::End::Cancelled, "cancelled");
    if (!checksum) {
        m_errors.add("The file " + order.path + " cannot be read: " + error);
        return ended(FileResult::End::Later, error);
    }
    work.clip.source = {order.path, record.stamp, *checksum};
    record.checksum = knownBy(*checksum, record.stamp);
    if (seen && !isUnread)
        m_clips.setChecksum(seen->id, record.checksum);
    seen = m_clips.find(order.ownerId, order.path, record.checksum);
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

/// True while each of several pictures is what it was when it was first looked at.
bool Pipeline::sequenceStands(const Work& work)
{
    if (!work.files.sequence)
        return true;
    const auto now = clipfiles::stampOf(*work.files.sequence, work.order.ownerPath);
    return now && now->isUntouched(work.files.stamp);
}

/// True while nothing at all happened to the file, or to the pictures, since it was first looked at.
bool Pipeline::stands(const Work& work)
{
    return work.source.isUnchanged() && work.source.isStillNamed() && sequenceStands(work);
}

/// True when its name leads to other content now than \a made says that was worked on: another file, or this
/// one written to. One that is gone may have been read before, but of pictures each has its turn.
bool Pipeline::isAnother(const Work& work, const Clip& made)
{
    const bool isSequence = work.files.sequence.has_value();
    const FileStamp& then = work.record.stamp;
    const auto now = isSequence ? clipfiles::stampOf(*work.files.sequence, work.order.ownerPath)
                                : filetools::stampOf(work.order.path);
    if (!now)
        return isSequence;
    if (then.isUntouched(*now))
        return false;
    if (*now != then || (!isSequence && now->inode != then.inode))
        return true;
    // Another mode, or another content whose time was put back. What was copied was compared already.
    const std::string& known = made.source.checksum;
    std::string error;
    return !ClipStore::isProvisional(known) &&
           (known.find(kSampled) != std::string::npos ||
            contentOf(work, work.order.cancel, error) != std::optional(known));
}

/// Fills in the files that go where the clip goes. False when one is in somebody's hands.
bool Pipeline::addSidecars(Work& work)
{
    for (const auto& path : work.files.sidecars) {
        const SourceFile file(path, work.order.ownerPath);
        if (file.isMissing())
            continue;
        if (file.isOpen() && isReadByActions(work.order)) {
            work.clip.sidecars.push_back({path, file.stamp(), {}});
            continue;
        }
        std::string error;
        const auto checksum =
            file.isOpen() ? filetools::checksum(file.get(), work.order.cancel, error) : std::nullopt;
        if (!checksum) {
            work.notes.push_back(text::baseName(path) +
                                 " beside it cannot be read: " + (file.isOpen() ? error : file.error()));
            continue;
        }
        if (!file.isUnchanged())
            return false;
        work.clip.sidecars.push_back({path, file.stamp(), *checksum});
    }
    return true;
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
    removeScratch(clip.scratch);
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
                  (record.made.empty() || clipmemory::read(record.made, made));
    if (linked)
        made.linked = {record.linkedPath, record.linkedStamp, record.linkedChecksum};
    stands = stands && (!linked || clipfiles::linkedStands(made));
    for (const auto& part : made.parts)
        stands = stands && filetools::stampOf(part.file.path) == std::optional(part.file.stamp);
    record.profile = work.order.profile.id;
    removeScratch(record.scratch);
    if (!stands) {
        record.done = 0;
        record.linkedPath.clear();
        record.made.clear();
        return;
    }
    // The same content may have been touched since.
    made.source.stamp = record.stamp;
    work.clip = std::move(made);
}

/// Of a clip whose work is over before it was copied: reads what it is, so that it is known again when it was
/// only touched. What cannot be read now, or changed meanwhile, keeps what stands for it.
void Pipeline::learnContent(Work& work)
{
    ClipRecord& record = work.record;
    std::string error;
    if (!ClipStore::isProvisional(record.checksum))
        return;
    const auto checksum = contentOf(work, work.order.cancel, error);
    if (!checksum || !work.source.isUnchanged() || !sequenceStands(work))
        return;
    record.checksum = knownBy(*checksum, record.stamp);
    if (record.id != 0)
        m_clips.setChecksum(record.id, record.checksum);
}

/// The name of the action that runs or comes next; empty after the last.
std::string Pipeline::presentActivity(const Work& work)
{
    const auto& activities = work.order.profile.activities;
    const auto done = static_cast<std::size_t>(work.record.done);
    return done < activities.size() ? nameOf(activities[done]) : std::string();
}

FileResult Pipeline::reject(Work& work, const std::string& reason)
{
    learnContent(work);
    m_clips.reject(work.record, reason);
    const std::string start = ErrorStore::refusedStart(work.order.path);
    m_errors.removeStarting(start);
    m_errors.add(start + reason);
    return ended(FileResult::End::Rejected, reason, work.record.stamp);
}

FileResult Pipeline::interrupted(Work& work)
{
    if (work.order.staysCancelled && work.order.staysCancelled()) {
        m_clips.fail(work.record.id, presentActivity(work), ClipStore::kCancelled);
        return ended(FileResult::End::Cancelled, "cancelled", work.record.stamp);
    }
    if (work.record.done > 0)
        m_clips.wait(work.record.id);
    else
        drop(work.record);
    return ended(FileResult::End::Cancelled, "cancelled");
}

FileResult Pipeline::waitFor(const Work& work, const std::string& what)
{
    FileResult result = ended(FileResult::End::Waiting, what);
    result.activity = presentActivity(work);
    m_clips.wait(work.record.id, result.activity);
    return result;
}

void Pipeline::removeScratch(const std::string& scratch)
{
    for (std::size_t begin = 0; begin < scratch.size();) {
        const std::size_t end = std::min(scratch.find(kBetweenScratch, begin), scratch.size());
        const std::string one = scratch.substr(begin, end - begin);
        if (!HiddenFile::removeNamed(one))
            filetools::removeScratch(one);
        begin = end + 1;
    }
}

FileResult Pipeline::lookAgain(const Work& work, const std::string& reason)
{
    drop(work.record);
    return ended(FileResult::End::Later, reason);
}

FileResult Pipeline::fail(Work& work, const std::string& reason)
{
    learnContent(work);
    FileResult result = ended(FileResult::End::Failed, reason, work.record.stamp);
    result.activity = presentActivity(work);
    // Who sees the failed job finds the reason in the list. A manual job speaks for all of its files.
    if (work.order.ownerKind == "folder")
        m_errors.add(reason);
    Transaction transaction(m_database);
    m_clips.fail(work.record.id, result.activity, reason);
    if (work.order.willEnd)
        work.order.willEnd(result);
    transaction.commit();
    return result;
}

/// Brings up to date what is known of a clip of which an action made other media.
void Pipeline::lookAtResult(const Clip& before, Clip& made, const CancelToken& cancel)
{
    if (made.sequence && sequence::path(*made.sequence, made.sequence->firstNumber) != made.linked.path)
        made.sequence.reset();
    if (made.sequence || made.linked.path == before.linked.path ||
        made.linked.checksum == before.linked.checksum)
        return;
    const ProbeResult probe = MediaProbe::probe(made.linked.path, cancel);
    if (probe.verdict != ProbeResult::Verdict::Media)
        return;
    made.media = probe.facts;
    for (const auto& part : made.parts) {
        if (part.file.path == made.linked.path)
            continue;
        // Its streams are the clip's as well, numbered on.
        for (auto& stream : MediaProbe::probe(part.file.path, cancel).facts.streams) {
            stream.index = static_cast<int>(made.media.streams.size());
            made.media.streams.push_back(stream);
        }
    }
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
            // Those that are there still are being written, too.
            const bool isOneMore =
                !record.scratch.empty() && (scratch.front() != '/' || filetools::stampOf(record.scratch));
            record.scratch = isOneMore ? record.scratch + kBetweenScratch + scratch : scratch;
            m_clips.setScratch(record.id, record.scratch);
        };
        progress.percent = [&](int percent) {
            const auto all =
                static_cast<int>((i * 100 + static_cast<std::size_t>(percent)) / activities.size());
            if (work.order.progress)
                work.order.progress(all);
            if (work.order.activity)
                work.order.activity(nameOf(activities[i]), all,
                                    progressText(nameOf(activities[i]), percent, i, activities.size()));
        };
        progress.percent(0);
        std::vector<CopiedClip> copied;
        progress.copied = [&](const std::string& folder, std::vector<HistoryEntry> files) {
            copied.push_back(copiedInto(folder, std::move(files)));
        };
        const std::int64_t bytes = work.clip.linked.stamp.size;
        const auto begun = std::chrono::steady_clock::now();
        auto made =
            Activity::forId(activities[i].id).run(work.clip, activities[i], progress, work.order.cancel);
        // What is said or made of a file that became another one meanwhile is about neither.
        const bool isWaiting = !made && made.refusal().status == kWaitFor;
        if (!isWaiting && work.clip.linked.path == record.path &&
            (made ? isAnother(work, *made) : !stands(work)))
            return Refusal{kLookAgain, record.path + " changed while it was worked on"};
        if (!made)
            return made.refusal();
        m_times.note(activities[i].id, bytes,
                     std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count());
        lookAtResult(work.clip, *made, work.order.cancel);
        work.clip = std::move(*made);
        record.done = static_cast<int>(i) + 1;
        record.scratch.clear();
        if (work.clip.linked.path != record.path) {
            record.linkedPath = work.clip.linked.path;
            record.linkedStamp = work.clip.linked.stamp;
            record.linkedChecksum = work.clip.linked.checksum;
        }
        record.made = clipmemory::write(work.clip);
        noteContent(work);
        noteActed(record, copied);
    }
    return std::nullopt;
}

/// The first copy told what the file holds.
void Pipeline::noteContent(Work& work)
{
    ClipRecord& record = work.record;
    if (!ClipStore::isProvisional(record.checksum))
        return;
    if (record.stamp.size > filetools::kLargestReadWhole)
        learnContent(work); // the next look at it does not read all of it
    else if (!ClipStore::isProvisional(work.clip.source.checksum))
        record.checksum = work.clip.source.checksum;
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
    linkrules::refresh(work.settings, facts.clip);
    facts.profile = work.order.profile;
    return facts;
}

FileResult Pipeline::publish(Work& work)
{
    const FileOrder& order = work.order;
    const ClipRecord& record = work.record;
    if (work.clip.linked.path == order.path && !work.source.isStillNamed())
        return lookAgain(work, "another file took its place while it was worked on");
    if (work.clip.linked.path != order.path && !clipfiles::linkedStands(work.clip))
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
    FileResult result = finish(record, order.willEnd);
    if (result.end == FileResult::End::Offered)
        say(record.path, work.notes);
    for (const auto& activity : work.clip.activities)
        result.notes.insert(result.notes.end(), activity.notes.begin(), activity.notes.end());
    return result;
}

} // namespace krxservice

#include "activities/Pipeline.h"

#include "activities/Activity.h"
#include "base/FileTools.h"
#include "base/Log.h"
#include "base/SourceFile.h"
#include "base/Text.h"
#include "media/MediaProbe.h"

#include <unistd.h>

namespace krxservice {

namespace {

FileResult ended(FileResult::End end, const std::string& text,
                 const std::optional<FileStamp>& stamp = std::nullopt)
{
    return {end, text, stamp};
}

} // namespace

/// One file on its way through the pipeline.
struct Pipeline::Work
{
    const FileOrder& order;
    const SourceFile& source;
    FileRecord record;
    Clip clip;
};

Pipeline::Pipeline(Database& database, FileStore& files, ErrorStore& errors, OutputArea& outputs)
    : m_database(database)
    , m_files(files)
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
    const std::optional<FileStamp> stamp = source.stamp();
    Work work{order, source, {}, {}};
    work.record.owner = order.ownerId;
    work.record.path = order.path;
    work.record.stamp = *stamp;
    if (!text::isPlainText(order.path))
        return reject(work, "its name cannot be written in a document");

    std::string error;
    const auto checksum = filetools::fingerprint(source.get(), order.cancel, error);
    if (*order.cancel)
        return ended(FileResult::End::Cancelled, "cancelled");
    if (!checksum) {
        m_errors.add("The file " + order.path + " cannot be read: " + error);
        return ended(FileResult::End::Later, error);
    }
    work.record.checksum = *checksum;
    if (const auto done = m_files.findDone(order.ownerId, order.path, *checksum)) {
        m_files.setStamp(done->id, *stamp);
        return ended(FileResult::End::Known, "it was worked on before", stamp);
    }

    const ProbeResult probe = MediaProbe::probe(source, order.cancel);
    if (*order.cancel)
        return ended(FileResult::End::Cancelled, "cancelled");
    if (probe.verdict == ProbeResult::Verdict::Unavailable) {
        m_errors.add("Files cannot be looked into: " + probe.text);
        return ended(FileResult::End::Later, probe.text);
    }
    if (!source.isUnchanged() || !source.isStillNamed())
        return ended(FileResult::End::Later, "the file changed while it was read");
    if (probe.verdict == ProbeResult::Verdict::NotMedia)
        return reject(work, probe.text);
    work.clip.source = {order.path, *stamp, *checksum};
    work.clip.linked = work.clip.source;
    work.clip.media = probe.facts;
    if (order.ownerKind == "folder")
        work.clip.watched = order.ownerPath;
    work.record.id = m_files.take(work.record);

    const auto failure = runActivities(work);
    if (*order.cancel) {
        const bool stays = order.staysCancelled && order.staysCancelled();
        if (stays)
            m_files.move(work.record.id, FileState::Taken, FileState::Failed);
        else
            m_files.remove(work.record.id);
        return ended(FileResult::End::Cancelled, "cancelled", stays ? stamp : std::nullopt);
    }
    if (failure && failure->status == kLookAgain) {
        m_files.remove(work.record.id);
        return ended(FileResult::End::Later, failure->text);
    }
    if (failure) {
        m_files.move(work.record.id, FileState::Taken, FileState::Failed);
        return ended(FileResult::End::Failed, failure->text, stamp);
    }
    return publish(work);
}

FileResult Pipeline::reject(const Work& work, const std::string& reason)
{
    m_errors.add("The file " + work.order.path + " is not offered: " + reason);
    const auto id = m_files.take(work.record);
    m_files.move(id, FileState::Taken, FileState::Rejected);
    return ended(FileResult::End::Rejected, reason, work.record.stamp);
}

std::optional<Refusal> Pipeline::runActivities(Work& work)
{
    const auto& activities = work.order.profile.activities;
    if (!activities.empty() && work.order.willAct)
        work.order.willAct();
    for (std::size_t i = 0; i < activities.size() && !*work.order.cancel; ++i) {
        ActivityProgress progress;
        progress.willWrite = [&](const std::string& scratch) { m_files.setScratch(work.record.id, scratch); };
        progress.percent = [&](int percent) {
            if (work.order.progress)
                work.order.progress(
                    static_cast<int>((i * 100 + static_cast<std::size_t>(percent)) / activities.size()));
        };
        auto made =
            Activity::forId(activities[i].id).run(work.clip, activities[i], progress, work.order.cancel);
        if (!made)
            return made.refusal();
        work.clip = std::move(*made);
    }
    return std::nullopt;
}

FileResult Pipeline::publish(Work& work)
{
    const FileOrder& order = work.order;
    if (work.clip.linked.path == order.path && !work.source.isStillNamed()) {
        m_files.remove(work.record.id);
        return ended(FileResult::End::Later, "another file took its place while it was worked on");
    }
    OutputFacts facts;
    facts.id = text::newGuid();
    facts.created = text::isoTime(text::now());
    facts.ownerKind = order.ownerKind;
    facts.ownerId = order.ownerId;
    facts.ownerPath = order.ownerPath;
    facts.clip = work.clip;
    facts.profile = order.profile;
    const std::string name = OutputArea::fileName(work.record.id, order.path);
    std::string reason = m_outputs.prepare(order.ownerId, name, outputdocument::write(facts));
    // The lock keeps a removal of the folder or the job from coming between the record and the file.
    const auto lock = m_database.lock();
    if (m_files.findDone(order.ownerId, order.path, work.record.checksum)) {
        // Work that was interrupted and begun anew may come here twice.
        m_outputs.abandon(order.ownerId, name);
        m_files.remove(work.record.id);
        return ended(FileResult::End::Known, "it was worked on before", work.record.stamp);
    }
    if (!reason.empty() || !m_files.move(work.record.id, FileState::Taken, FileState::Publishing, name)) {
        m_outputs.abandon(order.ownerId, name);
        m_files.remove(work.record.id);
        if (!reason.empty())
            m_errors.add("The output for " + order.path + " cannot be written: " + reason);
        return ended(FileResult::End::Later, reason);
    }
    reason = m_outputs.publish(order.ownerId, name);
    if (!reason.empty())
        m_errors.add("The output for " + order.path + " cannot be written: " + reason);
    m_files.move(work.record.id, FileState::Publishing, FileState::Offered);
    log::info("offered " + order.path + " as " + m_outputs.path(order.ownerId, name));
    return ended(FileResult::End::Offered, {}, work.record.stamp);
}

void Pipeline::recover()
{
    const auto lock = m_database.lock();
    m_outputs.removeUnless(
        [this](const std::string& owner, std::int64_t id) { return m_files.exists(owner, id); });
    for (const auto& file : m_files.inState(FileState::Publishing)) {
        if (m_outputs.isPrepared(file.owner, file.output)) {
            if (const auto reason = m_outputs.publish(file.owner, file.output); !reason.empty()) {
                m_errors.add("The output for " + file.path + " cannot be written: " + reason);
                continue;
            }
        }
        m_files.move(file.id, FileState::Publishing, FileState::Offered);
    }
    for (const auto& file : m_files.inState(FileState::Taken)) {
        if (!file.scratch.empty())
            ::unlink(file.scratch.c_str());
        m_outputs.abandon(file.owner, OutputArea::fileName(file.id, file.path));
        m_files.remove(file.id);
    }
}

} // namespace krxservice

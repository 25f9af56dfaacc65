#pragma once

#include "PipelineBench.h"

#include "engines/Ffmpeg.h"
#include "queue/Worker.h"
#include "store/JobStore.h"
#include "store/ProfileStore.h"

#include <QProcess>
#include <QTest>

#include <condition_variable>
#include <mutex>
#include <set>

/// Two short sounds, for workers to work on.
class QueueMedia
{
public:
    QTemporaryDir folder;
    std::string one = folder.filePath(QStringLiteral("one.wav")).toStdString();
    std::string two = folder.filePath(QStringLiteral("two.wav")).toStdString();

    /// False when they cannot be made.
    bool make() const
    {
        for (const auto& file : {one, two}) {
            if (QProcess::execute(QStringLiteral("ffmpeg"),
                                  {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-f"),
                                   QStringLiteral("lavfi"), QStringLiteral("-i"),
                                   QStringLiteral("sine=d=0.1"), QString::fromStdString(file)}) != 0)
                return false;
        }
        return true;
    }
};

/// A worker on two threads whose ends of work can be held up.
struct QueueLine : PipelineBench
{
    JobStore jobs{database};
    ProfileStore profiles{database};
    std::mutex mutex;
    std::condition_variable changed;
    std::set<std::string> held;                      ///< files at whose end the thread waits
    std::vector<std::pair<std::string, bool>> ended; ///< path, and whether its work is done
    ChangeBoard board;
    ClipBook book{database, board};
    Worker worker{{folders, profiles, jobs, errors, book},
                  pipeline,
                  [this](const std::string&, const std::string& path, const std::optional<FileStamp>& stamp) {
                      fileDone(path, stamp.has_value());
                  }};

    explicit QueueLine(const QString& watched, const std::vector<ActivityRecipe>& copies = {})
    {
        std::string activities;
        for (const auto& copy : copies)
            activities += !copy.element.empty()
                              ? copy.element
                              : "<activity id=\"copy\"><destinationDetail><filesystemPath>" +
                                    copy.destination + "</filesystemPath></destinationDetail></activity>";
        profiles.create({"p", "P",
                         "<profile><processDefinition><package><activities>" + activities +
                             "</activities></package></processDefinition></profile>"});
        watch(watched);
        worker.start(2);
    }
    ~QueueLine()
    {
        release();
        worker.stop();
    }
    void watch(const QString& directory)
    {
        FolderRecord record = *folders.find("f000001");
        record.path = record.canonical = directory.toStdString();
        record.profile = "p";
        record.enabled = true;
        folders.update(record);
    }
    /// Makes a manual job of \a directory. \return its id.
    std::string submit(const QString& directory)
    {
        JobRecord job;
        job.manual = true;
        job.path = directory.toStdString();
        job.profile = "p";
        job.state = jobstate::kSubmitted;
        return jobs.create(job);
    }
    void fileDone(const std::string& path, bool isDone)
    {
        std::unique_lock lock(mutex);
        ended.emplace_back(path, isDone);
        changed.notify_all();
        changed.wait(lock, [&] { return held.count(path) == 0; });
    }
    void release()
    {
        const std::lock_guard lock(mutex);
        held.clear();
        changed.notify_all();
    }
    /// The job for a file, whatever its state.
    std::optional<JobRecord> jobOf(const std::string& path)
    {
        for (const auto& job : jobs.list(false)) {
            if (job.path == path)
                return job;
        }
        return std::nullopt;
    }
    /// What is told of a file.
    ClipNews newsOf(const std::string& path)
    {
        for (const auto& clip : book.list({}).clips) {
            if (clip.path == path)
                return clip.news;
        }
        return {ClipStage::Gone, "nothing"};
    }
    bool waitForEnds(std::size_t count)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, std::chrono::seconds(30), [&] { return ended.size() >= count; });
    }
};

#include "store/JobStore.h"

#include <algorithm>
#include <cstdio>

namespace krxservice {

namespace {

constexpr char kColumns[] =
    "SELECT id, manual, path, profile, group_id, group_name, state, percent, message, activity FROM jobs ";

} // namespace

void JobStore::read(const Statement& row, std::vector<JobRecord>& jobs)
{
    JobRecord job;
    job.id = row.text(0);
    job.manual = row.number(1) != 0;
    job.path = row.text(2);
    job.profile = row.text(3);
    job.groupId = row.text(4);
    job.groupName = row.text(5);
    job.state = row.text(6);
    job.percent = static_cast<int>(row.number(7));
    job.message = row.text(8);
    job.activity = row.text(9);
    const auto live = m_live.find(job.id);
    if (live != m_live.end() && job.state == jobstate::kRunning) {
        job.percent = live->second.percent;
        job.activity = live->second.activity;
    }
    jobs.push_back(std::move(job));
}

std::vector<JobRecord> JobStore::list(bool onlyManual)
{
    const auto lock = m_database.lock();
    std::vector<JobRecord> jobs;
    Statement rows =
        m_database.prepare(std::string(kColumns) + (onlyManual ? "WHERE manual=1 " : "") + "ORDER BY seq");
    while (rows.step())
        read(rows, jobs);
    return jobs;
}

std::optional<JobRecord> JobStore::find(const std::string& id)
{
    const auto lock = m_database.lock();
    std::vector<JobRecord> jobs;
    Statement row = m_database.prepare(std::string(kColumns) + "WHERE id=?");
    row.bind(id);
    if (!row.step())
        return std::nullopt;
    read(row, jobs);
    return jobs.front();
}

std::string JobStore::create(const JobRecord& job)
{
    return createAll({job}).front();
}

std::vector<std::string> JobStore::createAll(const std::vector<JobRecord>& jobs)
{
    Transaction transaction(m_database);
    std::vector<std::string> ids;
    for (const auto& job : jobs) {
        m_database
            .prepare(
                "INSERT INTO jobs(id, manual, path, profile, group_id, group_name, state) VALUES('', ?, ?, "
                "?, ?, ?, ?)")
            .bind(std::int64_t(job.manual))
            .bind(job.path)
            .bind(job.profile)
            .bind(job.groupId)
            .bind(job.groupName)
            .bind(job.state)
            .run();
        const auto sequence = m_database.lastRowId();
        char id[32];
        std::snprintf(id, sizeof id, "j%06lld", static_cast<long long>(sequence));
        m_database.prepare("UPDATE jobs SET id=? WHERE seq=?").bind(id).bind(sequence).run();
        ids.emplace_back(id);
        if (sequence % kForgettingEvery == 0)
            forgetOldFailures();
    }
    transaction.commit();
    return ids;
}

void JobStore::forgetOldFailures()
{
    m_database
        .prepare("DELETE FROM jobs WHERE seq IN (SELECT seq FROM jobs WHERE manual=0 AND state=? "
                 "ORDER BY seq DESC LIMIT -1 OFFSET ?)")
        .bind(jobstate::kFailed)
        .bind(std::int64_t(kMostFolderJobs))
        .run();
}

bool JobStore::move(const std::string& id, const std::vector<std::string>& from, const std::string& to,
                    const std::string& message)
{
    Transaction transaction(m_database);
    const auto job = find(id);
    if (!job || std::find(from.begin(), from.end(), job->state) == from.end())
        return false;
    m_live.erase(id);
    const bool isNamed = to != jobstate::kCompleted && to != jobstate::kRunning;
    m_database.prepare("UPDATE jobs SET state=?, percent=?, message=?, activity=? WHERE id=?")
        .bind(to)
        .bind(std::int64_t(to == jobstate::kCompleted ? 100 : 0))
        .bind(message)
        .bind(isNamed ? job->activity : std::string())
        .bind(id)
        .run();
    transaction.commit();
    return true;
}

void JobStore::setPercent(const std::string& id, int percent)
{
    const auto lock = m_database.lock();
    m_live[id].percent = percent;
}

void JobStore::setActivity(const std::string& id, const std::string& name)
{
    const auto lock = m_database.lock();
    m_live[id].activity = name;
}

bool JobStore::remove(const std::string& id)
{
    const auto lock = m_database.lock();
    m_live.erase(id);
    m_database.prepare("DELETE FROM jobs WHERE id=?").bind(id).run();
    return m_database.changes() > 0;
}

void JobStore::removeOfFolder(const std::string& folderId)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM jobs WHERE manual=0 AND group_id=?").bind(folderId).run();
}

void JobStore::recover()
{
    Transaction transaction(m_database);
    m_database.prepare("UPDATE jobs SET state=? WHERE manual=1 AND state=?")
        .bind(jobstate::kSubmitted)
        .bind(jobstate::kRunning)
        .run();
    m_database.prepare("DELETE FROM jobs WHERE manual=0 AND state IN (?, ?)")
        .bind(jobstate::kSubmitted)
        .bind(jobstate::kRunning)
        .run();
    transaction.commit();
}

} // namespace krxservice

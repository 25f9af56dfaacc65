#include "client/WorkCommands.h"

#include "base/Text.h"
#include "client/Commands.h"
#include "client/Output.h"
#include "client/ServiceClient.h"
#include "documents/XmlTools.h"
#include "store/Records.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>

namespace krxservice::commands {

namespace {

constexpr int kWrongUsage = 2;

struct Job
{
    std::string id;
    std::string state;
    int percent = 0;
    std::string path;
    std::string group;
    std::string activity;
    std::string message;
};

Outcome<std::vector<Job>> jobsOf(ServiceClient& client, bool onlyManual)
{
    const std::string which = onlyManual ? "?kind=manual&filter=true" : "";
    const auto states = client.askXml("GET", "jobs/status" + which);
    if (!states)
        return states.refusal();
    const auto details = client.askXml("GET", "jobs/detail" + which);
    if (!details)
        return details.refusal();
    std::map<std::string, pugi::xml_node> infos;
    for (const auto& info : details->document_element().children("jobInfo"))
        infos[info.child_value("id")] = info;
    std::vector<Job> jobs;
    for (const auto& status : states->document_element().children("jobStatus")) {
        const std::string id = status.child_value("id");
        const auto info = infos[id];
        jobs.push_back({id, status.child_value("state"), status.child("percentComplete").text().as_int(),
                        xmltools::textOf(info.child("path")), xmltools::textOf(info.child("groupName")),
                        xmltools::textOf(status.child("activity")),
                        xmltools::textOf(status.child("message"))});
    }
    return jobs;
}

/// True for what may stand in a URL as it is.
bool isPlain(const std::string& value)
{
    return !value.empty() && std::all_of(value.begin(), value.end(), [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) || c == ',' || c == '-';
    });
}

/// The id of the folder that a person calls by its id or its path.
Outcome<std::string> folderCalled(ServiceClient& client, const std::string& name)
{
    if (name.empty() || name.front() != '/')
        return name;
    const auto folders = client.askXml("GET", "xelmediafolders?level=detail");
    if (!folders)
        return folders.refusal();
    for (const auto& folder : folders->document_element().children("xelMediaFolder")) {
        if (xmltools::textOf(folder.child("path")) == name)
            return std::string(folder.attribute("id").value());
    }
    return Refusal{404, "no folder watches " + name};
}

/// What follows "clips" in the request.
Outcome<std::string> clipQuery(ServiceClient& client, const Options& options)
{
    std::string query;
    for (const char* key : {"folder", "job", "state", "offset", "limit"}) {
        auto value = options.value(key);
        if (!value)
            continue;
        if (std::string(key) == "folder") {
            const auto id = folderCalled(client, *value);
            if (!id)
                return id.refusal();
            value = *id;
        }
        if (!isPlain(*value))
            return Refusal{400, "\"" + *value + "\" is no value for the option --" + key};
        query += (query.empty() ? "?" : "&") + std::string(key) + '=' + *value;
    }
    return query;
}

std::string percentOf(const pugi::xml_node& clip)
{
    const std::string percent = clip.child_value("percentComplete");
    return percent.empty() ? "" : percent + " %";
}

/// What a state can be changed from.
bool fits(const std::string& state, const std::string& wish)
{
    return wish == jobstate::kCancelled ? !jobstate::isFinal(state)
                                        : state == jobstate::kFailed || state == jobstate::kCancelled;
}

/// Sets jobs to \a wish: those that are named, or with --all each that it fits.
int change(const Options& options, const std::string& wish)
{
    ServiceClient client(options);
    std::vector<std::string> ids = options.operands;
    if (options.wants("all") != ids.empty()) {
        output::refuse("name jobs, or give --all");
        return kWrongUsage;
    }
    if (ids.empty()) {
        const auto jobs = jobsOf(client, false);
        if (!jobs)
            return output::refuse(jobs.refusal());
        for (const auto& job : *jobs) {
            // What was called off on purpose is begun again by its name only.
            if (fits(job.state, wish) && job.state != jobstate::kCancelled)
                ids.push_back(job.id);
        }
    }
    const std::string body =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<jobStatus><state>" + wish + "</state></jobStatus>";
    std::vector<std::vector<std::string>> rows;
    QJsonArray array;
    int code = kDone;
    for (const auto& id : ids) {
        const auto changed = text::isLegalId(id)
                                 ? client.ask("PUT", "jobs/" + id, body)
                                 : Outcome<std::string>(Refusal{400, "this is no id of the service"});
        if (!changed && changed.refusal().status < 400)
            return output::refuse(changed.refusal());
        const std::string result = changed ? wish : changed.refusal().text;
        code = changed ? code : kFailure;
        rows.push_back({id, result});
        array.append(QJsonObject{{QStringLiteral("id"), output::json(id)},
                                 {QStringLiteral("done"), static_cast<bool>(changed)},
                                 {QStringLiteral("result"), output::json(result)}});
    }
    if (options.wants("json"))
        output::print(array);
    else
        output::print(output::table(rows));
    return code;
}

} // namespace

int jobs(const Options& options)
{
    ServiceClient client(options);
    const auto all = jobsOf(client, options.wants("manual"));
    if (!all)
        return output::refuse(all.refusal());
    std::vector<std::vector<std::string>> rows{
        {"JOB", "STATE", "ACTION", "DONE", "FOLDER", "PATH", "REASON"}};
    QJsonArray array;
    for (const auto& job : *all) {
        rows.push_back({job.id, job.state, job.activity, std::to_string(job.percent) + " %", job.group,
                        job.path, job.message});
        array.append(QJsonObject{{QStringLiteral("id"), output::json(job.id)},
                                 {QStringLiteral("state"), output::json(job.state)},
                                 {QStringLiteral("percentComplete"), job.percent},
                                 {QStringLiteral("path"), output::json(job.path)},
                                 {QStringLiteral("groupName"), output::json(job.group)},
                                 {QStringLiteral("activity"), output::json(job.activity)},
                                 {QStringLiteral("message"), output::json(job.message)}});
    }
    if (options.wants("json"))
        output::print(array);
    else
        output::print(output::table(rows));
    return kDone;
}

int clips(const Options& options)
{
    ServiceClient client(options);
    const auto query = clipQuery(client, options);
    if (!query)
        return output::refuse(query.refusal());
    const auto answer = client.askXml("GET", "clips" + *query);
    if (!answer)
        return output::refuse(answer.refusal());
    const auto list = answer->document_element();
    std::vector<std::vector<std::string>> rows{{"CLIP", "OF", "STATE", "ACTION", "DONE", "SINCE", "REASON"}};
    QJsonArray array;
    for (const auto& clip : list.children("clip")) {
        const auto owner = clip.child("folderId") ? clip.child("folderId") : clip.child("jobId");
        rows.push_back({xmltools::textOf(clip.child("name")), owner.child_value(), clip.child_value("state"),
                        xmltools::textOf(clip.child("activity")), percentOf(clip), clip.child_value("since"),
                        xmltools::textOf(clip.child("reason"))});
        QJsonObject object;
        for (const auto& field : clip.children()) {
            const std::string value = xmltools::textOf(field);
            const std::string name = field.name();
            const bool isNumber = name == "percentComplete" || name == "settlesIn" || name == "took";
            object[QString::fromUtf8(field.name())] =
                isNumber ? QJsonValue(QString::fromStdString(value).toDouble()) : output::json(value);
        }
        array.append(object);
    }
    if (options.wants("json")) {
        output::print(
            QJsonObject{{QStringLiteral("total"), list.attribute("total").as_int()},
                        {QStringLiteral("version"), output::json(list.attribute("version").value())},
                        {QStringLiteral("clips"), array}});
        return kDone;
    }
    const std::size_t shown = rows.size() - 1;
    output::print(output::table(rows) + std::to_string(shown) + " of " + list.attribute("total").value() +
                  " clips\n");
    return kDone;
}

int errors(const Options& options)
{
    ServiceClient client(options);
    const auto answer = client.askXml("GET", options.wants("clear") ? "errors?clear=true" : "errors");
    if (!answer)
        return output::refuse(answer.refusal());
    std::vector<std::vector<std::string>> rows;
    QJsonArray array;
    for (const auto& error : answer->document_element().children("errorMessage")) {
        rows.push_back({xmltools::textOf(error)});
        array.append(output::json(xmltools::textOf(error)));
    }
    if (options.wants("json"))
        output::print(array);
    else
        output::print(output::table(rows));
    return kDone;
}

int retry(const Options& options)
{
    return change(options, jobstate::kSubmitted);
}

int cancel(const Options& options)
{
    return change(options, jobstate::kCancelled);
}

} // namespace krxservice::commands

#include "client/Status.h"

#include "base/Text.h"
#include "client/Commands.h"
#include "client/Output.h"
#include "documents/XmlTools.h"
#include "store/Records.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace krxservice {

namespace {

constexpr long long kNanoseconds = 1000000000LL;

std::string counted(std::size_t count, const char* what)
{
    return std::to_string(count) + ' ' + what;
}

/// How many of \a elements have \a child with the text \a value.
std::size_t count(const pugi::xml_node& root, const char* element, const char* child, std::string_view value)
{
    const auto all = root.children(element);
    return static_cast<std::size_t>(std::count_if(all.begin(), all.end(), [&](const pugi::xml_node& node) {
        return std::string_view(node.child_value(child)) == value;
    }));
}

std::size_t count(const pugi::xml_node& root, const char* element)
{
    const auto all = root.children(element);
    return static_cast<std::size_t>(std::distance(all.begin(), all.end()));
}

std::string texts(const pugi::xml_node& root, const char* element)
{
    std::string result;
    for (const auto& node : root.children(element))
        result += (result.empty() ? "" : "\n") + text::oneLine(node.child_value());
    return result;
}

/// How many clips there are, by what they wait for.
std::string clipsOf(ServiceClient& client)
{
    struct Group
    {
        const char* states;
        const char* name;
    };
    constexpr Group groups[] = {{"FOUND,GROWING,OPEN,SETTLING", "not finished"},
                                {"WAITING", "waiting"},
                                {"ACTING,PUBLISHING", "worked on"},
                                {"OFFERED", "ready"},
                                {"FAILED", "failed"}};
    std::string result;
    for (const Group& group : groups) {
        const auto list = client.askXml("GET", std::string("clips?limit=1&state=") + group.states);
        if (!list)
            return "not known: " + list.refusal().text;
        result += (result.empty() ? "" : ", ") +
                  std::string(list->document_element().attribute("total").value()) + ' ' + group.name;
    }
    return result;
}

} // namespace

Outcome<Status> Status::of(ServiceClient& client)
{
    const auto version = client.askXml("GET", "version");
    if (!version)
        return version.refusal();
    const auto program = version->child("serviceVersion");
    if (!program)
        return Refusal{ServiceClient::kSilent, "what listens on " + client.place() + " is no krx-service"};
    const auto folders = client.askXml("GET", "xelmediafolders?level=detail");
    if (!folders)
        return folders.refusal();
    const auto jobs = client.askXml("GET", "jobs/status");
    if (!jobs)
        return jobs.refusal();
    const auto activity = client.askXml("GET", "activity");
    if (!activity)
        return activity.refusal();

    Status status;
    status.version = program.child_value("version");
    const auto add = [&status](const char* name, std::string value) {
        status.rows.emplace_back(name, std::move(value));
    };
    const long long uptime = program.child("uptime").text().as_llong();
    add("version", status.version + ", protocol " + program.child_value("protocol"));
    add("user", userName(client.owner()));
    add("process", program.child_value("process"));
    add("listens on", texts(program, "listens"));
    add("data", program.child_value("data"));
    add("since", text::isoTime(text::now() - uptime * kNanoseconds).substr(0, 19) + "Z (" +
                     output::duration(uptime) + ')');
    const auto list = folders->first_child();
    add("folders", counted(count(list, "xelMediaFolder"), "watched, ") +
                       counted(count(list, "xelMediaFolder", "enabled", "true"), "enabled, ") +
                       counted(count(activity->first_child(), "outputReadyFolder"), "with clips to take"));
    const auto states = jobs->first_child();
    const auto inState = [&](const char* state) { return count(states, "jobStatus", "state", state); };
    add("doing", std::string_view(activity->first_child().child_value("status")) == "StatusActive"
                     ? "working"
                     : "nothing");
    add("clips", clipsOf(client));
    add("jobs", counted(inState(jobstate::kRunning), "running, ") +
                    counted(inState(jobstate::kSubmitted), "waiting, ") +
                    counted(inState(jobstate::kFailed), "failed"));
    const std::size_t errors = count(activity->first_child(), "errorMessage");
    add("errors",
        std::to_string(errors) + (errors > 0 ? '\n' + texts(activity->first_child(), "errorMessage") : ""));
    const auto refusals = program.child("refusals");
    add("refused", std::string(refusals.child_value("strangers")) + " connections of other users, " +
                       refusals.child_value("unknown") + " of nobody knows whom, " +
                       refusals.child_value("requests") + " requests; " + refusals.child_value("pushedOut") +
                       " connections made room");
    const auto limits = program.child("limits");
    add("limits", std::string(limits.child_value("connections")) + " connections, heads of " +
                      limits.child_value("head") + " and bodies of " + limits.child_value("body") + " bytes");
    add("log", std::string(program.child_value("droppedLogLines")) + " lines dropped");
    return status;
}

int commands::status(const Options& options)
{
    ServiceClient client(options);
    const auto status = Status::of(client);
    if (options.wants("json")) {
        QJsonObject object{{QStringLiteral("running"), static_cast<bool>(status)}};
        if (!status)
            object[QStringLiteral("reason")] = output::json(status.refusal().text);
        for (const auto& [name, value] : status ? status->rows : decltype(status->rows)())
            object[output::key(name)] = output::json(value);
        output::print(object);
        return status ? kDone : output::exitCode(status.refusal());
    }
    if (!status)
        return output::refuse({status.refusal().status, "not running: " + status.refusal().text});
    std::vector<std::vector<std::string>> rows;
    for (const auto& [name, value] : status->rows) {
        std::size_t begin = 0;
        for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
            end = value.find('\n', begin);
            rows.push_back({begin == 0 ? "  " + name : "", value.substr(begin, end - begin)});
        }
    }
    output::print("krx-service " + status->version + " is running\n" + output::table(rows));
    return kDone;
}

} // namespace krxservice

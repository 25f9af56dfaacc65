#include "base/Text.h"
#include "client/Commands.h"
#include "client/Output.h"
#include "client/ServiceClient.h"
#include "client/WorkCommands.h"
#include "documents/XmlTools.h"

#include <QJsonArray>
#include <QJsonObject>

#include <filesystem>

namespace krxservice::commands {

namespace {

/// The id of the profile that a person calls by its id or its name.
Outcome<std::string> profileCalled(ServiceClient& client, const std::string& name)
{
    const auto profiles = client.askXml("GET", "profiles?level=detail");
    if (!profiles)
        return profiles.refusal();
    for (const auto& profile : profiles->document_element().children("profile")) {
        const auto detail = profile.child("profileDetail");
        const std::string id = xmltools::textOf(detail.child("profileGUID"));
        if (id == name || xmltools::textOf(detail.child("profileName")) == name)
            return id;
    }
    return Refusal{404, "there is no profile called " + name};
}

/// Elements become values of their names; those that may come more than once, lists.
QJsonObject object(const pugi::xml_node& element)
{
    QJsonObject result;
    for (const auto& child : element.children()) {
        const std::string name = child.name();
        const QString key = QString::fromStdString(name);
        const bool isDeep = child.first_child().type() == pugi::node_element;
        const QJsonValue value = isDeep ? QJsonValue(object(child)) : output::json(xmltools::textOf(child));
        if (name == "activity" || name == "result" || name == "stream" || name == "note") {
            QJsonArray list = result[key].toArray();
            list.append(value);
            result[key] = list;
        } else {
            result[key] = value;
        }
    }
    return result;
}

/// What is understood of the clip, on one line.
std::string told(const pugi::xml_node& clip)
{
    std::string text = xmltools::textOf(clip.child("name")) + ": " + clip.child_value("kind");
    for (const char* name : {"format", "duration", "timecode"}) {
        const std::string value = clip.child_value(name);
        text += value.empty() ? "" : std::string(", ") + name + ' ' + value;
    }
    return text + ", " + clip.child_value("files") + " file(s), " + clip.child_value("bytes") + " bytes";
}

std::string told(const pugi::xml_node& run, bool& canAll)
{
    std::string result;
    if (const auto reason = run.child("reason")) {
        canAll = false;
        return output::table({{"not offered: " + xmltools::textOf(reason)}});
    }
    result = output::table({{told(run.child("clip"))}});
    for (const auto& note : run.child("clip").children("note"))
        result += output::table({{"  " + xmltools::textOf(note)}});
    for (const auto& action : run.children("activity")) {
        const std::string verdict = action.child_value("verdict");
        canAll = canAll && verdict != "CANNOT";
        const std::string seconds = action.child_value("seconds");
        result += output::table(
            {{verdict, xmltools::textOf(action.child("name")), xmltools::textOf(action.child("reason")),
              seconds.empty() ? "" : "about " + seconds + " s"}});
        for (const auto& file : action.children("result"))
            result += output::table(
                {{"  " + xmltools::textOf(file.child("path")),
                  std::string(file.child_value("bytes")) + (file.child("bytes") ? " bytes" : "")}});
    }
    return result;
}

} // namespace

int dryRun(const Options& options)
{
    ServiceClient client(options);
    const auto id = profileCalled(client, options.operands[0]);
    if (!id)
        return output::refuse(id.refusal());
    pugi::xml_document request;
    xmltools::append(xmltools::append(request, "dryRunRequest"), "path",
                     std::filesystem::absolute(options.operands[1]).lexically_normal().string());
    const auto answer = client.askXml("POST", "profiles/" + *id + "/dryrun", xmltools::documentText(request));
    if (!answer)
        return output::refuse(answer.refusal());
    bool canAll = true;
    const std::string text = told(answer->document_element(), canAll);
    if (options.wants("json"))
        output::print(object(answer->document_element()));
    else
        output::print(text);
    return canAll ? kDone : kFailure;
}

} // namespace krxservice::commands

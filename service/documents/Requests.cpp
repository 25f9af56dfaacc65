#include "documents/Requests.h"

#include "documents/XmlTools.h"
#include "store/Records.h"

#include <charconv>

namespace krxservice::requests {

namespace {

Refusal wrongRoot(const char* expected)
{
    return {400, std::string("the root element of this document is \"") + expected + "\""};
}

Outcome<Folder> readFolder(const pugi::xml_node& element)
{
    Folder folder;
    if (const auto id = element.attribute("id"))
        folder.id = id.value();
    for (const auto& child : element.children()) {
        const std::string name = child.name();
        if (name == "path") {
            folder.path = xmltools::textOf(child);
        } else if (name == "profile") {
            folder.profile = xmltools::textOf(child);
        } else if (name == "enabled") {
            const std::string flag = xmltools::textOf(child);
            if (flag != "true" && flag != "false")
                return Refusal{400, "\"enabled\" is either true or false"};
            folder.enabled = flag == "true";
        }
    }
    return folder;
}

/// The text of the last child called \a name.
std::string lastText(const pugi::xml_node& element, const char* name)
{
    std::string text;
    for (const auto& child : element.children(name))
        text = xmltools::textOf(child);
    return text;
}

std::optional<int> number(const std::string& text)
{
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && rest == end ? std::optional(value) : std::nullopt;
}

} // namespace

Outcome<Folder> folderCreation(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "xelMediaFolderRequest")
        return wrongRoot("xelMediaFolderRequest");
    const auto element = root.child("xelMediaFolder");
    if (!element)
        return Refusal{400, "the request holds no \"xelMediaFolder\""};
    auto folder = readFolder(element);
    if (folder && !folder->path)
        return Refusal{400, "a new folder needs a \"path\""};
    return folder;
}

Outcome<Folder> folderUpdate(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    return std::string_view(root.name()) == "xelMediaFolder" ? readFolder(root)
                                                             : Outcome<Folder>(wrongRoot("xelMediaFolder"));
}

Outcome<JobSubmission> jobSubmission(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "jobInfo")
        return wrongRoot("jobInfo");
    return JobSubmission{lastText(root, "path"), lastText(root, "profileID")};
}

Outcome<std::string> jobState(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "jobStatus")
        return wrongRoot("jobStatus");
    const std::string state = lastText(root, "state");
    if (state != jobstate::kCancelled && state != jobstate::kSubmitted)
        return Refusal{400, "a job's \"state\" can be set to CANCELLED or SUBMITTED only"};
    return state;
}

Outcome<DeviceStatus> deviceStatus(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "deviceStatus")
        return wrongRoot("deviceStatus");
    const auto type = number(lastText(root, "volumeType"));
    const auto action = number(lastText(root, "volumeAction"));
    if (!type || !action)
        return Refusal{400, "\"volumeType\" and \"volumeAction\" are decimal numbers"};
    return DeviceStatus{lastText(root, "volumeName"), *type, *action};
}

} // namespace krxservice::requests

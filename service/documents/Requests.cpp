#include "documents/Requests.h"

#include "base/Text.h"
#include "documents/XmlTools.h"
#include "store/Records.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace krxservice::requests {

namespace {

constexpr std::uint64_t kMostClipsAtOnce = 1000;

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

Outcome<std::string> dryRun(std::string_view body)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "dryRunRequest")
        return wrongRoot("dryRunRequest");
    return lastText(root, "path");
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

namespace {

/// A number of at most 20 digits, at most \a greatest.
std::optional<std::uint64_t> count(const std::string& text, std::uint64_t greatest)
{
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isWhole = error == std::errc() && end == text.data() + text.size() && !text.empty();
    return isWhole && value <= greatest ? std::optional(value) : std::nullopt;
}

Outcome<std::set<ClipStage>> stages(const std::string& words)
{
    std::set<ClipStage> result;
    std::size_t begin = 0;
    while (begin <= words.size()) {
        const auto end = std::min(words.find(',', begin), words.size());
        const std::string word = words.substr(begin, end - begin);
        const auto stage = ClipBook::stage(word);
        if (!stage)
            return Refusal{400, "no clip is in a state called \"" + text::oneLine(word) + "\""};
        result.insert(*stage);
        begin = end + 1;
    }
    return result;
}

} // namespace

Outcome<ClipBook::Question> clipQuestion(const std::map<std::string, std::string>& query)
{
    constexpr std::uint64_t all = std::numeric_limits<std::uint64_t>::max();
    ClipBook::Question question;
    for (const auto& [key, value] : query) {
        if (key == "folder" || key == "job") {
            if (!text::isLegalId(value))
                return Refusal{400, "\"" + key + "\" is an id of the service"};
            (key == "job" ? question.job : question.folder) = value;
        } else if (key == "state") {
            auto wanted = stages(value);
            if (!wanted)
                return wanted.refusal();
            question.stages = *wanted;
        } else if (key == "limit") {
            const auto limit = count(value, kMostClipsAtOnce);
            if (!limit || *limit == 0)
                return Refusal{400, "\"limit\" is a number from 1 to 1000"};
            question.limit = static_cast<std::size_t>(*limit);
        } else if (key == "offset" || key == "since") {
            const auto number = count(value, all);
            if (!number)
                return Refusal{400, "\"" + key + "\" is a number"};
            if (key == "since")
                question.since = *number;
            else
                question.offset = static_cast<std::size_t>(*number);
        } else {
            return Refusal{400, "the list of clips knows folder, job, state, since, offset and limit only"};
        }
    }
    return question;
}

Outcome<std::uint64_t> version(const std::string& text)
{
    const auto number = text.empty() ? std::optional<std::uint64_t>(0)
                                     : count(text, std::numeric_limits<std::uint64_t>::max());
    return number ? Outcome<std::uint64_t>(*number)
                  : Outcome<std::uint64_t>(Refusal{400, "\"since\" is a number"});
}

} // namespace krxservice::requests

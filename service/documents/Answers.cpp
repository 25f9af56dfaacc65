#include "documents/Answers.h"

#include "base/Text.h"
#include "documents/XmlTools.h"

#include <cstdio>

namespace krxservice::answers {

namespace {

void addOutputs(pugi::xml_node parent, const std::vector<std::string>& outputs)
{
    auto list = xmltools::append(parent, "outputXELFiles");
    for (const auto& file : outputs)
        xmltools::append(list, "fileName", file);
}

void addFolder(pugi::xml_node parent, const Folder& folder)
{
    auto element = xmltools::append(parent, "xelMediaFolder");
    element.append_attribute("id") = folder.record.id.c_str();
    xmltools::append(element, "path", folder.record.path);
    xmltools::append(element, "profile", folder.record.profile);
    xmltools::append(element, "enabled", folder.record.enabled ? "true" : "false");
    addOutputs(element, folder.outputs);
}

void addJobInfo(pugi::xml_node parent, const Job& job)
{
    auto element = xmltools::append(parent, "jobInfo");
    xmltools::append(element, "id", job.record.id);
    xmltools::append(element, "path", job.record.path);
    xmltools::append(element, "profile", job.record.profile);
    xmltools::append(element, "groupID", job.record.groupId);
    xmltools::append(element, "groupName", job.record.groupName);
    addOutputs(element, job.outputs);
    if (!job.record.message.empty())
        xmltools::append(element, "message", job.record.message);
}

void addReadyFolders(pugi::xml_node parent, const std::vector<std::string>& ids, const std::string& base)
{
    for (const auto& id : ids) {
        auto element = xmltools::append(parent, "outputReadyFolder");
        xmltools::append(element, "folderURI", base + "/xelmediafolders/" + id);
        xmltools::append(element, "outputReady", "true");
    }
}

void addErrors(pugi::xml_node parent, const std::vector<std::string>& errors)
{
    for (const auto& error : errors)
        xmltools::append(parent, "errorMessage", error);
}

void addMoment(pugi::xml_node parent, const char* name, std::int64_t moment)
{
    if (moment != 0)
        xmltools::append(parent, name, text::isoTime(moment));
}

/// Seconds with one decimal.
void addSeconds(pugi::xml_node parent, const char* name, double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", seconds);
    xmltools::append(parent, name, text);
}

void addClip(pugi::xml_node parent, const ClipEntry& clip)
{
    auto element = xmltools::append(parent, "clip");
    xmltools::append(element, "id", clip.id);
    xmltools::append(element, "name", text::baseName(clip.path));
    xmltools::append(element, "path", clip.path);
    xmltools::append(element, clip.isJob ? "jobId" : "folderId", clip.owner);
    if (!clip.profile.empty())
        xmltools::append(element, "profileID", clip.profile);
    xmltools::append(element, "state", std::string(ClipBook::word(clip.news.stage)));
    xmltools::append(element, "reason", clip.news.reason);
    if (!clip.news.job.empty())
        xmltools::append(element, "job", clip.news.job);
    if (!clip.guid.empty())
        xmltools::append(element, "guid", clip.guid);
    if (!clip.news.activity.empty())
        xmltools::append(element, "activity", clip.news.activity);
    if (clip.news.stage == ClipStage::Acting)
        xmltools::append(element, "percentComplete", std::to_string(clip.news.percent));
    addMoment(element, "since", clip.since);
    addMoment(element, "started", clip.started);
    addMoment(element, "ended", clip.ended);
    if (clip.took >= 0)
        addSeconds(element, "took", clip.took);
    if (clip.news.settlesIn >= 0)
        addSeconds(element, "settlesIn", clip.news.settlesIn);
}

} // namespace

std::string folderList(const std::vector<FolderRecord>& folders, const std::string& base)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "xelMediaFolderList");
    for (const auto& folder : folders)
        xmltools::append(root, "xelMediaFolderURI", base + "/xelmediafolders/" + folder.id);
    return xmltools::documentText(document);
}

std::string folderDetailList(const std::vector<Folder>& folders)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "xelMediaFolderDetailList");
    for (const auto& folder : folders)
        addFolder(root, folder);
    return xmltools::documentText(document);
}

std::string folderDetail(const Folder& folder)
{
    pugi::xml_document document;
    addFolder(document, folder);
    return xmltools::documentText(document);
}

std::string folderCreated(const std::string& id, const std::string& base)
{
    pugi::xml_document document;
    xmltools::append(document, "xelMediaFolderURI", base + "/xelmediafolders/" + id);
    return xmltools::documentText(document);
}

std::string outputReadyList(const std::vector<std::string>& folderIds, const std::string& base)
{
    pugi::xml_document document;
    addReadyFolders(xmltools::append(document, "outputReadyFolderList"), folderIds, base);
    return xmltools::documentText(document);
}

std::string profileList(const std::vector<ProfileRecord>& profiles, const std::string& base)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "profileList");
    for (const auto& profile : profiles)
        xmltools::append(root, "profileURI", base + "/profiles/" + profile.id);
    return xmltools::documentText(document);
}

std::string profileDetailList(const std::vector<ProfileRecord>& profiles)
{
    // The stored elements are whole documents but for their declaration, so they are joined as they are.
    std::string document = xmltools::declaration() + "<profileDetailList>\n";
    for (const auto& profile : profiles)
        document += profile.document;
    return document + "</profileDetailList>\n";
}

std::string profileDetail(const ProfileRecord& profile)
{
    return xmltools::declaration() + profile.document;
}

std::string profileCreated(const std::string& id, const std::string& base)
{
    pugi::xml_document document;
    xmltools::append(document, "profileURI", base + "/profiles/" + id);
    return xmltools::documentText(document);
}

std::string jobStatusList(const std::vector<JobRecord>& jobs)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "jobStatusList");
    for (const auto& job : jobs) {
        auto element = xmltools::append(root, "jobStatus");
        xmltools::append(element, "id", job.id);
        xmltools::append(element, "state", job.state);
        xmltools::append(element, "complete", jobstate::isFinal(job.state) ? "true" : "false");
        xmltools::append(element, "percentComplete", std::to_string(job.percent));
        if (!job.activity.empty())
            xmltools::append(element, "activity", job.activity);
        if (!job.message.empty())
            xmltools::append(element, "message", job.message);
    }
    return xmltools::documentText(document);
}

std::string jobDetailList(const std::vector<Job>& jobs)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "jobInfoList");
    for (const auto& job : jobs)
        addJobInfo(root, job);
    return xmltools::documentText(document);
}

std::string jobInfo(const Job& job)
{
    pugi::xml_document document;
    addJobInfo(document, job);
    return xmltools::documentText(document);
}

std::string clipList(const ClipBook::Answer& clips)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "clipList");
    root.append_attribute("total") = std::to_string(clips.total).c_str();
    root.append_attribute("known") = std::to_string(clips.known).c_str();
    root.append_attribute("version") = std::to_string(clips.version).c_str();
    for (const auto& clip : clips.clips)
        addClip(root, clip);
    return xmltools::documentText(document);
}

std::string changes(const ChangeBoard::News& news)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "changes");
    root.append_attribute("version") = std::to_string(news.version).c_str();
    for (const Topic topic : news.topics)
        xmltools::append(root, "changed", std::string(ChangeBoard::word(topic)));
    return xmltools::documentText(document);
}

std::string errorList(const std::vector<std::string>& errors)
{
    pugi::xml_document document;
    addErrors(xmltools::append(document, "errorList"), errors);
    return xmltools::documentText(document);
}

std::string activity(bool active, const std::vector<std::string>& errors,
                     const std::vector<std::string>& readyFolderIds, const std::string& base)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "activity");
    xmltools::append(root, "status", active ? "StatusActive" : "StatusIdle");
    addErrors(root, errors);
    addReadyFolders(root, readyFolderIds, base);
    return xmltools::documentText(document);
}

} // namespace krxservice::answers

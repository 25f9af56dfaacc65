#include "app/Routes.h"

#include "app/DryRunAnswer.h"
#include "base/Log.h"
#include "base/Text.h"

#include <chrono>
#include <exception>

namespace krxservice {

/// One request on its way.
struct Routes::Call
{
    const std::string& method;
    const Target& target;
    const std::string& body;
    std::string base; ///< root of the URLs in the answer

    std::string id() const { return target.segments.size() > 1 ? target.segments[1] : std::string(); }
    std::string query(const char* key) const
    {
        const auto found = target.query.find(key);
        return found == target.query.end() ? std::string() : found->second;
    }
};

namespace {

constexpr std::chrono::seconds kLongestWait{20};

HttpAnswer notAllowed(const char* methods)
{
    HttpAnswer answer = HttpAnswer::refused({405, std::string("this resource knows ") + methods + " only"});
    answer.allow = methods;
    return answer;
}

HttpAnswer notFound()
{
    return HttpAnswer::refused({404, "there is no such resource"});
}

/// The answer to something that was removed or refused.
HttpAnswer removed(const std::optional<Refusal>& refusal)
{
    return refusal ? HttpAnswer::refused(*refusal) : HttpAnswer{};
}

HttpAnswer folderAnswer(const Outcome<answers::Folder>& folder)
{
    return folder ? HttpAnswer::xml(answers::folderDetail(*folder)) : HttpAnswer::refused(folder.refusal());
}

HttpAnswer jobAnswer(const Outcome<answers::Job>& job, int status = 200)
{
    return job ? HttpAnswer::xml(answers::jobInfo(*job), status) : HttpAnswer::refused(job.refusal());
}

} // namespace

HttpAnswer Routes::handle(const RequestHead& head, const Target& target, const std::string& body)
{
    try {
        const std::string method = head.method == "HEAD" ? "GET" : head.method;
        return dispatch({method, target, body, httpguard::baseUrl(head)});
    } catch (const std::exception& failure) {
        log::error(head.method + ' ' + head.target + " failed: " + failure.what());
        return HttpAnswer::refused({500, std::string("the service failed: ") + failure.what()});
    }
}

HttpAnswer Routes::dispatch(const Call& call)
{
    const auto& segments = call.target.segments;
    if (segments.size() == 3 && segments[0] == "profiles" && segments[2] == "dryrun")
        return dryRun(call);
    if (segments.size() > 2)
        return notFound();
    if (segments.size() == 2) {
        const std::string& collection = segments[0];
        if (collection == "jobs" && segments[1] == "status")
            return call.method == "GET"
                       ? HttpAnswer::xml(answers::jobStatusList(m_service.jobs(
                             call.query("filter") == "true" || call.query("kind") == "manual")))
                       : notAllowed("GET");
        if (collection == "jobs" && segments[1] == "detail")
            return call.method == "GET"
                       ? HttpAnswer::xml(answers::jobDetailList(m_service.jobsInDetail(
                             call.query("filter") == "true" || call.query("kind") == "manual")))
                       : notAllowed("GET");
        const bool known =
            collection == "xelmediafolders" || collection == "profiles" || collection == "jobs";
        if (!known || segments[1].empty())
            return notFound();
        if (!text::isLegalId(segments[1]))
            return HttpAnswer::refused({400, "this is no id of the service"});
        return collection == "xelmediafolders" ? folder(call)
               : collection == "profiles"      ? profile(call)
                                               : job(call);
    }
    const std::string& resource = segments[0];
    if (resource == "xelmediafolders")
        return folders(call);
    if (resource == "profiles")
        return profiles(call);
    if (resource == "jobs")
        return jobs(call);
    if (resource == "errors")
        return errors(call);
    if (resource == "activity")
        return activity(call);
    if (resource == "clips")
        return clips(call);
    if (resource == "changes")
        return changes(call);
    return resource == "devicestatus" ? deviceStatus(call) : notFound();
}

HttpAnswer Routes::folders(const Call& call)
{
    if (call.method == "POST") {
        const auto request = requests::folderCreation(call.body);
        if (!request)
            return HttpAnswer::refused(request.refusal());
        const auto id = m_service.createFolder(*request);
        return id ? HttpAnswer::xml(answers::folderCreated(*id, call.base), 201)
                  : HttpAnswer::refused(id.refusal());
    }
    if (call.method != "GET")
        return notAllowed("GET, POST");
    const std::string level = call.query("level");
    if (level.empty())
        return HttpAnswer::xml(answers::folderList(m_service.folders(), call.base));
    if (level == "detail")
        return HttpAnswer::xml(*m_service.foldersInDetail());
    if (level == "outputready")
        return HttpAnswer::xml(answers::outputReadyList(m_service.readyFolders(), call.base));
    return HttpAnswer::refused({400, "the level is either detail or outputready"});
}

HttpAnswer Routes::folder(const Call& call)
{
    if (call.method == "GET")
        return folderAnswer(m_service.folder(call.id()));
    if (call.method == "DELETE")
        return removed(m_service.deleteFolder(call.id()));
    if (call.method != "PUT")
        return notAllowed("GET, PUT, DELETE");
    const auto request = requests::folderUpdate(call.body);
    if (!request)
        return HttpAnswer::refused(request.refusal());
    return folderAnswer(m_service.updateFolder(call.id(), *request, call.query("reprocess") == "true"));
}

HttpAnswer Routes::profiles(const Call& call)
{
    if (call.method == "POST") {
        const auto id = m_service.createProfile(call.body);
        return id ? HttpAnswer::xml(answers::profileCreated(*id, call.base), 201)
                  : HttpAnswer::refused(id.refusal());
    }
    if (call.method != "GET")
        return notAllowed("GET, POST");
    const std::string level = call.query("level");
    if (level.empty())
        return HttpAnswer::xml(answers::profileList(m_service.profiles(), call.base));
    if (level == "detail")
        return HttpAnswer::xml(answers::profileDetailList(m_service.profiles()));
    return HttpAnswer::refused({400, "the only level is detail"});
}

HttpAnswer Routes::profile(const Call& call)
{
    if (call.method == "GET") {
        const auto profile = m_service.profile(call.id());
        return profile ? HttpAnswer::xml(answers::profileDetail(*profile))
                       : HttpAnswer::refused(profile.refusal());
    }
    if (call.method == "DELETE")
        return removed(m_service.deleteProfile(call.id()));
    return notAllowed("GET, DELETE");
}

HttpAnswer Routes::dryRun(const Call& call)
{
    if (!text::isLegalId(call.id()))
        return HttpAnswer::refused({400, "this is no id of the service"});
    if (call.method != "POST")
        return notAllowed("POST");
    return dryRunAnswer(m_service.profile(call.id()), call.body, m_service.folders(), m_service.times());
}

HttpAnswer Routes::jobs(const Call& call)
{
    if (call.method == "POST") {
        const auto request = requests::jobSubmission(call.body);
        return request ? jobAnswer(m_service.submitJob(*request), 201)
                       : HttpAnswer::refused(request.refusal());
    }
    if (call.method == "PUT") {
        const auto state = requests::jobState(call.body);
        return state ? HttpAnswer::xml(answers::jobStatusList(m_service.changeJobs(*state)))
                     : HttpAnswer::refused(state.refusal());
    }
    return notAllowed("POST, PUT");
}

HttpAnswer Routes::job(const Call& call)
{
    if (call.method == "GET")
        return jobAnswer(m_service.job(call.id()));
    if (call.method == "DELETE")
        return removed(m_service.deleteJob(call.id()));
    if (call.method != "PUT")
        return notAllowed("GET, PUT, DELETE");
    const auto state = requests::jobState(call.body);
    return state ? jobAnswer(m_service.changeJob(call.id(), *state)) : HttpAnswer::refused(state.refusal());
}

HttpAnswer Routes::errors(const Call& call)
{
    if (call.method != "GET")
        return notAllowed("GET");
    return HttpAnswer::xml(answers::errorList(m_service.errors(call.query("clear") == "true")));
}

HttpAnswer Routes::activity(const Call& call)
{
    if (call.method != "GET")
        return notAllowed("GET");
    return HttpAnswer::xml(answers::activity(m_service.isActive(), m_service.errors(false),
                                             m_service.readyFolders(), call.base));
}

HttpAnswer Routes::clips(const Call& call)
{
    if (call.method != "GET")
        return notAllowed("GET");
    const auto question = requests::clipQuestion(call.target.query);
    if (!question)
        return HttpAnswer::refused(question.refusal());
    const auto clips = m_service.clips(*question);
    return clips ? HttpAnswer::xml(answers::clipList(*clips)) : HttpAnswer::refused(clips.refusal());
}

HttpAnswer Routes::changes(const Call& call)
{
    if (call.method != "GET")
        return notAllowed("GET");
    const auto version = requests::version(call.query("since"));
    if (!version)
        return HttpAnswer::refused(version.refusal());
    HttpAnswer answer;
    answer.later = [&board = m_service.changes(), version = *version](HttpAnswer::Sender send) {
        board.wait(version, kLongestWait, [send = std::move(send)](const ChangeBoard::News& news) {
            send(HttpAnswer::xml(answers::changes(news)));
        });
    };
    return answer;
}

HttpAnswer Routes::deviceStatus(const Call& call)
{
    if (call.method != "POST")
        return notAllowed("POST");
    const auto status = requests::deviceStatus(call.body);
    if (!status)
        return HttpAnswer::refused(status.refusal());
    m_service.deviceChanged(*status);
    return {};
}

} // namespace krxservice

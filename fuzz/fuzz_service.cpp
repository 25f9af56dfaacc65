// What the service reads from strangers: request heads and documents. An input is a request as it comes over
// the wire; its head goes through the guard, its body through every reader.

#include "base/Text.h"
#include "documents/Answers.h"
#include "documents/ProfileDocument.h"
#include "documents/Requests.h"
#include "documents/XmlTools.h"
#include "http/HeadCheck.h"
#include "http/HttpGuard.h"
#include "media/MediaProbe.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace krxservice;

/// A promise that the readers make, whatever they are given.
void promise(bool kept, const char* what)
{
    if (kept)
        return;
    std::fprintf(stderr, "broken promise: %s\n", what);
    std::abort();
}

RequestHead headOf(const std::string& text)
{
    RequestHead head;
    std::size_t at = 0;
    bool first = true;
    while (at < text.size()) {
        const auto end = text.find('\n', at);
        std::string line = text.substr(at, end == std::string::npos ? end : end - at);
        at = end == std::string::npos ? text.size() : end + 1;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (first) {
            const auto blank = line.find(' ');
            head.method = line.substr(0, blank);
            if (blank != std::string::npos)
                head.target = line.substr(blank + 1, line.find(' ', blank + 1) - blank - 1);
            first = false;
        } else if (const auto colon = line.find(':'); colon != std::string::npos) {
            head.headers.emplace_back(line.substr(0, colon), line.substr(colon + 1));
        }
    }
    return head;
}

void checkHead(const RequestHead& head)
{
    const auto refusal = httpguard::check(head);
    if (refusal) {
        promise((refusal->status >= 400 && refusal->status < 500) || refusal->status == 501,
                "a refusal is a 4xx, or 501");
        promise(!refusal->text.empty() && refusal->text.find('\n') == std::string::npos,
                "a refusal is one line");
        return;
    }
    promise(head.values("Host").size() == 1, "what passes has one Host");
    const auto target = httpguard::split(head.target);
    promise(bool(target), "what passes can be split");
    for (const auto& segment : target->segments)
        promise(segment != ".." && segment.find('\\') == std::string::npos, "no segment leads elsewhere");
}

/// The bytes of a head as they come over the wire; in the corpus lines end in LF alone.
void checkFraming(const std::string& lines)
{
    std::string head;
    for (const char c : lines)
        head += c == '\n' ? std::string("\r\n") : std::string(1, c);
    head += "\r\n\r\n";
    if (headcheck::checkBytes(head, 0) || headcheck::checkLines(head))
        return;
    promise(head.find('\0') == std::string::npos, "what passes holds no NUL");
    promise(head.find("\r\n ") == std::string::npos && head.find("\r\n\t") == std::string::npos,
            "no header that passes is folded");
    promise(head.find("\r\n:") == std::string::npos, "every header that passes has a name");
}

void checkBody(const std::string& body)
{
    if (const auto folder = requests::folderCreation(body))
        promise(!folder->path || text::isXmlText(*folder->path), "paths are XML text");
    requests::folderUpdate(body);
    requests::jobSubmission(body);
    requests::deviceStatus(body);
    if (const auto state = requests::jobState(body))
        promise(*state == "CANCELLED" || *state == "SUBMITTED", "only two states are accepted");
    if (const auto profile = profiledocument::fromRequest(body, "guid-1")) {
        // What is stored must be readable for as long as the service lives.
        promise(bool(profiledocument::recipe(*profile)), "a stored profile can be read");
        pugi::xml_document document;
        promise(!xmltools::parse(answers::profileDetail(*profile), document), "an answer is a document");
    }
    MediaProbe::read(body);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    const auto end = input.find("\n\n");
    checkFraming(input.substr(0, end));
    checkHead(headOf(input.substr(0, end)));
    if (end != std::string::npos)
        checkBody(input.substr(end + 2));
    return 0;
}

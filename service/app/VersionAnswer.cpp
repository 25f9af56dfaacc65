#include "app/VersionAnswer.h"

#include "documents/XmlGuard.h"
#include "documents/XmlTools.h"
#include "http/HeadCheck.h"

#include <unistd.h>

namespace krxservice {

namespace {

constexpr const char* kProtocol = "1"; ///< counts changes that old clients do not understand

void append(pugi::xml_node parent, const char* name, std::uint64_t value)
{
    xmltools::append(parent, name, std::to_string(value));
}

} // namespace

HttpAnswer versionAnswer(const std::string& method, const ServiceFacts& facts)
{
    if (method != "GET" && method != "HEAD") {
        HttpAnswer answer = HttpAnswer::refused({405, "this resource knows GET only"});
        answer.allow = "GET";
        return answer;
    }
    pugi::xml_document document;
    auto root = xmltools::append(document, "serviceVersion");
    xmltools::append(root, "program", "krx-service");
    xmltools::append(root, "version", facts.version);
    xmltools::append(root, "protocol", kProtocol);
    append(root, "process", static_cast<std::uint64_t>(::getpid()));
    for (const auto& place : facts.places)
        xmltools::append(root, "listens", place);
    xmltools::append(root, "data", facts.dataFolder);
    append(root, "uptime", static_cast<std::uint64_t>(facts.uptime.count()));
    auto limits = xmltools::append(root, "limits");
    append(limits, "head", headcheck::kLargestHead);
    append(limits, "body", xmlguard::kLargestBody);
    append(limits, "connections", facts.mostConnections);
    auto refusals = xmltools::append(root, "refusals");
    append(refusals, "strangers", facts.strangers);
    append(refusals, "unknown", facts.unknown);
    append(refusals, "requests", facts.requests);
    append(refusals, "pushedOut", facts.pushedOut);
    append(root, "droppedLogLines", facts.droppedLines);
    append(root, "landlock", static_cast<std::uint64_t>(facts.landlock));
    return HttpAnswer::xml(xmltools::documentText(document));
}

} // namespace krxservice

#include "client/Manifest.h"

#include "base/Text.h"
#include "documents/XmlTools.h"

#include <algorithm>
#include <set>

namespace krxservice {

namespace {

constexpr char kRoot[] = "krxServiceBackup";
constexpr int kForm = 1; ///< of the backup as a whole

/// True for what a backup holds: the two files, and documents in a directory of an owner.
bool isLegal(const std::string& path)
{
    if (path == "krx-service.db" || path == "krx-service.kept.xml")
        return true;
    constexpr std::string_view outputs = "output/";
    constexpr std::string_view jobs = "jobs/";
    if (path.rfind(outputs, 0) != 0)
        return false;
    std::string rest = path.substr(outputs.size());
    if (rest.rfind(jobs, 0) == 0)
        rest = rest.substr(jobs.size());
    const auto slash = rest.find('/');
    if (slash == std::string::npos || !text::isLegalId(rest.substr(0, slash)))
        return false;
    const std::string name = rest.substr(slash + 1);
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

} // namespace

std::string Manifest::write() const
{
    pugi::xml_document document;
    auto root = xmltools::append(document, kRoot);
    root.append_attribute("form") = kForm;
    xmltools::append(root, "program", program);
    xmltools::append(root, "created", created);
    xmltools::append(root, "database", std::to_string(database));
    for (const auto& file : files) {
        auto element = xmltools::append(root, "file", file.path);
        element.append_attribute("size") = static_cast<long long>(file.size);
        element.append_attribute("checksum") = file.checksum.c_str();
    }
    return xmltools::documentText(document);
}

Outcome<Manifest> Manifest::read(std::string_view text)
{
    pugi::xml_document document;
    const auto result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata_single);
    const auto root = document.document_element();
    if (!result || std::string_view(root.name()) != kRoot)
        return Refusal{400, "its list of contents cannot be read"};
    if (root.attribute("form").as_int() != kForm)
        return Refusal{400, "it was made by another krx-service (form " +
                                std::string(root.attribute("form").value()) +
                                "), which this one cannot read"};
    Manifest manifest;
    manifest.program = root.child_value("program");
    manifest.created = root.child_value("created");
    manifest.database = root.child("database").text().as_int();
    std::set<std::string> seen;
    for (const auto& element : root.children("file")) {
        File file{xmltools::textOf(element), element.attribute("size").as_llong(-1),
                  element.attribute("checksum").value()};
        if (!isLegal(file.path) || !seen.insert(file.path).second)
            return Refusal{400,
                           "its list of contents names \"" + file.path + "\", which is no file of a backup"};
        manifest.files.push_back(std::move(file));
    }
    if (seen.count("krx-service.db") == 0)
        return Refusal{400, "its list of contents names no database"};
    return manifest;
}

} // namespace krxservice

#include "app/Invariants.h"

#include "base/Text.h"
#include "documents/XmlTools.h"
#include "store/ClipStore.h"
#include "store/WalCheck.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

namespace krxservice::invariants {

namespace {

struct Rule
{
    const char* fault; ///< what a row of the query is
    const char* query; ///< yields one text per fault
};

constexpr std::array<Rule, 9> kRules = {{
    {"a clip is there twice",
     "SELECT owner || ' ' || path FROM clips GROUP BY owner, path, checksum HAVING count(*) > 1"},
    {"an identifier of a document is there twice",
     "SELECT guid FROM clips GROUP BY guid HAVING count(*) > 1"},
    {"a clip has no owner",
     "SELECT id || ' ' || owner || ' ' || path FROM clips WHERE owner NOT IN (SELECT id FROM folders) "
     "AND owner NOT IN (SELECT id FROM jobs WHERE manual=1)"},
    {"a clip is in a state that there is not",
     "SELECT id || ' ' || state FROM clips WHERE state NOT IN ('waiting', 'acting', 'publishing', 'offered', "
     "'taken', 'rejected', 'failed')"},
    {"a clip that has an output does not know its name",
     "SELECT id || ' ' || path FROM clips WHERE state IN ('publishing', 'offered', 'taken') AND output=''"},
    {"a clip that is not worked on has an unfinished file",
     "SELECT id || ' ' || path FROM clips WHERE state<>'acting' AND scratch<>''"},
    {"a job of a folder has no folder",
     "SELECT id || ' ' || path FROM jobs WHERE manual=0 AND group_id NOT IN (SELECT id FROM folders)"},
    {"a job is in a state that there is not",
     "SELECT id || ' ' || state FROM jobs WHERE state NOT IN ('SUBMITTED', 'RUNNING', 'COMPLETED', 'FAILED', "
     "'CANCELLED')"},
    {"a directory is watched twice", "SELECT canonical FROM folders GROUP BY canonical HAVING count(*) > 1"},
}};

constexpr char kSuffix[] = ".xel";

bool endsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// What is wrong with a published document, or an empty text.
std::string documentFault(Database& database, const std::filesystem::path& file)
{
    const std::string owner = file.parent_path().filename().string();
    const std::string name = file.filename().string();
    Statement row = database.prepare("SELECT state, guid FROM clips WHERE id=? AND owner=? AND output=?");
    row.bind(static_cast<std::int64_t>(std::strtoll(name.c_str(), nullptr, 10))).bind(owner).bind(name);
    if (!row.step())
        return "an output has no clip";
    const std::string state = row.text(0);
    if (state != "publishing" && state != "offered")
        return "an output waits whose clip is " + state;
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(text, document))
        return "an output is no whole document (" + refusal->text + ")";
    const std::string id = xmltools::textOf(document.document_element().child("id"));
    // Clips of the first version of the database did not know the identifiers of their documents.
    if (row.text(1).rfind("before-", 0) != 0 && row.text(1) != id)
        return "an output has another identifier than its clip";
    return {};
}

} // namespace

std::vector<std::string> faults(Database& database, const std::string& outputRoot)
{
    std::vector<std::string> found;
    const auto lock = database.lock();
    if (const auto problem = database.problem(); !problem.empty())
        found.push_back("the database is damaged: " + problem);
    for (const auto& rule : kRules) {
        Statement rows = database.prepare(rule.query);
        while (rows.step())
            found.push_back(std::string(rule.fault) + ": " + rows.text(0));
    }
    std::error_code error;
    for (auto it = std::filesystem::recursive_directory_iterator(outputRoot, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        const std::string name = it->path().filename().string();
        // Hidden names are unfinished, and directories of owners that are being removed.
        if (name[0] == '.')
            it.disable_recursion_pending();
        if (name[0] == '.' || !it->is_regular_file() || !endsWith(name, kSuffix))
            continue;
        if (const auto fault = documentFault(database, it->path()); !fault.empty())
            found.push_back(fault + ": " + it->path().string());
    }
    return found;
}

std::vector<std::string> faultsIn(const std::string& dataFolder)
{
    const std::string file = dataFolder + "/krx-service.db";
    std::vector<std::string> found;
    if (walcheck::isDamaged(file + "-wal"))
        found.emplace_back("the log of the database is damaged");
    Database database(file, Database::Mode::Look);
    for (auto& fault : faults(database, dataFolder + "/output"))
        found.push_back(std::move(fault));
    return found;
}

} // namespace krxservice::invariants

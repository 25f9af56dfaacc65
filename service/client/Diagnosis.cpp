#include "client/Diagnosis.h"

#include "app/Invariants.h"
#include "base/Bounded.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "client/Output.h"
#include "client/Redactor.h"
#include "client/ServiceClient.h"
#include "client/Status.h"
#include "store/ErrorStore.h"
#include "store/FolderStore.h"
#include "store/ProfileStore.h"

#include <QtGlobal>

#include <boost/version.hpp>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace krxservice::diagnosis {

namespace {

using Rows = std::vector<std::vector<std::string>>;

constexpr std::size_t kLastLines = 200;              ///< of the log
constexpr std::chrono::milliseconds kPatience{2000}; ///< with a volume
constexpr char kNotReadAgain[] = "the configuration was not read again";
constexpr std::uintmax_t kMegabyte = std::uintmax_t{1} << 20;

std::string firstLine(const std::string& path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line.empty() ? "not known" : line;
}

/// What follows \a key in a file of lines.
std::string valueIn(const std::string& path, const std::string& key)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(key, 0) == 0) {
            const auto begin = line.find_first_not_of(" \t=\"", key.size());
            const auto end = line.find_last_not_of(" \t\"");
            return begin == std::string::npos ? std::string() : line.substr(begin, end - begin + 1);
        }
    }
    return "not known";
}

std::string heading(const std::string& title)
{
    return '\n' + title + '\n' + std::string(title.size(), '-') + '\n';
}

std::string versions(const std::string& version)
{
    utsname system{};
    ::uname(&system);
    return output::table(
        {{"krx-service", version},
         {"written", text::isoTime(text::now())},
         {"system", valueIn("/etc/os-release", "PRETTY_NAME")},
         {"kernel", std::string(system.sysname) + ' ' + system.release + ' ' + system.machine},
         {"SQLite", sqlite3_libversion()},
         {"Qt", qVersion()},
         {"Boost", BOOST_LIB_VERSION}});
}

/// What the system says of a running process.
Rows processRows(const std::string& process)
{
    const std::string folder = "/proc/" + process;
    std::size_t descriptors = 0;
    std::size_t watches = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/fdinfo", error)) {
        ++descriptors;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);)
            watches += line.rfind("inotify", 0) == 0 ? 1 : 0;
    }
    return {{"open descriptors", std::to_string(descriptors)},
            {"watched directories", std::to_string(watches)},
            {"limit of descriptors", valueIn(folder + "/limits", "Max open files")},
            {"memory", valueIn(folder + "/status", "VmRSS:")},
            {"threads", valueIn(folder + "/status", "Threads:")}};
}

/// \param folder receives the data folder of the service that answers.
std::string running(const Options& options, bool& isRunning, std::string& folder)
{
    ServiceClient client(options);
    const auto status = Status::of(client);
    isRunning = static_cast<bool>(status);
    if (!status)
        return "it does not run: " + status.refusal().text + '\n';
    Rows rows;
    std::string process;
    for (const auto& [name, value] : status->rows) {
        if (name == "process")
            process = value;
        if (name == "data")
            folder = value;
        std::istringstream lines(value);
        std::string label = name;
        for (std::string line; std::getline(lines, line); label.clear())
            rows.push_back({label, line});
    }
    for (auto& row : processRows(process))
        rows.push_back(std::move(row));
    return output::table(rows);
}

std::string sizeOf(const std::string& file)
{
    struct stat facts
    {
    };
    return ::stat(file.c_str(), &facts) == 0 ? std::to_string(facts.st_size) + " bytes" : "not there";
}

std::string counts(Database& database, const std::string& title, const std::string& query)
{
    std::string result;
    Statement rows = database.prepare(query);
    while (rows.step())
        result += (result.empty() ? "" : ", ") + rows.text(0) + ' ' + rows.text(1);
    return title + ": " + (result.empty() ? "none" : result) + '\n';
}

/// What is in the data folder. Fills in what is to be hidden.
std::string data(const std::string& folder, bool isRunning, Redactor& redactor)
{
    const std::string file = folder + "/krx-service.db";
    std::string result = output::table({{"database", sizeOf(file)}, {"its log", sizeOf(file + "-wal")}});
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename();
        if (name.find(".damaged-") != std::string::npos || name.find(".kept-") != std::string::npos ||
            name.find(".version-") != std::string::npos)
            result += "set aside: " + name + '\n';
    }
    try {
        Database database(file, Database::Mode::Look);
        const std::string problem = database.problem();
        result += "version of the tables: " + std::to_string(Database::currentVersion()) +
                  "\nintegrity: " + (problem.empty() ? "ok" : problem) + '\n' +
                  counts(database, "clips", "SELECT count(*), state FROM clips GROUP BY state") +
                  counts(database, "jobs", "SELECT count(*), state FROM jobs GROUP BY state");
        Statement names =
            database.prepare("SELECT path FROM folders UNION SELECT canonical FROM folders UNION SELECT path "
                             "FROM clips UNION SELECT linked_path FROM clips UNION SELECT path FROM jobs");
        while (names.step())
            redactor.addPath(names.text(0));
        Statement outputs = database.prepare("SELECT output FROM clips");
        while (outputs.step())
            redactor.addPath(outputs.text(0));
        for (const auto& profile : ProfileStore(database).list())
            redactor.addName(profile.name);
        result += heading("Folders");
        Rows rows{{"id", "enabled", "profile", "path"}};
        for (const auto& one : FolderStore(database).list()) {
            const auto profile = ProfileStore(database).find(one.profile);
            rows.push_back({one.id, one.enabled ? "yes" : "no", profile ? profile->name : "none", one.path});
        }
        result += output::table(rows) + heading("Errors");
        const auto errors = ErrorStore(database).list();
        for (const auto& one : errors)
            result += one + '\n';
        result += errors.empty() ? "none\n" : "";
        if (!isRunning) {
            result += heading("Records and outputs");
            for (const auto& fault : invariants::faultsIn(folder))
                result += fault + '\n';
            result += "looked through\n";
        }
    } catch (const DatabaseError& failure) {
        result += std::string("it cannot be read: ") + failure.what() + '\n';
    }
    return result;
}

/// What is quoted was said by a person and may name anything.
std::string withoutQuotes(const std::string& line)
{
    const auto first = line.find('"');
    const auto last = line.rfind('"');
    return first == last ? line : line.substr(0, first + 1) + "..." + line.substr(last);
}

/// Where the service that works in \a folder logs to. Its own options are not known here; without any it logs
/// there, unless \a folder is the usual one.
std::string logOf(const Options& options, const std::string& folder)
{
    const std::string beside = folder + "/krx-service.log";
    std::error_code error;
    const bool isElsewhere = folder != options.dataFolder && std::filesystem::exists(beside, error);
    return isElsewhere ? beside : options.logFile;
}

/// The end of the log. Of a text that is to be shown to others only what went wrong.
std::string lastLines(const std::string& file, bool isRedacted)
{
    if (file.empty())
        return "there is no log file\n";
    std::ifstream log(file);
    if (!log)
        return "it cannot be read\n";
    std::deque<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        if (isRedacted && line.find(" info ") != std::string::npos)
            continue;
        const bool mayQuote = isRedacted && line.find(kNotReadAgain) != std::string::npos;
        lines.push_back(mayQuote ? withoutQuotes(line) : std::move(line));
        if (lines.size() > kLastLines)
            lines.pop_front();
    }
    std::string result;
    for (const auto& line : lines)
        result += line + '\n';
    return result.empty() ? "nothing\n" : result;
}

std::string limits()
{
    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    Rows rows{{"descriptors",
               std::to_string(descriptors.rlim_cur) + " of " + std::to_string(descriptors.rlim_max)}};
    for (const char* name : {"max_user_watches", "max_user_instances", "max_queued_events"})
        rows.push_back(
            {std::string("inotify ") + name, firstLine(std::string("/proc/sys/fs/inotify/") + name)});
    return output::table(rows);
}

/// Place, kind and free room of what is mounted. Sources are left out: they name servers.
std::string volumes(Redactor& redactor)
{
    constexpr std::string_view pseudo[] = {"proc",     "sysfs",  "cgroup",   "cgroup2", "devpts",
                                           "devtmpfs", "mqueue", "debugfs",  "tracefs", "securityfs",
                                           "pstore",   "bpf",    "configfs", "autofs"};
    Rows rows{{"place", "kind", "mode", "free MB", "of MB"}};
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string skipped;
        std::string place;
        std::string mode;
        std::string kind;
        fields >> skipped >> skipped >> skipped >> skipped >> place >> mode;
        while (fields >> kind && kind != "-") {
        }
        fields >> kind;
        if (std::find(std::begin(pseudo), std::end(pseudo), kind) != std::end(pseudo))
            continue;
        redactor.addPath(place);
        using Room = std::pair<std::uintmax_t, std::uintmax_t>;
        const auto room = within<Room>(kPatience, [place] {
            struct statvfs facts
            {
            };
            if (::statvfs(place.c_str(), &facts) != 0)
                return Room();
            return Room{facts.f_bavail * facts.f_frsize / kMegabyte,
                        facts.f_blocks * facts.f_frsize / kMegabyte};
        });
        rows.push_back({place, kind, mode.substr(0, 2),
                        room ? std::to_string(room->first) : "does not answer",
                        room ? std::to_string(room->second) : ""});
    }
    return output::table(rows);
}

std::string configuration(const Options& options, bool isRedacted)
{
    std::string result = options.configText();
    for (const auto& problem : options.problems)
        result +=
            "wrong, so that the service does not start: " + (isRedacted ? withoutQuotes(problem) : problem) +
            '\n';
    return result;
}

} // namespace

std::string text(const Options& options, const std::string& version, bool isRedacted)
{
    Redactor redactor;
    redactor.addName(userName(::geteuid()));
    for (const auto& user : options.allowedUsers)
        redactor.addName(user);
    for (const auto& path : {options.dataFolder, options.logFile, options.socketPath})
        redactor.addPath(path);
    bool isRunning = false;
    // Who answers may work elsewhere than these options say.
    std::string folder = options.dataFolder;
    std::string result = "krx-service: what there is to be known\n";
    result += heading("Versions") + versions(version);
    result += heading("Configuration") + configuration(options, isRedacted);
    result += heading("The service") + running(options, isRunning, folder);
    redactor.addPath(folder);
    result += heading("Data") + data(folder, isRunning, redactor);
    result += heading("Limits") + limits();
    result += heading("Volumes") + volumes(redactor);
    result += heading("The end of the log") + lastLines(logOf(options, folder), isRedacted);
    return isRedacted ? redactor.redact(result) : result;
}

std::string write(const std::string& file, const Options& options, const std::string& version,
                  bool isRedacted)
{
    return filetools::writeNewFile(file, text(options, version, isRedacted));
}

} // namespace krxservice::diagnosis

#include "client/Backup.h"

#include "app/DataLock.h"
#include "base/FileTools.h"
#include "base/Text.h"
#include "client/Manifest.h"
#include "documents/KeptDocument.h"
#include "files/Aside.h"
#include "media/OutputArea.h"
#include "store/Database.h"
#include "store/FolderStore.h"
#include "store/ProfileStore.h"
#include "store/WalCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace krxservice::backup {

namespace {

namespace fs = std::filesystem;

constexpr int kInUse = 3;
constexpr char kDatabase[] = "krx-service.db";
constexpr char kKept[] = "krx-service.kept.xml";
constexpr char kLock[] = "krx-service.lock";
constexpr char kOutput[] = "output";

Refusal failed(const std::string& text)
{
    return {1, text};
}

/// A path without slashes at its end, made absolute.
std::string plainPath(const std::string& path)
{
    std::string whole = fs::absolute(path).lexically_normal().string();
    while (whole.size() > 1 && whole.back() == '/')
        whole.pop_back();
    return whole;
}

std::string directoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// A folder that is being filled and goes away again unless it was kept.
class Unfinished
{
public:
    explicit Unfinished(std::string path)
        : m_path(std::move(path))
    {
    }
    ~Unfinished()
    {
        std::error_code error;
        if (!m_isKept)
            fs::remove_all(m_path, error);
    }
    Unfinished(const Unfinished&) = delete;
    Unfinished& operator=(const Unfinished&) = delete;

    const std::string& path() const { return m_path; }
    std::string make() const
    {
        return ::mkdir(m_path.c_str(), 0700) == 0 ? std::string() : m_path + ": " + text::errnoText(errno);
    }
    void keep() { m_isKept = true; }

private:
    std::string m_path;
    bool m_isKept = false;
};

/// Writes every directory of \a folder to the disk.
std::string syncFolder(const std::string& folder)
{
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(folder, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (!it->is_directory())
            continue;
        if (auto reason = filetools::syncDirectory(it->path().string()); !reason.empty())
            return reason;
    }
    return error ? folder + ": " + error.message() : filetools::syncDirectory(folder);
}

Outcome<Manifest::File> described(const std::string& folder, const std::string& path)
{
    std::string reason;
    const std::string whole = folder + '/' + path;
    const auto checksum = filetools::checksum(whole, makeCancelToken(), reason);
    const auto stamp = filetools::stampOfUnlinked(whole);
    if (!checksum || !stamp)
        return failed(whole + ": " + (reason.empty() ? "it is no file" : reason));
    return Manifest::File{path, stamp->size, *checksum};
}

/// A clip whose document waits, or is about to, as the database had it at the moment of the copy.
struct Waiting
{
    std::string owner;
    std::string document;
};

std::vector<Waiting> waitingIn(Database& database)
{
    std::vector<Waiting> result;
    Statement rows = database.prepare("SELECT owner, output FROM clips WHERE output<>'' AND state IN "
                                      "('publishing', 'offered') ORDER BY id");
    while (rows.step())
        result.push_back({rows.text(0), rows.text(1)});
    return result;
}

/// Copies a document, wherever it is on its way: to its hidden name it comes first, to its own one later, and
/// when its folder is removed, elsewhere with the folder. \return its path in the backup; empty when the
/// editor took it.
Outcome<std::string> copyDocument(const std::string& from, const std::string& to, const Waiting& clip)
{
    const std::string directory = OutputArea::directoryOf(clip.owner);
    std::error_code error;
    fs::create_directories(to + '/' + directory, error);
    for (const std::string& name : {OutputArea::hiddenName(clip.document), clip.document}) {
        for (const std::string& place : {directory, OutputArea::removalOf(clip.owner)}) {
            std::ifstream file(from + '/' + place + '/' + name, std::ios::binary);
            if (!file)
                continue;
            const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
            const std::string path = directory + '/' + name;
            if (file.bad())
                return failed(from + '/' + place + '/' + name + " cannot be read");
            if (const auto reason = filetools::writeNewFile(to + '/' + path, content); !reason.empty())
                return failed(reason);
            return path;
        }
    }
    if (!fs::is_directory(from, error))
        return failed(from + " is out of reach");
    return std::string();
}

/// Copies the database and looks through the copy.
Outcome<int> copyDatabase(const std::string& dataFolder, const std::string& target)
{
    const std::string file = dataFolder + '/' + kDatabase;
    if (walcheck::isDamaged(file + "-wal"))
        return failed("the log of the database is damaged; start the service, which mends it, and try again");
    Database(file, Database::Mode::Look).copyTo(target);
    Database copy(target, Database::Mode::Look);
    if (const auto problem = copy.problem(); !problem.empty())
        return failed("the database is damaged (" + problem +
                      "); start the service, which mends it, and try again");
    return Database::currentVersion();
}

Outcome<Report> fill(const std::string& folder, const std::string& dataFolder, const std::string& version)
{
    Manifest manifest;
    manifest.program = version;
    manifest.created = text::isoTime(text::now());
    std::vector<std::string> paths{kDatabase, kKept};
    const auto copied = copyDatabase(dataFolder, folder + '/' + kDatabase);
    if (!copied)
        return copied.refusal();
    manifest.database = *copied;
    Report report;
    {
        Database database(folder + '/' + kDatabase, Database::Mode::Look);
        const KeptData kept{database.generation(), FolderStore(database).list(),
                            ProfileStore(database).list()};
        if (const auto reason = filetools::writeNewFile(folder + '/' + kKept, keptdocument::write(kept));
            !reason.empty())
            return failed(reason);
        for (const auto& clip : waitingIn(database)) {
            const auto path = copyDocument(dataFolder + '/' + kOutput, folder + '/' + kOutput, clip);
            if (!path)
                return path.refusal();
            if (!path->empty())
                paths.push_back(std::string(kOutput) + '/' + *path);
        }
        report.documents = paths.size() - 2;
    }
    for (const auto& path : paths) {
        const auto file = described(folder, path);
        if (!file)
            return file.refusal();
        manifest.files.push_back(*file);
    }
    for (const auto& reason :
         {filetools::syncFile(folder + '/' + kDatabase),
          filetools::writeNewFile(folder + '/' + Manifest::kName, manifest.write()), syncFolder(folder)}) {
        if (!reason.empty())
            return failed(reason);
    }
    return report;
}

/// Copies what the manifest names and looks whether it is what was written.
std::optional<Refusal> takeOver(const std::string& source, const std::string& folder,
                                const Manifest& manifest)
{
    for (const auto& file : manifest.files) {
        const std::string from = source + '/' + file.path;
        const std::string to = folder + '/' + file.path;
        std::error_code error;
        fs::create_directories(directoryOf(to), error);
        // Without a link: what it leads to may be another file the next moment.
        const bool isFile = filetools::stampOfUnlinked(from).has_value();
        if (!isFile || !fs::copy_file(from, to, error))
            return failed(from + (error ? ": " + error.message() : " is missing"));
        ::chmod(to.c_str(), 0600);
        const auto copied = described(folder, file.path);
        if (!copied)
            return copied.refusal();
        if (copied->size != file.size || copied->checksum != file.checksum)
            return failed(from + " is not what was written into the backup");
        if (auto reason = filetools::syncFile(to); !reason.empty())
            return failed(reason);
    }
    std::error_code error;
    fs::create_directories(folder + '/' + kOutput + "/jobs", error);
    if (error)
        return failed(folder + ": " + error.message());
    if (auto reason = syncFolder(folder); !reason.empty())
        return failed(reason);
    return std::nullopt;
}

/// True when nothing but the lock is in the folder.
bool isEmpty(const std::string& folder)
{
    std::error_code error;
    const fs::directory_iterator all(folder, error);
    return !error && std::all_of(begin(all), end(all), [](const fs::directory_entry& entry) {
        return entry.path().filename() == kLock;
    });
}

/// Puts \a fresh into the place of \a former, and that into the place of \a fresh, in one step where the
/// volume can. An empty text or the reason; then all is as it was.
std::string exchange(const std::string& fresh, const std::string& former)
{
    if (::renameat2(AT_FDCWD, fresh.c_str(), AT_FDCWD, former.c_str(), RENAME_EXCHANGE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return former + " cannot be replaced: " + text::errnoText(errno);
    const std::string between = aside::nameFor(former, "replaced");
    if (std::rename(former.c_str(), between.c_str()) != 0)
        return former + " cannot be replaced: " + text::errnoText(errno);
    if (std::rename(fresh.c_str(), former.c_str()) != 0) {
        const int error = errno;
        std::rename(between.c_str(), former.c_str());
        return former + " cannot be replaced: " + text::errnoText(error);
    }
    std::rename(between.c_str(), fresh.c_str());
    return {};
}

} // namespace

Outcome<Report> make(const std::string& dataFolder, const std::string& target, const std::string& version)
{
    const std::string folder = plainPath(target);
    std::error_code error;
    if (fs::symlink_status(folder, error).type() != fs::file_type::not_found)
        return failed(folder + " is there already; name a folder that is not");
    if (!fs::exists(dataFolder + '/' + kDatabase, error))
        return failed("there is no database in " + dataFolder);
    const std::string hidden = directoryOf(folder) + "/." + text::baseName(folder);
    Unfinished unfinished(aside::nameFor(hidden, "unfinished"));
    if (const auto reason = unfinished.make(); !reason.empty())
        return failed(reason);
    try {
        auto report = fill(unfinished.path(), dataFolder, version);
        if (!report)
            return report.refusal();
        if (const int code = filetools::renameNoReplace(unfinished.path(), folder))
            return failed(folder + ": " + text::errnoText(code));
        unfinished.keep();
        report->folder = folder;
        report->warning = filetools::syncDirectory(directoryOf(folder));
        return report;
    } catch (const DatabaseError& failure) {
        return failed(failure.what());
    }
}

Outcome<Report> restore(const std::string& source, const std::string& dataFolder, bool setsAside)
{
    const std::string from = plainPath(source);
    std::ifstream file(from + '/' + Manifest::kName, std::ios::binary);
    if (!file)
        return failed(from + " is no backup: " + Manifest::kName + " is missing");
    const auto manifest =
        Manifest::read(std::string{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    if (!manifest)
        return failed(from + " cannot be taken back: " + manifest.refusal().text);
    if (manifest->database > Database::currentVersion())
        return failed(from + " was made by a newer krx-service (" + manifest->program + ")");

    DataLock lock;
    bool inUse = false;
    if (const auto reason = lock.acquire(dataFolder, inUse); !reason.empty())
        return Refusal{inUse ? kInUse : 1, reason};
    const std::string folder = text::canonicalPath(dataFolder);
    const bool isFresh = isEmpty(folder);
    if (!isFresh && !setsAside)
        return failed(folder + " holds data already; with --set-aside they are kept beside it");
    if (text::isBelow(from, folder))
        return failed(from + " lies in the data folder itself");

    Unfinished unfinished(aside::nameFor(folder, "restoring"));
    if (const auto reason = unfinished.make(); !reason.empty())
        return failed(reason);
    if (const auto refusal = takeOver(from, unfinished.path(), *manifest))
        return *refusal;
    if (const auto reason = exchange(unfinished.path(), folder); !reason.empty())
        return failed(reason);
    // From here on the former data are where the new ones were made.
    unfinished.keep();
    Report report;
    report.folder = folder;
    report.documents = static_cast<std::size_t>(
        std::count_if(manifest->files.begin(), manifest->files.end(),
                      [](const Manifest::File& one) { return one.path.rfind(kOutput, 0) == 0; }));
    report.warning = filetools::syncDirectory(directoryOf(folder));
    if (isFresh) {
        // What somebody put there meanwhile stays.
        ::unlink((unfinished.path() + '/' + kLock).c_str());
        if (::rmdir(unfinished.path().c_str()) == 0)
            return report;
    }
    report.keptAs = aside::nameFor(folder, "before-restore");
    if (filetools::renameNoReplace(unfinished.path(), report.keptAs) != 0)
        report.keptAs = unfinished.path();
    return report;
}

} // namespace krxservice::backup

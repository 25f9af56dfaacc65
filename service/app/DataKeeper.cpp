#include "app/DataKeeper.h"

#include "base/FileTools.h"
#include "base/Log.h"
#include "base/Text.h"
#include "files/Aside.h"
#include "store/WalCheck.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace krxservice {

namespace {

constexpr char kDamaged[] = "damaged";

std::int64_t sizeOf(const std::string& file)
{
    struct stat facts
    {
    };
    return ::stat(file.c_str(), &facts) == 0 ? facts.st_size : -1;
}

/// The second copy; \a isKept is false where there is none. Whatever stands in its place is not waited for.
Outcome<KeptData> readKept(const std::string& path, bool& isKept)
{
    const filetools::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    isKept = file.isOpen() || errno != ENOENT;
    if (!isKept)
        return KeptData();
    struct stat facts
    {
    };
    if (!file.isOpen() || ::fstat(file.get(), &facts) != 0)
        return Refusal{500, errno == ELOOP ? "it is a link" : text::errnoText(errno)};
    if (!S_ISREG(facts.st_mode))
        return Refusal{500, "it is no file"};
    std::string content(static_cast<std::size_t>(facts.st_size), '\0');
    std::size_t size = 0;
    while (size < content.size()) {
        const ssize_t got = ::read(file.get(), content.data() + size, content.size() - size);
        if (got < 0 && errno != EINTR)
            return Refusal{500, text::errnoText(errno)};
        if (got == 0)
            break;
        size += got > 0 ? static_cast<std::size_t>(got) : 0;
    }
    content.resize(size);
    return keptdocument::read(content);
}

} // namespace

DataKeeper::DataKeeper(const std::string& folder)
    : m_file(folder + "/krx-service.db")
    , m_keptFile(folder + "/krx-service.kept.xml")
{
    m_isLogDamaged = walcheck::isDamaged(m_file + "-wal");
    if (m_isLogDamaged) {
        // SQLite drops what stands behind the damaged place, so both files are copied as they are.
        const std::string copy = aside::nameFor(m_file, kDamaged);
        std::error_code error;
        std::filesystem::copy_file(m_file, copy, error);
        std::filesystem::copy_file(m_file + "-wal", copy + "-wal", error);
        m_messages.push_back("The log of the database was damaged, its last changes may be missing; it was "
                             "kept as " +
                             copy + "-wal");
    }
    // A missing or emptied database with a log beside it: SQLite would delete the log.
    if (sizeOf(m_file) <= 0 && sizeOf(m_file + "-wal") > 0)
        setAside("was empty beside a log of changes");
    try {
        open();
    } catch (const DatabaseError& failure) {
        if (!failure.isDamage())
            throw;
        m_database.reset();
        setAside(std::string("cannot be read (") + failure.what() + ')');
        open();
    }
}

void DataKeeper::open()
{
    m_database = std::make_unique<Database>(m_file);
    const std::string problem = m_database->isNew() ? std::string() : m_database->problem();
    if (!problem.empty())
        m_messages.push_back(rebuild(problem));
}

std::string DataKeeper::rebuild(const std::string& problem)
{
    const auto rebuilt = m_database->rebuild();
    m_isLossy = m_isLossy || !rebuilt.isWhole;
    return (rebuilt.isWhole ? "An index of the database was damaged and was made anew, nothing is lost ("
                            : "The database was damaged, what could not be read is lost (") +
           problem + "); it was kept as " + rebuilt.keptAs;
}

void DataKeeper::setAside(const std::string& why)
{
    m_messages.push_back("The database " + why + "; it was kept as " + Database::setAside(m_file));
}

void DataKeeper::restore(FolderStore& folders, ProfileStore& profiles, ErrorStore& errors)
{
    bool isKept = true;
    const auto kept = readKept(m_keptFile, isKept);
    if (!kept) {
        std::string error;
        const std::string name = aside::keep(m_keptFile, kDamaged, error);
        m_messages.push_back("The second copy of folders and profiles cannot be read (" +
                             kept.refusal().text + "); it was kept as " + name);
    } else if (isKept) {
        m_saved = kept->generation;
        if (m_database->isNew() || m_isLossy || kept->generation > m_database->generation()) {
            Transaction transaction(*m_database);
            for (const auto& profile : kept->profiles)
                profiles.create(profile);
            for (const auto& folder : kept->folders)
                folders.restore(folder);
            m_database->setGeneration(kept->generation + 1);
            transaction.commit();
            m_messages.push_back("The database had lost changes: " + std::to_string(kept->folders.size()) +
                                 " folders and " + std::to_string(kept->profiles.size()) +
                                 " profiles were taken back from " + m_keptFile);
        }
    }
    for (const auto& message : m_messages)
        errors.add(message);
    m_messages.clear();
}

std::string DataKeeper::save(FolderStore& folders, ProfileStore& profiles)
{
    KeptData data;
    {
        const auto lock = m_database->lock();
        data.generation = m_database->generation();
        if (data.generation == m_saved)
            return {};
        data.folders = folders.list();
        data.profiles = profiles.list();
    }
    const std::string hidden = m_keptFile + ".tmp";
    ::unlink(hidden.c_str());
    if (auto reason = filetools::writeNewFile(hidden, keptdocument::write(data)); !reason.empty())
        return reason;
    if (std::rename(hidden.c_str(), m_keptFile.c_str()) != 0)
        return m_keptFile + " cannot be replaced";
    m_saved = data.generation;
    return filetools::syncDirectory(m_keptFile.substr(0, m_keptFile.rfind('/')));
}

void DataKeeper::mend(ErrorStore& errors)
{
    if (!m_database->isDamaged() || m_gaveUp)
        return;
    try {
        errors.add(rebuild("met while running"));
    } catch (const DatabaseError& failure) {
        m_gaveUp = true;
        errors.add(std::string("The database is damaged and cannot be mended: ") + failure.what());
    }
}

} // namespace krxservice

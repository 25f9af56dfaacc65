#include "store/ErrorStore.h"

#include "base/Log.h"
#include "base/Text.h"

namespace krxservice {

void ErrorStore::add(const std::string& text)
{
    const std::string line = text::xmlClean(text::oneLine(text));
    try {
        Transaction transaction(m_database);
        m_database.prepare("INSERT OR IGNORE INTO errors(text) VALUES(?)").bind(line).run();
        if (m_database.changes() == 0)
            return;
        m_database.prepare("DELETE FROM errors WHERE seq <= (SELECT max(seq) FROM errors) - ?")
            .bind(std::int64_t(kMostErrors))
            .run();
        transaction.commit();
    } catch (const DatabaseError& failure) {
        log::error(std::string("the error list cannot be written: ") + failure.what());
    }
    log::error(line);
}

void ErrorStore::remove(const std::string& text)
{
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM errors WHERE text=?").bind(text::xmlClean(text::oneLine(text))).run();
}

void ErrorStore::removeStarting(const std::string& start)
{
    const std::string clean = text::xmlClean(text::oneLine(start));
    const auto lock = m_database.lock();
    m_database.prepare("DELETE FROM errors WHERE substr(text, 1, length(?))=?").bind(clean).bind(clean).run();
}

std::string ErrorStore::refusedStart(const std::string& path)
{
    return "The file " + path + " is not offered: ";
}

std::string ErrorStore::notedStart(const std::string& path)
{
    return "The clip " + path + ": ";
}

std::vector<std::string> ErrorStore::list()
{
    const auto lock = m_database.lock();
    std::vector<std::string> errors;
    Statement rows = m_database.prepare("SELECT text FROM errors ORDER BY seq");
    while (rows.step())
        errors.push_back(rows.text(0));
    return errors;
}

std::vector<std::string> ErrorStore::takeAll()
{
    Transaction transaction(m_database);
    auto errors = list();
    m_database.execute("DELETE FROM errors");
    transaction.commit();
    return errors;
}

} // namespace krxservice

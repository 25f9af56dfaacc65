#pragma once

#include <QString>

#include <map>
#include <memory>
#include <utility>
#include <vector>

/// The records that a manager owns, by identifier, in plain order of the identifiers.
///
/// Callers hold pointers to records between requests. A record that another one of the same identifier merely
/// takes the place of is therefore kept alive (retired) until the cache is cleared.
template <class Record>
class KRXRecordCache
{
public:
    /// Puts \a record in the place of an earlier one of the same identifier, which is retired.
    void store(const QString& id, std::unique_ptr<Record> record)
    {
        std::unique_ptr<Record>& place = slot(id);
        if (place)
            m_retired.push_back(std::move(place));
        place = std::move(record);
    }

    /// Puts \a record in the place of an earlier one of the same identifier, which is deleted.
    void replace(const QString& id, std::unique_ptr<Record> record) { slot(id) = std::move(record); }

    /// Deletes the record of that identifier, if there is one.
    void remove(const QString& id)
    {
        m_records.erase(id);
        m_order.clear();
    }

    /// Deletes every record, retired ones included.
    void clear()
    {
        m_order.clear();
        m_records.clear();
        m_retired.clear();
    }

    int size() const { return static_cast<int>(m_records.size()); }

    /// The record of that identifier; null when there is none. The cache keeps it.
    Record* find(const QString& id) const
    {
        const auto found = m_records.find(id);
        return found == m_records.end() ? nullptr : found->second.get();
    }

    /// The record at a position of the order; null outside it. The cache keeps it.
    Record* at(int index) const
    {
        if (index < 0 || index >= size())
            return nullptr;
        return order()[static_cast<std::size_t>(index)];
    }

    /// Every identifier with its record, in order.
    const std::map<QString, std::unique_ptr<Record>>& entries() const { return m_records; }

private:
    using Records = std::map<QString, std::unique_ptr<Record>>;

    std::unique_ptr<Record>& slot(const QString& id)
    {
        m_order.clear();
        // Sorted answers are the rule, so the end is the best guess.
        return m_records.try_emplace(m_records.end(), id)->second;
    }

    /// Positions, made on the first walk after a change so that walks are linear.
    const std::vector<Record*>& order() const
    {
        if (m_order.size() != m_records.size()) {
            m_order.clear();
            m_order.reserve(m_records.size());
            for (const auto& entry : m_records)
                m_order.push_back(entry.second.get());
        }
        return m_order;
    }

    Records m_records;
    std::vector<std::unique_ptr<Record>> m_retired;
    mutable std::vector<Record*> m_order;
};

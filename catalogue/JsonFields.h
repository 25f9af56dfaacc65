#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>

/// Reading a JSON document field by field, with errors that name the field. Inside this library only.
namespace KRXCatalogue {

/// One object of a document. Every object of a document shares one error: the first thing that was wrong.
/// Once there is an error, everything read is empty and what is read does not matter any more.
class JsonFields
{
public:
    /// \param object what is read. \param place where it stands, for example "compressions[3]"; empty for the
    /// document itself. \param error shared by the document; outlives this.
    JsonFields(const QJsonObject& object, const QString& place, QString* error);

    bool has(const char* field) const;
    /// A text that must be there and not be empty.
    QString text(const char* field);
    /// A whole number that must be there and lie between \a least and \a most.
    qint64 number(const char* field, qint64 least, qint64 most);
    /// As number(), but \a absent when the field is not there.
    qint64 number(const char* field, qint64 least, qint64 most, qint64 absent);
    bool flag(const char* field, bool absent);
    /// Empty when the field is not there.
    QList<qint64> numbers(const char* field, qint64 least, qint64 most);
    QStringList texts(const char* field);
    /// One of the texts of \a choices. \return its index.
    int choice(const char* field, const QStringList& choices);
    /// Calls \a read for every object of a list; the list may be absent.
    void objects(const char* field, const std::function<void(JsonFields&)>& read);
    /// Calls \a read for the object of that name, which must be there.
    void object(const char* field, const std::function<void(JsonFields&)>& read);

    /// Reports a field, unless something was reported before.
    void fail(const char* field, const QString& what);
    /// Reports fields that are none of \a known, so that a slip of the pen is found.
    void allowOnly(const QStringList& known);
    bool failed() const { return !m_error->isEmpty(); }

private:
    QString placeOf(const QString& field) const;
    void failAt(const QString& place, const QString& what);
    bool wholeNumber(const QJsonValue& value, const QString& place, qint64 least, qint64 most,
                     qint64& number);

    QJsonObject m_object;
    QString m_place;
    QString* m_error;
};

} // namespace KRXCatalogue

#include "JsonFields.h"

#include <cmath>

namespace KRXCatalogue {

JsonFields::JsonFields(const QJsonObject& object, const QString& place, QString* error)
    : m_object(object)
    , m_place(place)
    , m_error(error)
{
}

bool JsonFields::has(const char* field) const
{
    return m_object.contains(QLatin1String(field));
}

QString JsonFields::text(const char* field)
{
    const QString text = m_object.value(QLatin1String(field)).toString();
    if (text.isEmpty())
        fail(field, QStringLiteral("must be a text that is not empty"));
    return text;
}

qint64 JsonFields::number(const char* field, qint64 least, qint64 most)
{
    qint64 number = least;
    wholeNumber(m_object.value(QLatin1String(field)), placeOf(QLatin1String(field)), least, most, number);
    return number;
}

qint64 JsonFields::number(const char* field, qint64 least, qint64 most, qint64 absent)
{
    return has(field) ? number(field, least, most) : absent;
}

bool JsonFields::flag(const char* field, bool absent)
{
    const QJsonValue value = m_object.value(QLatin1String(field));
    if (!value.isUndefined() && !value.isBool())
        fail(field, QStringLiteral("must be true or false"));
    return value.toBool(absent);
}

QList<qint64> JsonFields::numbers(const char* field, qint64 least, qint64 most)
{
    QList<qint64> numbers;
    const QJsonValue value = m_object.value(QLatin1String(field));
    if (!value.isUndefined() && !value.isArray())
        fail(field, QStringLiteral("must be a list of whole numbers"));
    const QJsonArray values = value.toArray();
    for (int i = 0; i < values.size(); ++i) {
        const QString place = QStringLiteral("%1[%2]").arg(placeOf(QLatin1String(field)), QString::number(i));
        qint64 number = 0;
        if (wholeNumber(values.at(i), place, least, most, number))
            numbers.append(number);
    }
    return numbers;
}

QStringList JsonFields::texts(const char* field)
{
    QStringList texts;
    const QJsonValue value = m_object.value(QLatin1String(field));
    if (!value.isUndefined() && !value.isArray())
        fail(field, QStringLiteral("must be a list of texts"));
    const QJsonArray values = value.toArray();
    for (const QJsonValue& entry : values) {
        if (!entry.isString())
            fail(field, QStringLiteral("must be a list of texts"));
        texts.append(entry.toString());
    }
    return texts;
}

int JsonFields::choice(const char* field, const QStringList& choices)
{
    const int index = choices.indexOf(m_object.value(QLatin1String(field)).toString());
    if (index < 0)
        fail(field, QStringLiteral("must be one of %1").arg(choices.join(QLatin1String(", "))));
    return index;
}

void JsonFields::objects(const char* field, const std::function<void(JsonFields&)>& read)
{
    const QJsonValue value = m_object.value(QLatin1String(field));
    if (!value.isUndefined() && !value.isArray())
        fail(field, QStringLiteral("must be a list of objects"));
    const QJsonArray values = value.toArray();
    for (int i = 0; i < values.size(); ++i) {
        const QString place = QStringLiteral("%1[%2]").arg(placeOf(QLatin1String(field)), QString::number(i));
        if (!values.at(i).isObject())
            failAt(place, QStringLiteral("must be an object"));
        JsonFields fields(values.at(i).toObject(), place, m_error);
        read(fields);
    }
}

void JsonFields::object(const char* field, const std::function<void(JsonFields&)>& read)
{
    const QJsonValue value = m_object.value(QLatin1String(field));
    if (!value.isObject())
        fail(field, QStringLiteral("must be an object"));
    JsonFields fields(value.toObject(), placeOf(QLatin1String(field)), m_error);
    read(fields);
}

void JsonFields::fail(const char* field, const QString& what)
{
    failAt(placeOf(QLatin1String(field)), what);
}

void JsonFields::allowOnly(const QStringList& known)
{
    const QStringList fields = m_object.keys();
    for (const QString& field : fields) {
        if (!known.contains(field))
            failAt(placeOf(field), QStringLiteral("is not a field that is known here"));
    }
}

QString JsonFields::placeOf(const QString& field) const
{
    return m_place.isEmpty() ? field : QString(m_place + QLatin1Char('.') + field);
}

void JsonFields::failAt(const QString& place, const QString& what)
{
    if (!failed())
        *m_error = QStringLiteral("%1: %2").arg(place, what);
}

bool JsonFields::wholeNumber(const QJsonValue& value, const QString& place, qint64 least, qint64 most,
                             qint64& number)
{
    const double given = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (!(given >= double(least) && given <= double(most)) || given != std::floor(given)) {
        failAt(place, QStringLiteral("must be a whole number from %1 to %2")
                          .arg(QString::number(least), QString::number(most)));
        return false;
    }
    number = static_cast<qint64>(given);
    return true;
}

} // namespace KRXCatalogue

#include "ServiceClip.h"

#include <QCoreApplication>
#include <QXmlStreamReader>

#include <array>

namespace serviceclip {

namespace {

/// The reason by which the service tells what was cancelled from what failed.
constexpr char kWasCancelled[] = "Was cancelled";
constexpr double kMostSeconds = 1e9; ///< that anything may be said to take

struct Word
{
    const char* wire;
    const char* text;
};

/// In the order of the states.
constexpr std::array<Word, 13> kWords = {{
    {"FOUND", QT_TRANSLATE_NOOP("ServiceClip", "Found")},
    {"GROWING", QT_TRANSLATE_NOOP("ServiceClip", "Growing")},
    {"OPEN", QT_TRANSLATE_NOOP("ServiceClip", "Open elsewhere")},
    {"SETTLING", QT_TRANSLATE_NOOP("ServiceClip", "Settling")},
    {"WAITING", QT_TRANSLATE_NOOP("ServiceClip", "Waiting")},
    {"ACTING", QT_TRANSLATE_NOOP("ServiceClip", "Working")},
    {"PUBLISHING", QT_TRANSLATE_NOOP("ServiceClip", "Publishing")},
    {"OFFERED", QT_TRANSLATE_NOOP("ServiceClip", "Ready")},
    {"TAKEN", QT_TRANSLATE_NOOP("ServiceClip", "Taken")},
    {"FAILED", QT_TRANSLATE_NOOP("ServiceClip", "Failed")},
    {"REJECTED", QT_TRANSLATE_NOOP("ServiceClip", "Not offered")},
    {"GONE", QT_TRANSLATE_NOOP("ServiceClip", "Gone")},
    {"CANCELLED", QT_TRANSLATE_NOOP("ServiceClip", "Cancelled")},
}};

ClipState stateOf(const QString& word)
{
    for (std::size_t i = 0; i < kWords.size(); ++i) {
        if (word == QLatin1String(kWords[i].wire))
            return static_cast<ClipState>(i);
    }
    // A newer service may know more; what it calls so is on its way.
    return ClipState::Found;
}

qint64 milliseconds(const QString& seconds)
{
    return static_cast<qint64>(qBound(0.0, seconds.toDouble(), kMostSeconds) * 1000);
}

void readField(QXmlStreamReader& xml, const ClockReading& now, ServiceClip& clip)
{
    struct TextField
    {
        const char* name;
        QString ServiceClip::*field;
    };
    static constexpr std::array<TextField, 10> texts = {{
        {"id", &ServiceClip::id},
        {"name", &ServiceClip::name},
        {"path", &ServiceClip::path},
        {"folderId", &ServiceClip::folderId},
        {"jobId", &ServiceClip::jobId},
        {"profileID", &ServiceClip::profileId},
        {"reason", &ServiceClip::reason},
        {"guid", &ServiceClip::guid},
        {"job", &ServiceClip::shownBy},
        {"activity", &ServiceClip::activity},
    }};
    struct TimeField
    {
        const char* name;
        qint64 ServiceClip::*field;
    };
    static constexpr std::array<TimeField, 2> times = {{
        {"since", &ServiceClip::since},
        {"started", &ServiceClip::started},
    }};
    const QString name = xml.name().toString();
    const QString text = xml.readElementText(QXmlStreamReader::SkipChildElements);
    for (const auto& each : texts) {
        if (name == QLatin1String(each.name))
            clip.*each.field = text;
    }
    for (const auto& each : times) {
        if (name == QLatin1String(each.name))
            clip.*each.field = now.steadyOf(QDateTime::fromString(text, Qt::ISODateWithMs));
    }
    if (name == QLatin1String("state"))
        clip.state = stateOf(text);
    else if (name == QLatin1String("percentComplete"))
        clip.percent = qBound(0, text.toInt(), 100);
    else if (name == QLatin1String("settlesIn"))
        clip.settles = QDeadlineTimer(milliseconds(text));
    else if (name == QLatin1String("took"))
        clip.took = milliseconds(text);
}

} // namespace

bool read(const QByteArray& body, ClipNews& news, int& total, quint64& version, const ClockReading& now)
{
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("clipList"))
        return false;
    total = xml.attributes().value(QLatin1String("total")).toInt();
    news.known = xml.attributes().value(QLatin1String("known")).toInt();
    version = xml.attributes().value(QLatin1String("version")).toULongLong();
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("clip")) {
            xml.skipCurrentElement();
            continue;
        }
        ServiceClip clip;
        while (xml.readNextStartElement())
            readField(xml, now, clip);
        if (clip.state == ClipState::Failed && clip.reason == QLatin1String(kWasCancelled))
            clip.state = ClipState::Cancelled;
        news.clips.append(clip);
    }
    return !xml.hasError();
}

QString text(ClipState state)
{
    return QCoreApplication::translate("ServiceClip", kWords[static_cast<std::size_t>(state)].text);
}

} // namespace serviceclip

#include "Rehearsal.h"

#include <QCoreApplication>
#include <QLocale>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

QString textOf(QXmlStreamReader& xml)
{
    return xml.readElementText(QXmlStreamReader::SkipChildElements);
}

/// "25/1" and "30000/1001" as people write them.
QString rateText(const QString& rate)
{
    const double over = rate.section(QLatin1Char('/'), 0, 0).toDouble();
    const double under = rate.section(QLatin1Char('/'), 1, 1).toDouble();
    if (over <= 0 || under <= 0)
        return QString();
    const QString number = QString::number(over / under, 'f', 3);
    const int digits = number.endsWith(QLatin1String(".000")) ? 0 : 2;
    return QCoreApplication::translate("Rehearsal", "%1 fps")
        .arg(QLocale().toString(over / under, 'f', digits));
}

/// What a person wants to know of a stream; empty for one that is neither picture nor sound.
QString streamText(QXmlStreamReader& xml)
{
    QString type;
    QStringList texts;
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        QString text = textOf(xml);
        if (name == QLatin1String("type"))
            type = text;
        else if (name == QLatin1String("frameRate"))
            texts << rateText(text);
        else if (name == QLatin1String("channels"))
            texts << (text == QLatin1String("1")
                          ? QCoreApplication::translate("Rehearsal", "1 channel")
                          : QCoreApplication::translate("Rehearsal", "%1 channels").arg(text));
        else
            texts << text;
    }
    texts.removeAll(QString());
    return type == QLatin1String("video") || type == QLatin1String("audio") ? texts.join(QLatin1Char(' '))
                                                                            : QString();
}

void readClip(QXmlStreamReader& xml, Rehearsal& run)
{
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        if (name == QLatin1String("stream")) {
            const QString stream = streamText(xml);
            if (!stream.isEmpty())
                run.facts << stream;
            continue;
        }
        const QString text = textOf(xml);
        if (name == QLatin1String("name"))
            run.clip = text;
        else if (name == QLatin1String("files") && text != QLatin1String("1"))
            run.facts << QCoreApplication::translate("Rehearsal", "%1 files").arg(text);
        else if (name == QLatin1String("bytes"))
            run.facts << QLocale().formattedDataSize(text.toLongLong());
        else if (name == QLatin1String("duration"))
            run.facts << QCoreApplication::translate("Rehearsal", "%1 s")
                             .arg(QLocale().toString(text.toDouble(), 'f', 2));
        else if (name == QLatin1String("timecode") || name == QLatin1String("note"))
            run.facts << text;
    }
}

Rehearsal::Step readStep(QXmlStreamReader& xml)
{
    Rehearsal::Step step;
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        if (name == QLatin1String("result")) {
            Rehearsal::Result result;
            while (xml.readNextStartElement()) {
                if (xml.name() == QLatin1String("path"))
                    result.path = textOf(xml);
                else if (xml.name() == QLatin1String("bytes"))
                    result.bytes = textOf(xml).toLongLong();
                else
                    xml.skipCurrentElement();
            }
            step.results.append(result);
            continue;
        }
        const QString text = textOf(xml);
        if (name == QLatin1String("name"))
            step.name = text;
        else if (name == QLatin1String("reason"))
            step.reason = text;
        else if (name == QLatin1String("seconds"))
            step.seconds = text.toDouble();
        else if (name == QLatin1String("verdict"))
            step.verdict = text == QLatin1String("WILL_DO")     ? Rehearsal::Verdict::WillDo
                           : text == QLatin1String("WILL_SKIP") ? Rehearsal::Verdict::WillSkip
                                                                : Rehearsal::Verdict::Cannot;
    }
    return step;
}

} // namespace

bool Rehearsal::read(const QByteArray& body, Rehearsal& run)
{
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("dryRun"))
        return false;
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        if (name == QLatin1String("path"))
            run.path = textOf(xml);
        else if (name == QLatin1String("reason"))
            run.reason = textOf(xml);
        else if (name == QLatin1String("clip"))
            readClip(xml, run);
        else if (name == QLatin1String("activity"))
            run.steps.append(readStep(xml));
        else
            xml.skipCurrentElement();
    }
    return !xml.hasError();
}

QByteArray Rehearsal::request(const QString& path)
{
    QByteArray document;
    QXmlStreamWriter xml(&document);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("dryRunRequest"));
    xml.writeTextElement(QStringLiteral("path"), path);
    xml.writeEndElement();
    xml.writeEndDocument();
    return document;
}

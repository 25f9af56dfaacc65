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

/// Elements of one text each, by their names.
QString joined(QXmlStreamReader& xml)
{
    QStringList texts;
    while (xml.readNextStartElement())
        texts << textOf(xml);
    return texts.join(QLatin1String(", "));
}

void readClip(QXmlStreamReader& xml, Rehearsal& run)
{
    while (xml.readNextStartElement()) {
        const QString name = xml.name().toString();
        if (name == QLatin1String("stream")) {
            run.facts << joined(xml);
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
            run.facts << QCoreApplication::translate("Rehearsal", "%1 s").arg(text);
        else if (name == QLatin1String("kind") || name == QLatin1String("timecode") ||
                 name == QLatin1String("note"))
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

#include "LinkDocument.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QXmlStreamReader>

namespace {

constexpr int kMaxDepth = 64;

QString tr(const char* text)
{
    return QCoreApplication::translate("LinkDocument", text);
}

/// What is read before it is put in order.
struct RawDocument
{
    LinkDocument document;
    QString folder;
    QString duration;
    QString format;
    QString clipChecksum;
    QString sourceChecksum;
    QString selection;
    QString naming;
    QStringList streamTypes;
};

/// One element by its path from the root, and where its text goes. The first of a kind counts.
struct Field
{
    QLatin1String path;
    QString RawDocument::*raw;
    QString LinkDocument::*field;
};

const Field kFields[] = {
    {QLatin1String("xel/id"), nullptr, &LinkDocument::id},
    {QLatin1String("xel/folder"), &RawDocument::folder, nullptr},
    {QLatin1String("xel/clip/path"), nullptr, &LinkDocument::mediaPath},
    {QLatin1String("xel/clip/checksum"), &RawDocument::clipChecksum, nullptr},
    {QLatin1String("xel/source/path"), nullptr, &LinkDocument::sourcePath},
    {QLatin1String("xel/source/checksum"), &RawDocument::sourceChecksum, nullptr},
    {QLatin1String("xel/media/duration"), &RawDocument::duration, nullptr},
    {QLatin1String("xel/media/format"), &RawDocument::format, nullptr},
    {QLatin1String("xel/profile/profileName"), nullptr, &LinkDocument::profileName},
    {QLatin1String("xel/profile/profileSettings/binDetail/binSelectionMethod"), &RawDocument::selection,
     nullptr},
    {QLatin1String("xel/profile/profileSettings/binDetail/binNamingMethod"), &RawDocument::naming, nullptr},
    {QLatin1String("xel/profile/profileSettings/binDetail/binExplicitName"), nullptr,
     &LinkDocument::explicitBin},
};
const QLatin1String kStream("xel/media/stream");

QString* fieldAt(RawDocument& raw, const QString& path)
{
    for (const Field& field : kFields) {
        if (field.path == path)
            return field.raw ? &(raw.*field.raw) : &(raw.document.*field.field);
    }
    return nullptr;
}

bool readRaw(QXmlStreamReader& xml, RawDocument& raw)
{
    QStringList path;
    while (!xml.atEnd()) {
        switch (xml.readNext()) {
        case QXmlStreamReader::DTD:
            xml.raiseError(tr("it has a document type"));
            break;
        case QXmlStreamReader::StartElement: {
            path.append(xml.name().toString());
            if (path.size() > kMaxDepth)
                xml.raiseError(tr("it is nested too deeply"));
            const QString whole = path.join(QLatin1Char('/'));
            if (whole == kStream)
                raw.streamTypes << xml.attributes().value(QLatin1String("type")).toString();
            QString* text = fieldAt(raw, whole);
            if (text && text->isEmpty()) {
                *text = xml.readElementText(QXmlStreamReader::SkipChildElements);
                path.removeLast();
            }
            break;
        }
        case QXmlStreamReader::EndElement:
            path.removeLast();
            break;
        default:
            break;
        }
    }
    return !xml.hasError();
}

QString kindOf(const RawDocument& raw)
{
    // Demuxers of single pictures are named "image2", "png_pipe" and the like.
    if (raw.format.startsWith(QLatin1String("image2")) || raw.format.endsWith(QLatin1String("_pipe")))
        return QStringLiteral("image");
    for (const QLatin1String kind : {QLatin1String("video"), QLatin1String("audio")}) {
        if (raw.streamTypes.contains(kind))
            return kind;
    }
    return QString();
}

void putInOrder(RawDocument& raw)
{
    LinkDocument& document = raw.document;
    document.folderPath = raw.folder;
    document.clipName = QFileInfo(document.mediaPath).completeBaseName();
    document.kind = kindOf(raw);
    bool isNumber = false;
    const double seconds = raw.duration.toDouble(&isNumber);
    document.duration = isNumber && seconds >= 0 && document.kind != QLatin1String("image") ? seconds : -1;
    document.checked = !raw.clipChecksum.isEmpty() && raw.clipChecksum == raw.sourceChecksum &&
                       document.mediaPath != document.sourcePath;
    // Anything but the two words counts as the active bin and as the project's name.
    if (raw.selection == QLatin1String("CREATENEW"))
        document.binSelection = LinkDocument::BinSelection::CreateNew;
    if (raw.naming == QLatin1String("VOLUME"))
        document.binNaming = LinkDocument::BinNaming::Volume;
    else if (raw.naming == QLatin1String("EXPLICIT"))
        document.binNaming = LinkDocument::BinNaming::Explicit;
}

} // namespace

bool LinkDocument::read(const QString& path, LinkDocument& document, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
        return false;
    }
    const QByteArray text = file.read(kMaxSize + 1);
    if (text.size() > kMaxSize) {
        error = tr("it is too large for a link document");
        return false;
    }
    return parse(text, document, error);
}

bool LinkDocument::parse(const QByteArray& text, LinkDocument& document, QString& error)
{
    RawDocument raw;
    QXmlStreamReader xml(text);
    if (!readRaw(xml, raw)) {
        error =
            tr("it cannot be read (line %1: %2)").arg(QString::number(xml.lineNumber()), xml.errorString());
        return false;
    }
    if (raw.document.mediaPath.isEmpty()) {
        error = tr("it names no clip");
        return false;
    }
    putInOrder(raw);
    if (raw.document.id.isEmpty())
        raw.document.id =
            QString::fromLatin1(QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex());
    document = raw.document;
    return true;
}

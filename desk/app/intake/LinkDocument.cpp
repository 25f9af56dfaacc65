#include "LinkDocument.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <QXmlStreamReader>

#include <cmath>

namespace {

constexpr int kMaxDepth = 64;
constexpr int kLongestLine = 100; ///< characters of the missing numbers that are shown

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
    QString name;
    QString binMethod;
    QString binName;
    QString rate;
    QString frames;
    QString firstNumber;
    QString lastNumber;
    QString missing;
    QString check;
    QStringList streamTypes;
    QStringList groups;
    QStringList actions;
    int sidecars = 0;
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
    {QLatin1String("xel/clip/name"), &RawDocument::name, nullptr},
    {QLatin1String("xel/clip/bin"), &RawDocument::binName, nullptr},
    {QLatin1String("xel/clip/reelName"), nullptr, &LinkDocument::reel},
    {QLatin1String("xel/clip/startTimecode"), nullptr, &LinkDocument::start},
    {QLatin1String("xel/clip/frameRate"), &RawDocument::rate, nullptr},
    {QLatin1String("xel/clip/frameCount"), &RawDocument::frames, nullptr},
    {QLatin1String("xel/clip/sequence/firstNumber"), &RawDocument::firstNumber, nullptr},
    {QLatin1String("xel/clip/sequence/lastNumber"), &RawDocument::lastNumber, nullptr},
    {QLatin1String("xel/clip/sequence/missingNumbers"), &RawDocument::missing, nullptr},
    {QLatin1String("xel/clip/check"), &RawDocument::check, nullptr},
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
const QLatin1String kBin("xel/clip/bin");
const QLatin1String kGroup("xel/clip/trackGroups/group");
const QLatin1String kSidecar("xel/clip/sidecar");
const QLatin1String kActivity("xel/clip/activity");
const QLatin1String kNote("xel/clip/activity/note");

QString* fieldAt(RawDocument& raw, const QString& path)
{
    for (const Field& field : kFields) {
        if (field.path == path)
            return field.raw ? &(raw.*field.raw) : &(raw.document.*field.field);
    }
    return nullptr;
}

/// What stands in attributes, or more than once.
void readAttributes(const QXmlStreamReader& xml, const QString& path, RawDocument& raw)
{
    const QXmlStreamAttributes attributes = xml.attributes();
    const auto value = [&](const char* name) { return attributes.value(QLatin1String(name)).toString(); };
    if (path == kStream)
        raw.streamTypes << value("type");
    else if (path == kBin)
        raw.binMethod = value("method");
    else if (path == kGroup)
        raw.groups << QStringLiteral("%1-%2 %3").arg(value("first"), value("last"), value("layout"));
    else if (path == kSidecar)
        ++raw.sidecars;
    else if (path == kActivity)
        raw.actions << (value("check").isEmpty()
                            ? value("name")
                            : QStringLiteral("%1: %2").arg(value("name"), value("check")));
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
            readAttributes(xml, whole, raw);
            if (whole == kNote) {
                raw.actions << xml.readElementText(QXmlStreamReader::SkipChildElements);
                path.removeLast();
                break;
            }
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
    if (!raw.firstNumber.isEmpty())
        return QStringLiteral("sequence");
    // Demuxers of single pictures are named "image2", "png_pipe" and the like.
    if (raw.format.startsWith(QLatin1String("image2")) || raw.format.endsWith(QLatin1String("_pipe")))
        return QStringLiteral("image");
    for (const QLatin1String kind : {QLatin1String("video"), QLatin1String("audio")}) {
        if (raw.streamTypes.contains(kind))
            return kind;
    }
    return QString();
}

/// "25/1" and "24000/1001" as people write them.
QString rateText(const QString& fraction)
{
    const double rate = fraction.section(QLatin1Char('/'), 0, 0).toDouble() /
                        fraction.section(QLatin1Char('/'), 1, 1).toDouble();
    constexpr int digits = 5;
    return std::isfinite(rate) ? QString::number(rate, 'g', digits) : fraction;
}

QStringList detailsOf(const RawDocument& raw)
{
    QStringList lines;
    if (!raw.frames.isEmpty() && !raw.rate.isEmpty())
        lines << tr("%1 frames, %2 a second").arg(raw.frames, rateText(raw.rate));
    if (!raw.firstNumber.isEmpty())
        lines << tr("Pictures %1 to %2").arg(raw.firstNumber, raw.lastNumber);
    if (!raw.missing.isEmpty())
        lines << tr("Missing: %1")
                     .arg(raw.missing.size() > kLongestLine
                              ? raw.missing.left(kLongestLine) + QStringLiteral(" ...")
                              : raw.missing);
    if (!raw.groups.isEmpty())
        lines << tr("Tracks %1").arg(raw.groups.join(QStringLiteral(", ")));
    if (raw.sidecars > 0)
        lines << tr("Files that go with it: %1").arg(raw.sidecars);
    return lines + raw.actions;
}

void putInOrder(RawDocument& raw)
{
    LinkDocument& document = raw.document;
    document.folderPath = raw.folder;
    document.clipName = raw.name.isEmpty() ? QFileInfo(document.mediaPath).completeBaseName() : raw.name;
    document.details = detailsOf(raw);
    document.kind = kindOf(raw);
    bool isNumber = false;
    const double seconds = raw.duration.toDouble(&isNumber);
    document.duration = isNumber && seconds >= 0 && document.kind != QLatin1String("image") ? seconds : -1;
    document.checked = raw.check == QLatin1String("verified");
    // The first version of the document says it by equal checksums only.
    document.checked |= !raw.clipChecksum.isEmpty() && raw.clipChecksum == raw.sourceChecksum &&
                        document.mediaPath != document.sourcePath;
    // Anything but the two words counts as the active bin and as the project's name.
    if (raw.selection == QLatin1String("CREATENEW"))
        document.binSelection = LinkDocument::BinSelection::CreateNew;
    if (raw.naming == QLatin1String("VOLUME"))
        document.binNaming = LinkDocument::BinNaming::Volume;
    else if (raw.naming == QLatin1String("EXPLICIT"))
        document.binNaming = LinkDocument::BinNaming::Explicit;
    if (raw.binMethod.isEmpty())
        return;
    document.binSelection = raw.binMethod == QLatin1String("ACTIVE") ? LinkDocument::BinSelection::UseActive
                                                                     : LinkDocument::BinSelection::CreateNew;
    document.binNaming = LinkDocument::BinNaming::Default;
    if (raw.binMethod == QLatin1String("VOLUME"))
        document.binNaming = LinkDocument::BinNaming::Volume;
    if (raw.binMethod == QLatin1String("EXPLICIT")) {
        document.binNaming = LinkDocument::BinNaming::Explicit;
        document.explicitBin = raw.binName;
    }
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

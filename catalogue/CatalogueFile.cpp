#include "JsonFields.h"
#include "MediaCatalogue.h"

#include <QFile>
#include <QHash>
#include <QJsonDocument>
#include <QJsonParseError>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <limits>

namespace KRXCatalogue {
namespace {

constexpr qint64 kMaxInt = std::numeric_limits<int>::max();
constexpr qint64 kMaxId = std::numeric_limits<quint32>::max();
/// The largest whole number that JSON carries exactly.
constexpr qint64 kMaxBitrate = Q_INT64_C(1) << 53;
constexpr int kMaxColorSpace = 8;

const QStringList& definitionNames()
{
    static const QStringList names{QStringLiteral("SD"), QStringLiteral("HD"), QStringLiteral("custom")};
    return names;
}

enum Definition { SD, HD, Custom };

const QStringList& fieldNames()
{
    static const QStringList names{QStringLiteral("top first"), QStringLiteral("bottom first")};
    return names;
}

/// In the order of the chroma sampling codes.
const QStringList& samplingNames()
{
    static const QStringList names{QStringLiteral("4:4:4"), QStringLiteral("4:1:1"), QStringLiteral("4:2:0"),
                                   QStringLiteral("4:2:2")};
    return names;
}

/// In the order of the picture patterns, which count from 1.
const QStringList& patternNames()
{
    static const QStringList names{QStringLiteral("single pictures"), QStringLiteral("groups of pictures")};
    return names;
}

QList<int> intList(const QList<qint64>& numbers)
{
    QList<int> list;
    for (const qint64 number : numbers)
        list.append(static_cast<int>(number));
    return list;
}

QSize readFrame(JsonFields& fields)
{
    static const QRegularExpression form(QStringLiteral("^([1-9][0-9]{0,4})x([1-9][0-9]{0,4})$"));
    const QRegularExpressionMatch match = form.match(fields.text("frame"));
    if (!match.hasMatch())
        fields.fail("frame", QStringLiteral("must be width and height in pixels, for example \"1920x1080\""));
    return {match.captured(1).toInt(), match.captured(2).toInt()};
}

FrameRate readRate(JsonFields& fields)
{
    static const QRegularExpression form(QStringLiteral("^([1-9][0-9]{0,5})(?:/([1-9][0-9]{0,5}))?$"));
    const QRegularExpressionMatch match = form.match(fields.text("rate"));
    if (!match.hasMatch()) {
        fields.fail("rate",
                    QStringLiteral("must be frames per second, for example \"25\" or \"30000/1001\""));
        return {};
    }
    return {match.captured(1).toInt(), match.captured(2).isEmpty() ? 1 : match.captured(2).toInt()};
}

QHash<int, QList<int>> readRasters(JsonFields& fields)
{
    QHash<int, QList<int>> rasters;
    fields.objects("rasters", [&rasters](JsonFields& raster) {
        raster.allowOnly({QStringLiteral("option"), QStringLiteral("widths")});
        rasters.insert(static_cast<int>(raster.number("option", 0, kMaxInt)),
                       intList(raster.numbers("widths", 1, kMaxInt)));
    });
    return rasters;
}

/// Things of one family can be changed into one another; the family's members stand in the file's order.
template <class Id>
class Families
{
public:
    void add(const QString& family, Id member)
    {
        if (!family.isEmpty())
            m_members[family].append(member);
        m_families.append(family);
    }
    QList<Id> membersLike(int index) const { return m_members.value(m_families.at(index)); }

private:
    QHash<QString, QList<Id>> m_members;
    QStringList m_families;
};

QString familyOf(JsonFields& fields)
{
    return fields.has("family") ? fields.text("family") : QString();
}

void readProjectTypes(JsonFields& document, MediaCatalogue& catalogue)
{
    Families<int> families;
    QSet<int> codes;
    document.objects("projectTypes", [&](JsonFields& fields) {
        fields.allowOnly({QStringLiteral("code"), QStringLiteral("name"), QStringLiteral("enabled"),
                          QStringLiteral("definition"), QStringLiteral("frame"), QStringLiteral("rate"),
                          QStringLiteral("fields"), QStringLiteral("rasters"), QStringLiteral("colorSpaces"),
                          QStringLiteral("rgb"), QStringLiteral("family")});
        ProjectType type;
        type.code = static_cast<int>(fields.number("code", 1, kMaxInt));
        if (codes.contains(type.code))
            fields.fail("code", QStringLiteral("is taken by another project type"));
        codes.insert(type.code);
        type.name = fields.text("name");
        type.enabled = fields.flag("enabled", true);
        const int definition = fields.choice("definition", definitionNames());
        type.sd = definition == SD;
        type.hd = definition == HD;
        if ((definition == Custom) != (type.code == kCustomFormatProjectType))
            fields.fail("definition", QStringLiteral("is \"custom\" for code 26 and for no other"));
        if (definition != Custom) {
            type.frame = readFrame(fields);
            type.rate = readRate(fields);
            if (fields.has("fields"))
                type.fields =
                    fields.choice("fields", fieldNames()) == 0 ? Fields::TopFirst : Fields::BottomFirst;
        }
        type.rasters = readRasters(fields);
        type.colorSpaces = intList(fields.numbers("colorSpaces", 1, kMaxColorSpace));
        type.rgb = fields.flag("rgb", false);
        families.add(familyOf(fields), type.code);
        catalogue.projectTypes.append(type);
    });
    for (int i = 0; i < catalogue.projectTypes.size(); ++i)
        catalogue.projectTypes[i].compatible = families.membersLike(i);
}

void readFormats(JsonFields& document, MediaCatalogue& catalogue)
{
    Families<quint32> families;
    QSet<quint32> identifiers;
    QSet<QString> descriptions;
    document.objects("formats", [&](JsonFields& fields) {
        fields.allowOnly({QStringLiteral("identifier"), QStringLiteral("description"),
                          QStringLiteral("frame"), QStringLiteral("rate"), QStringLiteral("disabled"),
                          QStringLiteral("family")});
        Format format;
        format.identifier = static_cast<quint32>(fields.number("identifier", 1, kMaxId));
        if (identifiers.contains(format.identifier))
            fields.fail("identifier", QStringLiteral("is taken by another format"));
        identifiers.insert(format.identifier);
        format.frame = readFrame(fields);
        format.description = fields.text("description");
        if (descriptions.contains(format.description))
            fields.fail("description", QStringLiteral("is that of another format"));
        descriptions.insert(format.description);
        format.rate = readRate(fields);
        format.disabled = fields.flag("disabled", false);
        families.add(familyOf(fields), format.identifier);
        catalogue.formats.append(format);
    });
    for (int i = 0; i < catalogue.formats.size(); ++i)
        catalogue.formats[i].compatible = families.membersLike(i);
}

QUuid readUid(JsonFields& fields)
{
    const QUuid uid(fields.text("uid"));
    if (uid.isNull())
        fields.fail("uid",
                    QStringLiteral("must be an identifier like \"0123abcd-0001-00ef-060e-2b3401020304\""));
    return uid;
}

/// The project types that a compression names, one by one or by definition; empty when it names none.
QList<int> readTypesOfCompression(JsonFields& fields, const MediaCatalogue& catalogue)
{
    const QStringList definitions = fields.texts("definitions");
    const QList<int> codes = intList(fields.numbers("projectTypes", 1, kMaxInt));
    QSet<QString> missing(definitions.cbegin(), definitions.cend());
    QList<int> types;
    for (const ProjectType& type : catalogue.projectTypes) {
        const QString definition = definitionNames().at(type.sd ? SD : type.hd ? HD : Custom);
        missing.remove(definition);
        if (definitions.contains(definition) || codes.contains(type.code))
            types.append(type.code);
    }
    if (!missing.isEmpty())
        fields.fail("definitions",
                    QStringLiteral("names %1, of which there is no project type").arg(*missing.cbegin()));
    for (const int code : codes) {
        if (!types.contains(code))
            fields.fail("projectTypes", QStringLiteral("names %1, which is no project type").arg(code));
    }
    return types;
}

QList<EncodingProfile> readProfiles(JsonFields& fields)
{
    QList<EncodingProfile> profiles;
    QSet<quint32> ids;
    fields.objects("profiles", [&](JsonFields& entry) {
        entry.allowOnly({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("arguments")});
        EncodingProfile profile;
        profile.id = static_cast<quint32>(entry.number("id", 1, kMaxId));
        if (ids.contains(profile.id))
            entry.fail("id", QStringLiteral("is taken by another profile of the compression"));
        ids.insert(profile.id);
        profile.name = entry.text("name");
        profile.ffmpegArguments = entry.texts("arguments");
        profiles.append(profile);
    });
    return profiles;
}

void readCompressions(JsonFields& document, MediaCatalogue& catalogue)
{
    QSet<quint32> ids;
    document.objects("compressions", [&](JsonFields& fields) {
        fields.allowOnly({QStringLiteral("id"), QStringLiteral("name"), QStringLiteral("uid"),
                          QStringLiteral("bits"), QStringLiteral("sampling"), QStringLiteral("maxBitrate"),
                          QStringLiteral("avgBitrate"), QStringLiteral("pattern"),
                          QStringLiteral("definitions"), QStringLiteral("projectTypes"),
                          QStringLiteral("colorSpaces"), QStringLiteral("arguments"),
                          QStringLiteral("container"), QStringLiteral("profiles")});
        Compression compression;
        compression.id = static_cast<quint32>(fields.number("id", 1, kMaxId));
        if (ids.contains(compression.id))
            fields.fail("id", QStringLiteral("is taken by another compression"));
        ids.insert(compression.id);
        compression.name = fields.text("name");
        compression.descriptor.uid = readUid(fields);
        constexpr int mostBits = 16;
        compression.descriptor.bitsPerComponent = static_cast<quint32>(fields.number("bits", 1, mostBits));
        compression.descriptor.chromaSampling = fields.choice("sampling", samplingNames());
        compression.descriptor.maxBitrate =
            static_cast<quint64>(fields.number("maxBitrate", 0, kMaxBitrate, 0));
        compression.descriptor.avgBitrate =
            static_cast<quint64>(fields.number("avgBitrate", 0, kMaxBitrate, 0));
        compression.descriptor.pictureItemPattern =
            static_cast<quint8>(fields.choice("pattern", patternNames()) + 1);
        compression.projectTypes = readTypesOfCompression(fields, catalogue);
        compression.colorSpaces = intList(fields.numbers("colorSpaces", 1, kMaxColorSpace));
        compression.ffmpegArguments = fields.texts("arguments");
        if (compression.ffmpegArguments.isEmpty())
            fields.fail("arguments", QStringLiteral("must say how ffmpeg encodes it"));
        compression.container = fields.text("container");
        compression.profiles = readProfiles(fields);
        catalogue.compressions.append(compression);
    });
    catalogue.defaultCompression = static_cast<quint32>(document.number("defaultCompression", 1, kMaxId));
    if (!ids.contains(catalogue.defaultCompression))
        document.fail("defaultCompression", QStringLiteral("is the id of no compression"));
}

void readAudio(JsonFields& document, MediaCatalogue& catalogue)
{
    document.object("audio", [&catalogue](JsonFields& fields) {
        fields.allowOnly({QStringLiteral("formats"), QStringLiteral("sampleRates"),
                          QStringLiteral("sampleSizes"), QStringLiteral("creationType")});
        constexpr int mostBytes = 4;
        catalogue.audio.formats = intList(fields.numbers("formats", 1, kMaxInt));
        catalogue.audio.sampleRates = intList(fields.numbers("sampleRates", 1, kMaxInt));
        catalogue.audio.sampleSizes = intList(fields.numbers("sampleSizes", 1, mostBytes));
        catalogue.audio.creationType = static_cast<int>(fields.number("creationType", 0, kMaxInt));
    });
}

void readPlugins(JsonFields& document, MediaCatalogue& catalogue)
{
    document.objects("plugins", [&catalogue](JsonFields& fields) {
        fields.allowOnly({QStringLiteral("guid"), QStringLiteral("name"), QStringLiteral("extensions")});
        Plugin plugin;
        const QUuid guid(fields.text("guid"));
        if (guid.isNull())
            fields.fail("guid", QStringLiteral("must be a GUID"));
        plugin.guid = guid.toString(QUuid::WithBraces);
        plugin.name = fields.text("name");
        plugin.extensions = fields.text("extensions");
        catalogue.plugins.append(plugin);
    });
}

void readProject(JsonFields& document, MediaCatalogue& catalogue)
{
    document.object("project", [&catalogue](JsonFields& fields) {
        fields.allowOnly(
            {QStringLiteral("type"), QStringLiteral("targetFormat"), QStringLiteral("rasterWidth"),
             QStringLiteral("colorSpace"), QStringLiteral("rgbEncode"), QStringLiteral("rasterOption"),
             QStringLiteral("sampleRate"), QStringLiteral("audioFileFormat"), QStringLiteral("sampleSize")});
        Project& project = catalogue.project;
        project.type = static_cast<int>(fields.number("type", 1, kMaxInt));
        const auto isType = [&project](const ProjectType& type) { return type.code == project.type; };
        if (std::none_of(catalogue.projectTypes.cbegin(), catalogue.projectTypes.cend(), isType))
            fields.fail("type", QStringLiteral("is the code of no project type"));
        project.targetFormat = static_cast<quint32>(fields.number("targetFormat", 0, kMaxId, 0));
        project.rasterWidth = static_cast<int>(fields.number("rasterWidth", 1, kMaxInt));
        project.colorSpace = static_cast<int>(fields.number("colorSpace", 1, kMaxColorSpace));
        project.rgbEncode = fields.flag("rgbEncode", project.rgbEncode);
        project.rasterOption =
            static_cast<int>(fields.number("rasterOption", 0, kMaxInt, project.rasterOption));
        project.sampleRate = static_cast<int>(fields.number("sampleRate", 1, kMaxInt, project.sampleRate));
        project.audioFileFormat =
            static_cast<int>(fields.number("audioFileFormat", 1, kMaxInt, project.audioFileFormat));
        project.sampleSize = static_cast<int>(fields.number("sampleSize", 1, kMaxInt, project.sampleSize));
    });
}

QString placeOfByte(const QByteArray& text, int offset)
{
    const QByteArray before = text.left(offset);
    const int line = before.count('\n') + 1;
    const int column = offset - (before.lastIndexOf('\n') + 1) + 1;
    return QStringLiteral("line %1, column %2").arg(QString::number(line), QString::number(column));
}

/// \return what is wrong with the document; empty when it was read.
QString readDocument(const QByteArray& text, MediaCatalogue& catalogue)
{
    QJsonParseError parsed;
    const QJsonDocument json = QJsonDocument::fromJson(text, &parsed);
    if (parsed.error != QJsonParseError::NoError)
        return QStringLiteral("%1: %2").arg(placeOfByte(text, parsed.offset), parsed.errorString());
    if (!json.isObject())
        return QStringLiteral("must be an object");
    QString error;
    JsonFields document(json.object(), QString(), &error);
    document.allowOnly({QStringLiteral("projectTypes"), QStringLiteral("formats"),
                        QStringLiteral("compressions"), QStringLiteral("defaultCompression"),
                        QStringLiteral("audio"), QStringLiteral("plugins"), QStringLiteral("project")});
    readProjectTypes(document, catalogue);
    readFormats(document, catalogue);
    readCompressions(document, catalogue);
    readAudio(document, catalogue);
    readPlugins(document, catalogue);
    readProject(document, catalogue);
    return error;
}

} // namespace

bool readCatalogue(const QString& path, MediaCatalogue& out, QString& error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("%1: %2").arg(path, file.errorString());
        return false;
    }
    MediaCatalogue catalogue;
    const QString problem = readDocument(file.readAll(), catalogue);
    if (!problem.isEmpty()) {
        error = QStringLiteral("%1: %2").arg(path, problem);
        return false;
    }
    out = catalogue;
    return true;
}

} // namespace KRXCatalogue

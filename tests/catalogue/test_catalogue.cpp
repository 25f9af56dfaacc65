#include "HostMediaEngine.h"
#include "MediaCatalogue.h"
#include "StandInMedia.h"

#include "KRXTest.h"

#include <QFile>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTemporaryDir>

using KRXCatalogue::builtInCatalogue;
using KRXCatalogue::Compression;
using KRXCatalogue::EncodingProfile;
using KRXCatalogue::MediaCatalogue;
using KRXCatalogue::Plugin;
using KRXCatalogue::ProjectType;
using KRXCatalogue::readCatalogue;

namespace {

/// The smallest document that is a catalogue; tests change it in one place.
constexpr char kSmallest[] = R"({
    "projectTypes": [{"code": 1, "name": "PAL", "definition": "SD", "frame": "720x576", "rate": "25"}],
    "formats": [{"identifier": 5, "description": "Square", "frame": "1080x1080", "rate": "24"}],
    "compressions": [{"id": 4026531841, "name": "Codec", "uid": "0123abcd-0001-00ef-060e-2b3401020304",
        "bits": 10, "sampling": "4:2:2", "pattern": "groups of pictures", "container": "mov",
        "arguments": ["-c:v", "prores_ks"], "profiles": [{"id": 1, "name": "Standard", "arguments": ["-g", "1"]}]}],
    "defaultCompression": 4026531841,
    "audio": {"formats": [4], "sampleRates": [48000], "sampleSizes": [2, 3], "creationType": 1},
    "plugins": [{"guid": "0123abcd-0001-00ef-060e-2b3401020304", "name": "MXF", "extensions": "mxf"}],
    "project": {"type": 1, "rasterWidth": 720, "colorSpace": 4}
})";

} // namespace

class TestCatalogue : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_directory;

    QString write(const QByteArray& text)
    {
        QFile file(m_directory.filePath(QStringLiteral("media.json")));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("the temporary catalogue cannot be written");
        return file.fileName();
    }

private slots:
    void theCatalogueThatComesAlongIsRead()
    {
        MediaCatalogue catalogue;
        QString error;
        QVERIFY2(readCatalogue(QStringLiteral(":/catalogue/media.json"), catalogue, error),
                 qUtf8Printable(error));
        QVERIFY(error.isEmpty());
    }

    void projectTypesGoFromStandardDefinitionToUhd()
    {
        QSet<int> heights;
        QSet<QString> names;
        for (const ProjectType& type : builtInCatalogue().projectTypes) {
            QVERIFY2(!names.contains(type.name), qUtf8Printable(type.name));
            names.insert(type.name);
            if (type.code == KRXCatalogue::kCustomFormatProjectType)
                continue;
            heights.insert(type.frame.height());
            QVERIFY2(type.sd != type.hd, qUtf8Printable(type.name));
            QVERIFY2(type.compatible.contains(type.code), "a project can stay what it is");
            QVERIFY2(type.compatible.size() <= 37, qUtf8Printable(type.name));
            QCOMPARE(type.colorSpaces.first(), type.sd ? 4 : 8);
            QCOMPARE(type.rgb, type.colorSpaces.contains(2));
            for (const QList<int>& widths : type.rasters) {
                QCOMPARE(widths.first(), type.frame.width());
                QVERIFY(widths.size() <= 19);
            }
        }
        QCOMPARE(heights, (QSet<int>{480, 576, 720, 1080, 2160}));
    }

    void aProjectChangesOnlyIntoTypesOfItsRate()
    {
        const auto perSecond = [](const ProjectType& type) {
            return double(type.rate.numerator) / type.rate.denominator;
        };
        QHash<int, double> rates;
        for (const ProjectType& type : builtInCatalogue().projectTypes)
            rates.insert(type.code, perSecond(type));
        for (const ProjectType& type : builtInCatalogue().projectTypes) {
            for (const int other : type.compatible) {
                const double ratio = rates.value(other) / perSecond(type);
                QVERIFY2(qFuzzyCompare(ratio, 1) || qFuzzyCompare(ratio, 2) || qFuzzyCompare(ratio, 0.5),
                         qUtf8Printable(type.name));
            }
        }
    }

    void customFormatsHaveRatesThatAreOfferedAndRatesThatAreNot()
    {
        const QSet<int> notOffered{30, 48, 60, 48000};
        QSet<int> seen;
        int disabled = 0;
        for (const KRXCatalogue::Format& format : builtInCatalogue().formats) {
            QCOMPARE(format.projectType, KRXCatalogue::kCustomFormatProjectType);
            QVERIFY2(format.compatible.contains(format.identifier), qUtf8Printable(format.description));
            seen.insert(format.rate.numerator);
            disabled += format.disabled ? 1 : 0;
        }
        QVERIFY((notOffered - seen).isEmpty());
        QVERIFY((QSet<int>{24, 25, 24000, 30000} - seen).isEmpty());
        QVERIFY(disabled > 0);
    }

    void everyProjectTypeHasCompressionsInEachOfItsColorSpaces()
    {
        for (const ProjectType& type : builtInCatalogue().projectTypes) {
            for (const int colorSpace : type.colorSpaces)
                QVERIFY2(!builtInCatalogue().compressionsFor(type.code, colorSpace).isEmpty(),
                         qUtf8Printable(type.name));
        }
    }

    void compressionsAreToldApartByIdNameAndUid()
    {
        QSet<quint32> ids;
        QSet<QString> names;
        QSet<QUuid> uids;
        for (const Compression& compression : builtInCatalogue().compressions) {
            ids.insert(compression.id);
            names.insert(compression.name);
            uids.insert(compression.descriptor.uid);
        }
        const int count = builtInCatalogue().compressions.size();
        QCOMPARE(ids.size(), count);
        QCOMPARE(names.size(), count);
        QCOMPARE(uids.size(), count);
    }

    void thereAreIdentifiersThatNeedAllThirtyTwoBits()
    {
        bool isThere = false;
        for (const Compression& compression : builtInCatalogue().compressions)
            isThere = isThere || compression.id > 0x7FFFFFFFu;
        QVERIFY(isThere);
    }

    void namesOfEncodingProfilesAreToldApartAndNoNumbers()
    {
        for (const Compression& compression : builtInCatalogue().compressions) {
            QSet<QString> names;
            for (const EncodingProfile& profile : compression.profiles) {
                bool isNumber = false;
                profile.name.toUInt(&isNumber);
                QVERIFY2(!isNumber, "a stored name must never be taken for the id of another profile");
                names.insert(profile.name);
            }
            QCOMPARE(names.size(), compression.profiles.size());
        }
    }

    void linkingCoversWhatFfmpegReads()
    {
        QSet<QString> extensions;
        bool hasFolders = false;
        QSet<QString> guids;
        for (const Plugin& plugin : builtInCatalogue().plugins) {
            guids.insert(plugin.guid);
            QVERIFY(plugin.guid.startsWith(QLatin1Char('{')) && plugin.guid.endsWith(QLatin1Char('}')));
            if (plugin.extensions.contains(QLatin1String("Folder"))) {
                hasFolders = true;
                continue;
            }
            for (const QString& extension : plugin.extensions.split(QLatin1Char('.')))
                extensions.insert(extension);
        }
        QVERIFY(hasFolders);
        QCOMPARE(guids.size(), builtInCatalogue().plugins.size());
        for (const char* extension : {"mxf", "mov", "mp4", "m4v", "wav", "bwf"})
            QVERIFY2(extensions.contains(QLatin1String(extension)), extension);
        for (const Compression& compression : builtInCatalogue().compressions)
            QVERIFY2(extensions.contains(compression.container), "what is encoded can be linked");
    }

    // --- The file ---

    void theSmallestCatalogueIsReadWhole()
    {
        MediaCatalogue catalogue;
        QString error;
        QVERIFY2(readCatalogue(write(kSmallest), catalogue, error), qUtf8Printable(error));
        QCOMPARE(catalogue.projectTypes.size(), 1);
        QCOMPARE(catalogue.projectTypes.at(0).frame, QSize(720, 576));
        QCOMPARE(catalogue.projectTypes.at(0).rate.numerator, 25);
        QCOMPARE(catalogue.projectTypes.at(0).rate.denominator, 1);
        QVERIFY(catalogue.projectTypes.at(0).enabled);
        QCOMPARE(catalogue.formats.at(0).frame, QSize(1080, 1080));
        const Compression& compression = catalogue.compressions.at(0);
        QCOMPARE(compression.id, 4026531841u);
        QCOMPARE(compression.descriptor.uid.data1, 0x0123abcdu);
        QCOMPARE(compression.descriptor.uid.data2, quint16(1));
        QCOMPARE(compression.descriptor.uid.data3, quint16(0xef));
        QCOMPARE(compression.descriptor.uid.data4[0], quint8(0x06));
        QCOMPARE(compression.descriptor.uid.data4[7], quint8(0x04));
        QCOMPARE(compression.descriptor.chromaSampling, 3);
        QCOMPARE(compression.descriptor.pictureItemPattern, quint8(2));
        QCOMPARE(compression.profiles.at(0).ffmpegArguments,
                 (QStringList{QStringLiteral("-g"), QStringLiteral("1")}));
        QCOMPARE(catalogue.defaultCompression, 4026531841u);
        QCOMPARE(catalogue.plugins.at(0).guid, QStringLiteral("{0123abcd-0001-00ef-060e-2b3401020304}"));
        QCOMPARE(catalogue.project.type, 1);
        QCOMPARE(catalogue.project.sampleRate, 48000);
    }

    void entriesAreFoundByWhatProfilesStore()
    {
        MediaCatalogue catalogue;
        QString error;
        QVERIFY2(readCatalogue(write(kSmallest), catalogue, error), qUtf8Printable(error));
        QCOMPARE(catalogue.findProjectType(1), &catalogue.projectTypes.at(0));
        QCOMPARE(catalogue.findProjectType(QStringLiteral("PAL")), &catalogue.projectTypes.at(0));
        QCOMPARE(catalogue.findFormat(5), &catalogue.formats.at(0));
        QCOMPARE(catalogue.findFormat(QStringLiteral("Square")), &catalogue.formats.at(0));
        const Compression* compression = catalogue.findCompression(4026531841u);
        QCOMPARE(compression, &catalogue.compressions.at(0));
        QCOMPARE(catalogue.findCompression(QStringLiteral("Codec")), compression);
        QCOMPARE(compression->findProfile(1), &compression->profiles.at(0));
        QCOMPARE(compression->findProfile(QStringLiteral("Standard")), &compression->profiles.at(0));

        QVERIFY(!catalogue.findProjectType(2));
        QVERIFY(!catalogue.findProjectType(QStringLiteral("pal")));
        QVERIFY(!catalogue.findFormat(0));
        QVERIFY(!catalogue.findFormat(QString()));
        QVERIFY(!catalogue.findCompression(1));
        QVERIFY(!catalogue.findCompression(QString()));
        QVERIFY(!compression->findProfile(2));
        QVERIFY(!compression->findProfile(QStringLiteral("1")));
    }

    void aNewCodecIsALineOfData()
    {
        QByteArray text(kSmallest);
        text.replace(
            R"("compressions": [)",
            R"("compressions": [{"id": 77, "name": "New", "uid": "0123abcd-0002-00ef-060e-2b3401020304", )"
            R"("bits": 8, "sampling": "4:2:0", "pattern": "single pictures", "definitions": ["SD"], )"
            R"("container": "mov", "arguments": ["-c:v", "mjpeg"]}, )");
        MediaCatalogue catalogue;
        QString error;
        QVERIFY2(readCatalogue(write(text), catalogue, error), qUtf8Printable(error));
        StandInHost::setCatalogue(catalogue);
        QCOMPARE(StandInHost::compressionsFor(1, 4).at(0).name, QStringLiteral("New"));
        QVERIFY(HostMediaEngine::CompressionInfo(77).isValid());
        StandInHost::resetMedia();
    }

    void aFaultIsToldWithFileAndField_data()
    {
        QTest::addColumn<QByteArray>("from");
        QTest::addColumn<QByteArray>("to");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const char* from, const char* to, const char* error) {
            QTest::newRow(name) << QByteArray(from) << QByteArray(to) << QString::fromUtf8(error);
        };
        row("syntax", "\"formats\": [", "\"formats\": [,", "line 3, column ");
        row("field unknown", "\"definition\"", "\"definitoin\"",
            "projectTypes[0].definitoin: is not a field that is known here");
        row("definition", "\"SD\"", "\"XD\"", "projectTypes[0].definition: must be one of SD, HD, custom");
        row("frame", "720x576", "720*576",
            "projectTypes[0].frame: must be width and height in pixels, for example \"1920x1080\"");
        row("rate", "\"rate\": \"25\"", "\"rate\": \"25/0\"",
            "projectTypes[0].rate: must be frames per second, for example \"25\" or \"30000/1001\"");
        row("text missing", "\"name\": \"PAL\", ", "",
            "projectTypes[0].name: must be a text that is not empty");
        row("code", "\"code\": 1,", "\"code\": 1.5,",
            "projectTypes[0].code: must be a whole number from 1 to 2147483647");
        row("custom", "\"code\": 1,", "\"code\": 26,",
            "projectTypes[0].definition: is \"custom\" for code 26 and for no other");
        row("format", "\"identifier\": 5", "\"identifier\": 0",
            "formats[0].identifier: must be a whole number from 1 to 4294967295");
        row("id too large", "\"id\": 4026531841", "\"id\": 4294967296",
            "compressions[0].id: must be a whole number from 1 to 4294967295");
        row("uid", "\"uid\": \"0123abcd", "\"uid\": \"0123abcx",
            "compressions[0].uid: must be an identifier like \"0123abcd-0001-00ef-060e-2b3401020304\"");
        row("sampling", "4:2:2", "4:3:3",
            "compressions[0].sampling: must be one of 4:4:4, 4:1:1, 4:2:0, 4:2:2");
        row("pattern", "groups of", "piles of",
            "compressions[0].pattern: must be one of single pictures, groups of pictures");
        row("arguments", "[\"-c:v\", \"prores_ks\"]", "[]",
            "compressions[0].arguments: must say how ffmpeg encodes it");
        row("profile", "\"id\": 1, \"name\": \"Standard\"", "\"id\": 1",
            "compressions[0].profiles[0].name: must be a text that is not empty");
        row("definitions", "\"bits\": 10", "\"definitions\": [\"HD\"], \"bits\": 10",
            "compressions[0].definitions: names HD, of which there is no project type");
        row("project types", "\"bits\": 10", "\"projectTypes\": [9], \"bits\": 10",
            "compressions[0].projectTypes: names 9, which is no project type");
        row("default", "\"defaultCompression\": 4026531841", "\"defaultCompression\": 3",
            "defaultCompression: is the id of no compression");
        row("audio", "\"audio\": {", "\"audio\": [], \"x\": {", "x: is not a field that is known here");
        row("sizes", "[2, 3]", "[2, 24]", "audio.sampleSizes[1]: must be a whole number from 1 to 4");
        row("guid", "{\"guid\": \"0123", "{\"guid\": \"zzzz", "plugins[0].guid: must be a GUID");
        row("project", "\"type\": 1", "\"type\": 2", "project.type: is the code of no project type");
    }

    void aFaultIsToldWithFileAndField()
    {
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(QString, error);
        QByteArray text(kSmallest);
        QVERIFY2(text.contains(from), "the fault is not put where it should be");
        text.replace(from, to);
        const QString path = write(text);
        MediaCatalogue catalogue;
        catalogue.defaultCompression = 12345;
        QString told;
        QVERIFY(!readCatalogue(path, catalogue, told));
        const QString expected = path + QStringLiteral(": ") + error;
        QVERIFY2(told.startsWith(expected), qUtf8Printable(told));
        QVERIFY2(catalogue.defaultCompression == 12345u, "what the caller had must stay");
    }

    void twoOfOneIdAreRefused_data()
    {
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("error");
        QTest::newRow("project types")
            << QStringLiteral("projectTypes")
            << QStringLiteral("projectTypes[1].code: is taken by another project type");
        QTest::newRow("formats") << QStringLiteral("formats")
                                 << QStringLiteral("formats[1].identifier: is taken by another format");
        QTest::newRow("compressions")
            << QStringLiteral("compressions")
            << QStringLiteral("compressions[1].id: is taken by another compression");
    }

    void twoOfOneIdAreRefused()
    {
        QFETCH(QString, list);
        QFETCH(QString, error);
        QJsonObject document = QJsonDocument::fromJson(kSmallest).object();
        QJsonArray entries = document.value(list).toArray();
        entries.append(entries.at(0));
        document.insert(list, entries);
        MediaCatalogue catalogue;
        QString told;
        QVERIFY(!readCatalogue(write(QJsonDocument(document).toJson()), catalogue, told));
        QVERIFY2(told.endsWith(error), qUtf8Printable(told));
    }

    void aFileThatIsNotThereIsToldByName()
    {
        MediaCatalogue catalogue;
        QString error;
        const QString path = m_directory.filePath(QStringLiteral("no.json"));
        QVERIFY(!readCatalogue(path, catalogue, error));
        QVERIFY(error.startsWith(path));
    }

    void aDocumentThatIsNoObjectIsRefused()
    {
        MediaCatalogue catalogue;
        QString error;
        QVERIFY(!readCatalogue(write("[1, 2]"), catalogue, error));
        QVERIFY(error.endsWith(QLatin1String("must be an object")));
        QVERIFY(!readCatalogue(write(""), catalogue, error));
    }
};

QTEST_GUILESS_MAIN(TestCatalogue)
#include "test_catalogue.moc"

#include "ActionsWorld.h"

#include "CodecBox.h"
#include "CodecFills.h"
#include "IAction.h"
#include "KRXXml.h"

#include <QComboBox>
#include <QSignalBlocker>

namespace ActionsWorld {

namespace {

StandInHost::ProjectType projectType(int code, const QString& name, const QSize& frame,
                                     const QList<int>& spaces)
{
    StandInHost::ProjectType type;
    type.code = code;
    type.name = name;
    type.frame = frame;
    type.colorSpaces = spaces;
    type.compatible = {kPal, kHdRgb, kHdNotInstalled, kHd, kSoundOnly};
    return type;
}

QList<StandInHost::ProjectType> projectTypes()
{
    QList<StandInHost::ProjectType> types = {
        projectType(kPal, QStringLiteral("PAL 25i"), {720, 576}, {4}),
        projectType(kHdRgb, QStringLiteral("1080p/25"), {1920, 1080}, {8, 2}),
        projectType(kHd, QStringLiteral("1080i/50"), {1920, 1080}, {8}),
        projectType(kHdNotInstalled, QStringLiteral("2160p/25"), {3840, 2160}, {8}),
        projectType(kSoundOnly, QStringLiteral("Sound"), {0, 0}, {}),
        projectType(kCustom, QStringLiteral("Custom"), {0, 0}, {8, 2}),
        projectType(kCustomHd, QStringLiteral("Custom HD"), {1920, 1080}, {8, 2, 1}),
        projectType(kCustomSd, QStringLiteral("Custom SD"), {720, 576}, {4}),
    };
    types[0].sd = true;
    types[1].hd = true;
    types[1].rgb = true;
    // The engine says 1440 twice.
    types[1].rasters = {{1, {1920, 1440, 1440, 1280}}, {2, {960}}};
    types[2].hd = true;
    types[3].hd = true;
    types[3].enabled = false;
    types[6].hd = true;
    types[7].sd = true;
    return types;
}

StandInHost::Format format(quint32 id, const QString& description, int type, const QSize& size, int rate,
                           int denominator = 1)
{
    StandInHost::Format result;
    result.identifier = id;
    result.projectType = type;
    result.frame = size;
    result.description = description;
    result.rate = {rate, denominator};
    result.compatible = {501, 502, 503, 504, 505, 506, 507, 508};
    return result;
}

QList<StandInHost::Format> formats()
{
    QList<StandInHost::Format> all = {
        format(501, QStringLiteral("2K 25"), kCustomHd, {2048, 1080}, 25),
        format(502, QStringLiteral("2K 30"), kCustomHd, {2048, 1080}, 30),
        format(503, QStringLiteral("2K 47.952"), kCustomHd, {2048, 1080}, 48000, 1001),
        format(504, QStringLiteral("2K 48"), kCustomHd, {2048, 1080}, 48),
        format(505, QStringLiteral("2K 60"), kCustomHd, {2048, 1080}, 60),
        format(506, QStringLiteral("Not installed"), kCustomHd, {2048, 1080}, 25),
        format(507, QStringLiteral("Small 25"), kCustomSd, {720, 576}, 25),
        format(508, QStringLiteral("Square 24"), kCustom, {1080, 1080}, 24000, 1001),
    };
    all[5].disabled = true;
    return all;
}

StandInHost::Compression compression(quint32 id, const QString& name, const QUuid& uid)
{
    StandInHost::Compression result;
    result.id = id;
    result.name = name;
    result.descriptor.uid = uid;
    result.profiles = {{kFirstProfile, QStringLiteral("Draft"), {}},
                       {kSecondProfile, QStringLiteral("Final"), {}},
                       {kTextIsNumberProfile, QStringLiteral("8"), {}}};
    return result;
}

QList<StandInHost::Compression> compressions()
{
    QList<StandInHost::Compression> all = {
        compression(kFirstCodec, QStringLiteral("First Codec"),
                    {0x0123abcd, 0x0001, 0x00ef, 0x06, 0x0e, 0x2b, 0x34, 0x01, 0x02, 0x03, 0x04}),
        compression(kDefaultCodec, QStringLiteral("Default <Codec> & \"more\""),
                    {0xffffffff, 0xffff, 0xffff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
        compression(kZeroUidCodec, QStringLiteral("Zero"), {}),
        compression(kLargeIdCodec, QStringLiteral("Large Id"), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}),
    };
    all[0].descriptor.bitsPerComponent = 10;
    all[0].descriptor.chromaSampling = 3;
    all[0].descriptor.maxBitrate = 18446744073709551615ULL;
    all[0].descriptor.avgBitrate = 220000000;
    all[0].descriptor.pictureItemPattern = 255;
    // Not offered for RGB.
    all[1].colorSpaces = {4, 8};
    all[1].descriptor.bitsPerComponent = 8;
    all[1].descriptor.chromaSampling = 2;
    all[1].descriptor.pictureItemPattern = 2;
    return all;
}

} // namespace

void reset()
{
    StandInHost::resetRecords();
    StandInHost::setTranslator({});
    StandInHost::setLanguage(QStringLiteral("en"));
    StandInHost::setSkin(StandInHost::kDarkSkin);

    StandInHost::MediaCatalogue catalogue;
    catalogue.projectTypes = projectTypes();
    catalogue.formats = formats();
    catalogue.compressions = compressions();
    catalogue.defaultCompression = kDefaultCodec;
    catalogue.audio.formats = {1, 2, 3, 4, 5, 6, 7};
    catalogue.audio.sampleRates = {32000, 44100, 48000};
    catalogue.audio.sampleSizes = {2, 3, 5};
    catalogue.audio.creationType = 1;
    StandInHost::setCatalogue(catalogue);
    openProject(kHdRgb);

    StandInHost::setVolumes({{{QStringLiteral("System"), QString(QLatin1Char('/'))},
                              {QStringLiteral("Media A"), QStringLiteral("/media/a")}},
                             {{QStringLiteral("Media B"), QStringLiteral("/media/b")}}});
}

void openProject(int type, int rasterWidth, int colorSpace)
{
    StandInHost::Project project;
    project.type = type;
    project.rasterWidth = rasterWidth;
    project.colorSpace = colorSpace;
    project.sampleRate = 48000;
    project.audioFileFormat = 4;
    project.sampleSize = 24;
    StandInHost::setProject(project);
}

void openCustomProject(quint32 targetFormat)
{
    openProject(kCustom, 2048, 2);
    StandInHost::Project project = StandInHost::project();
    project.targetFormat = targetFormat;
    StandInHost::setProject(project);
}

QDomDocument document(const QString& xml)
{
    QDomDocument doc;
    if (!KRXXml::parse(xml, doc))
        qFatal("A test has a text that is not XML: %s", qUtf8Printable(xml));
    return doc;
}

QString written(IAction& action)
{
    QDomDocument doc;
    QDomElement root = doc.createElement(QStringLiteral("root"));
    action.writeXml(doc, root);
    doc.appendChild(root.firstChild());
    return doc.toString(1);
}

QStringList texts(const QComboBox* box)
{
    QStringList all;
    for (int index = 0; index < box->count(); ++index)
        all.append(box->itemText(index));
    return all;
}

QStringList data(const QComboBox* box)
{
    QStringList all;
    for (int index = 0; index < box->count(); ++index)
        all.append(box->itemData(index).toString());
    return all;
}

Editor::Editor()
    : KRXProfilesWindow(nullptr)
{
}

void Editor::setNewHeight(int height)
{
    heights << height;
    KRXProfilesWindow::setNewHeight(height);
}

void Editor::updateCodecBox(CodecBox* box)
{
    ++codecFills;
    {
        const QSignalBlocker blocker(box);
        const QString chosen = box->currentText();
        CodecFills::codecs(box);
        box->addItem(QStringLiteral("Foreign"), kForeignCodec);
        box->setCurrentIndex(qMax(0, box->findText(chosen)));
    }
    updateEncodingProfileBox(box);
}

void Editor::updateEncodingProfileBox(CodecBox* box)
{
    ++encodingProfileFills;
    const QSignalBlocker blocker(box->getEncodingProfileBox());
    CodecFills::encodingProfiles(box);
}

} // namespace ActionsWorld

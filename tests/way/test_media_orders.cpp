#include "CodecBox.h"
#include "CodecFills.h"
#include "ConsolidateAction.h"
#include "CopyMoveAction.h"
#include "CopyToPathWidget.h"
#include "EngineBench.h"
#include "StandInMedia.h"
#include "TranscodeAction.h"
#include "activities/Activity.h"
#include "documents/ProfileDocument.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDomDocument>

#include <memory>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

/// All of the catalogue is a matter of minutes, so it has a command of its own; else one codec for each
/// container and each way to encode.
bool isWhole()
{
    return qEnvironmentVariableIsSet("KRX_ALL_MEDIA");
}
const QSet<quint32> kAlways = {16777217, 33554434, 50331649, 50331651, 83886081, 4026531843};

/// What ffprobe calls what an encoder makes.
QString codecOf(const QStringList& arguments)
{
    static const QHash<QString, QString> names = {{s("prores_ks"), s("prores")},
                                                  {s("libx264"), s("h264")},
                                                  {s("libx265"), s("hevc")},
                                                  {s("libopenjpeg"), s("jpeg2000")}};
    const QString encoder = arguments.value(arguments.indexOf(s("-c:v")) + 1);
    return names.value(encoder, encoder);
}

QString valueOf(const QStringList& arguments, const char* key)
{
    const int place = arguments.lastIndexOf(s(key));
    return place < 0 ? QString() : arguments.value(place + 1);
}

/// What the service makes of an action that the module writes.
ActivityRecipe recipeOf(IAction& action)
{
    QDomDocument document;
    QDomElement profile = document.createElement(s("profile"));
    document.appendChild(profile);
    QDomElement parent = profile;
    for (const char* name : {"processDefinition", "package", "activities"})
        parent = parent.appendChild(document.createElement(s(name))).toElement();
    action.writeXml(document, parent);
    const auto recipe =
        krxservice::profiledocument::recipe({"id", "name", document.toString(1).toStdString()});
    return recipe ? recipe->activities.front() : ActivityRecipe();
}

/// An action with its widgets, in an editor that fills its lists as the desk's does.
template <typename Action>
struct OrderOf
{
    Action action{1};
    CodecBox* codec = nullptr;

    /// \a type is the open project's and the one that is ordered.
    explicit OrderOf(int type, int colorSpace = 8)
    {
        StandInHost::Project project = StandInHost::project();
        project.type = type;
        project.colorSpace = colorSpace;
        project.rasterWidth = StandInHost::catalogue().findProjectType(type)->frame.width();
        StandInHost::setProject(project);
        QWidget* const widget = action.createWidget();
        codec = widget->template findChild<CodecBox*>();
        QObject::connect(codec, &CodecBox::updateRezList, codec,
                         [](CodecBox* box) { CodecFills::codecs(box); });
        QObject::connect(codec, &CodecBox::codecChanged, codec,
                         [](CodecBox* box) { CodecFills::encodingProfiles(box); });
        action.setDefaults();
    }
    /// Chooses what is shown as \a text in the box of that name.
    bool choose(const char* name, const QString& text) const
    {
        return chooseRow(name, [&text](const QComboBox& box) { return box.findText(text); });
    }
    bool chooseData(const char* name, const QVariant& data) const
    {
        return chooseRow(name, [&data](const QComboBox& box) { return box.findData(data); });
    }
    template <typename Find>
    bool chooseRow(const char* name, Find find) const
    {
        auto* const box = action.widget()->template findChild<QComboBox*>(s(name));
        const int row = box ? find(*box) : -1;
        if (row >= 0)
            box->setCurrentIndex(row);
        return row >= 0;
    }
    void check(const char* name, bool on) const
    {
        action.widget()->template findChild<QCheckBox*>(s(name))->setChecked(on);
    }
    /// Volumes that are plain folders: the boxes list those of this machine.
    void putOn(const QString& video, const QString& audio) const
    {
        for (const auto& [name, folder] : {std::make_pair("filesystemVideoVolume", video),
                                           std::make_pair("filesystemAudioVolume", audio)}) {
            auto* const box = action.widget()->template findChild<QComboBox*>(s(name));
            box->addItem(folder, QVariant(folder + QLatin1Char('/')));
            box->setCurrentIndex(box->count() - 1);
            box->show();
        }
    }
};
using Order = OrderOf<TranscodeAction>;
using Consolidation = OrderOf<ConsolidateAction>;

} // namespace

/// What can be ordered with the widgets of each action, done by the service and read by ffprobe.
class TestMediaOrders : public QObject
{
    Q_OBJECT

    EngineBench m_bench;
    QString m_volume;
    int m_count = 0;

    QString volume()
    {
        const QString path = m_bench.path(s("volume%1").arg(++m_count));
        QDir().mkpath(path);
        return path;
    }
    template <typename Action>
    Outcome<Clip> run(OrderOf<Action>& order, const QString& name)
    {
        return run(order.action, name);
    }
    Outcome<Clip> run(IAction& action, const QString& name)
    {
        const ActivityRecipe recipe = recipeOf(action);
        return Activity::forId(recipe.id).run(m_bench.clip(name), recipe, {}, makeCancelToken());
    }
    QString probed(const Outcome<Clip>& made, const char* entries, const char* streams = "v:0") const
    {
        return EngineBench::probed(QString::fromStdString(made->linked.path), entries, streams);
    }

private slots:
    void initTestCase()
    {
        QCOMPARE(m_bench.make(s("clip.mov"),
                              "-f lavfi -i testsrc2=s=320x180:r=25:d=0.16 -f lavfi -i "
                              "sine=r=48000:d=0.16 -timecode 09:59:58:00 -metadata:s:v reel_name=A001 "
                              "-c:v mpeg4 -q:v 2 -c:a pcm_s24le"),
                 QString());
    }
    void init()
    {
        StandInHost::resetMedia();
        m_volume = volume();
    }

    void eachCodec_data()
    {
        QTest::addColumn<quint32>("id");
        QTest::addColumn<int>("profile");
        for (const auto& compression : StandInHost::catalogue().compressions) {
            if (!isWhole() && !kAlways.contains(compression.id))
                continue;
            for (int profile = 0; profile < qMax(1, isWhole() ? compression.profiles.size() : 1); ++profile)
                QTest::addRow("%s, profile %d", qUtf8Printable(compression.name), profile)
                    << compression.id << profile;
        }
    }
    void eachCodec()
    {
        QFETCH(quint32, id);
        QFETCH(int, profile);
        const auto* const compression = StandInHost::catalogue().findCompression(id);
        // The smallest project that it is offered for.
        const StandInHost::ProjectType* type = nullptr;
        int colorSpace = 0;
        for (const auto& candidate : StandInHost::catalogue().projectTypes) {
            for (const int space : candidate.colorSpaces) {
                const bool isOffered =
                    compression->colorSpaces.isEmpty() || compression->colorSpaces.contains(space);
                const bool isFor =
                    compression->projectTypes.isEmpty() || compression->projectTypes.contains(candidate.code);
                if (!type && isOffered && isFor && !candidate.frame.isEmpty() &&
                    candidate.rate.numerator == 25) {
                    type = &candidate;
                    colorSpace = space;
                }
            }
        }
        if (!type)
            type = StandInHost::catalogue().findProjectType(compression->projectTypes.value(0, 1));
        Order order(type->code, colorSpace ? colorSpace : type->colorSpaces.first());
        QVERIFY(order.choose("videoProjectType", type->name));
        QVERIFY(order.chooseData("videoColorSpace", colorSpace ? colorSpace : type->colorSpaces.first()));
        QVERIFY(order.chooseData("videoCompressionType", id));
        QStringList arguments = compression->ffmpegArguments;
        if (!compression->profiles.isEmpty()) {
            QVERIFY(order.choose("encodingProfile", compression->profiles.at(profile).name));
            arguments += compression->profiles.at(profile).ffmpegArguments;
        }
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        const QString rate = s("%1/%2").arg(type->rate.numerator).arg(type->rate.denominator);
        QCOMPARE(probed(made, "stream=codec_name,width,height,r_frame_rate"), s("%1,%2,%3,%4")
                                                                                  .arg(codecOf(arguments))
                                                                                  .arg(type->frame.width())
                                                                                  .arg(type->frame.height())
                                                                                  .arg(rate));
        // Readers take ProRes of that sampling for 12 bits.
        const bool isDeep =
            codecOf(arguments) == s("prores") && valueOf(arguments, "-pix_fmt") == s("yuv444p10le");
        QCOMPARE(probed(made, "stream=pix_fmt"), isDeep ? s("yuv444p12le") : valueOf(arguments, "-pix_fmt"));
        QCOMPARE(QFileInfo(QString::fromStdString(made->linked.path)).suffix(), compression->container);
        const auto frames = qRound(0.16 * type->rate.numerator / type->rate.denominator);
        const int counted = EngineBench::pictures(QString::fromStdString(made->linked.path)).size();
        QVERIFY2(qAbs(counted - frames) <= 1, qPrintable(QString::number(counted)));
        QCOMPARE(probed(made, "stream=codec_name,sample_rate,channels", "a"), s("pcm_s24le,48000,1"));
    }

    void colorsAndFieldsAreTagged_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("colorSpace");
        QTest::addColumn<quint32>("codec");
        QTest::addColumn<QString>("tags");
        const auto row = [](const char* type, int space, quint32 codec, const char* tags) {
            QTest::addRow("%s %u", type, codec) << s(type) << space << codec << s(tags);
        };
        row("PAL 25p", 4, 16777217, "tv,smpte170m,smpte170m,bt470bg,progressive");
        row("PAL 25i", 4, 16777217, "tv,smpte170m,smpte170m,bt470bg,tt");
        row("NTSC 29.97i", 4, 4026531841,
            "unknown,smpte170m,smpte170m,smpte170m,bb"); // there is no place for the range
        row("720p/25", 8, 16777217, "tv,bt709,bt709,bt709,progressive");
        row("PAL 25i", 4, 50331649, "tv,smpte170m,smpte170m,bt470bg,tt");
        row("1080i/50", 8, 33554434, "tv,bt709,bt709,bt709,tt");
    }
    void colorsAndFieldsAreTagged()
    {
        QFETCH(QString, type);
        QFETCH(int, colorSpace);
        QFETCH(quint32, codec);
        QFETCH(QString, tags);
        Order order(StandInHost::catalogue().findProjectType(type)->code, colorSpace);
        QVERIFY(order.chooseData("videoCompressionType", codec));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=color_range,color_space,color_transfer,color_primaries,field_order"),
                 tags);
    }

    void timecodeAndReelGoAlong()
    {
        for (const quint32 codec : {16777217U, 50331649U}) {
            Order order(4, 4);
            QVERIFY(order.chooseData("videoCompressionType", codec));
            order.putOn(m_volume, m_volume);
            const auto made = run(order, s("clip.mov"));
            QVERIFY2(made, made.refusal().text.c_str());
            const QString tags = EngineBench::run(s("ffprobe"), {s("-v"), s("error"), s("-show_entries"),
                                                                 s("format_tags:stream_tags"),
                                                                 QString::fromStdString(made->linked.path)});
            QVERIFY2(tags.contains(s("09:59:58:00")), qPrintable(tags));
            QVERIFY2(tags.contains(s("A001")), qPrintable(tags));
        }
    }

    void rasterIsTheWidthAndItsPixelsKeepTheShape()
    {
        Order order(10);
        QVERIFY(order.choose("videoRaster", s("1440x1080")));
        QVERIFY(order.chooseData("videoCompressionType", 16777217U));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=width,height,sample_aspect_ratio"), s("1440,1080,4:3"));
    }

    /// A white square in PAL: bars beside it, or white to the edges.
    void reformattingFitsOrFills_data()
    {
        QTest::addColumn<bool>("fits");
        QTest::addColumn<bool>("isBlackAtTheEdge");
        QTest::newRow("with bars") << true << true;
        QTest::newRow("filled") << false << false;
    }
    void reformattingFitsOrFills()
    {
        QFETCH(bool, fits);
        QFETCH(bool, isBlackAtTheEdge);
        QCOMPARE(m_bench.make(
                     s("square.mov"),
                     "-f lavfi -i color=white:s=128x128:r=25:d=0.12 -c:v ffv1 -pix_fmt yuv444p -f matroska"),
                 QString());
        Order order(4, 4);
        order.check("videoIncludeReformattedContent", fits);
        QVERIFY(order.chooseData("videoCompressionType", 4026531842U));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("square.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(edge(made) < 40, isBlackAtTheEdge);
    }

private:
    /// The brightness of the first pixel in the middle line, 0 to 255.
    int edge(const Outcome<Clip>& made, const char* crop = "1:1:0:ih/2") const
    {
        QProcess process;
        process.start(s("ffmpeg"), {s("-v"), s("error"), s("-i"), QString::fromStdString(made->linked.path),
                                    s("-vf"), s("format=gray,crop=") + s(crop), s("-frames:v"), s("1"),
                                    s("-f"), s("rawvideo"), s("-")});
        process.waitForFinished();
        const QByteArray bytes = process.readAllStandardOutput();
        return bytes.isEmpty() ? -1 : static_cast<unsigned char>(bytes.at(0));
    }

private slots:
    /// Red in 601 has another brightness than in 709: it changes only when colours are transformed.
    void colorsAreTransformedOnlyWhenAsked()
    {
        QCOMPARE(
            m_bench.make(
                s("red.mkv"),
                "-f lavfi -i "
                "color=red:s=160x90:r=25:d=0.12,scale=out_color_matrix=bt601:out_range=tv,format=yuv422p "
                "-colorspace smpte170m -color_primaries bt709 -color_trc smpte170m -color_range tv -c:v "
                "ffv1"),
            QString());
        int bright[2] = {0, 0};
        for (const bool transforms : {false, true}) {
            Order order(6);
            order.check("applyColorTransformations", transforms);
            QVERIFY(order.chooseData("videoCompressionType", 4026531842U));
            order.putOn(m_volume, m_volume);
            const auto made = run(order, s("red.mkv"));
            QVERIFY2(made, made.refusal().text.c_str());
            QCOMPARE(probed(made, "stream=color_space"), s("bt709"));
            QProcess process;
            process.start(s("ffmpeg"),
                          {s("-v"), s("error"), s("-i"), QString::fromStdString(made->linked.path), s("-vf"),
                           s("extractplanes=y"), s("-frames:v"), s("1"), s("-f"), s("rawvideo"), s("-")});
            process.waitForFinished();
            bright[transforms] = static_cast<unsigned char>(process.readAllStandardOutput().at(5000));
        }
        QVERIFY2(qAbs(bright[0] - 81) <= 2, qPrintable(QString::number(bright[0]))); // 601's red
        QVERIFY2(qAbs(bright[1] - 63) <= 4, qPrintable(QString::number(bright[1]))); // 709's
    }

    /// Stripes as fine as the picture go away when it is scaled down first.
    void linkedSourcesAreScaledDownFirst()
    {
        QCOMPARE(
            m_bench.make(
                s("stripes.mkv"),
                "-f lavfi -i nullsrc=s=720x576:r=25:d=0.12,geq=lum='255*mod(X\\,2)':cb=128:cr=128 -c:v ffv1"),
            QString());
        int contrast[2] = {0, 0};
        for (const int code : {0, 20}) {
            Order order(4, 4);
            QVERIFY(order.chooseData("videoDebayerSetting", code));
            QVERIFY(order.chooseData("videoCompressionType", 4026531842U));
            order.putOn(m_volume, m_volume);
            const auto made = run(order, s("stripes.mkv"));
            QVERIFY2(made, made.refusal().text.c_str());
            contrast[code > 0] = qAbs(edge(made, "1:1:300:200") - edge(made, "1:1:301:200"));
        }
        QVERIFY2(contrast[0] > 50 && contrast[1] < 20,
                 qPrintable(s("%1 %2").arg(contrast[0]).arg(contrast[1])));
    }

    void soundIsConvertedOnlyWhereABoxIsOn_data()
    {
        QTest::addColumn<bool>("rate");
        QTest::addColumn<bool>("bits");
        QTest::addColumn<bool>("format");
        QTest::addColumn<quint32>("codec");
        QTest::addColumn<QString>("sound");
        QTest::newRow("as it is") << false << false << false << 16777217U << s("pcm_s24le,48000,1");
        QTest::newRow("rate") << true << false << false << 16777217U << s("pcm_s24le,32000,1");
        QTest::newRow("bits") << false << true << false << 16777217U << s("pcm_s16le,48000,1");
        QTest::newRow("MP2") << false << false << true << 16777217U << s("mp2,48000,1");
        QTest::newRow("MP2 in MXF") << false << false << true << 50331649U << s("pcm_s24le,48000,1");
        QTest::newRow("rate in MXF") << true << false << false << 50331649U << s("pcm_s24le,48000,1");
    }
    void soundIsConvertedOnlyWhereABoxIsOn()
    {
        QFETCH(bool, rate);
        QFETCH(bool, bits);
        QFETCH(bool, format);
        QFETCH(quint32, codec);
        QFETCH(QString, sound);
        Order order(4, 4);
        QVERIFY(order.chooseData("videoCompressionType", codec));
        order.check("convertAudioSampleRate", rate);
        order.check("convertAudioBitDepth", bits);
        order.check("convertAudioFormat", format);
        QVERIFY(order.chooseData("audioSampleRate", 32000));
        QVERIFY(order.chooseData("audioSampleWidth", 16));
        QVERIFY(order.choose("audioFormat", s("MP2  (MXF OP1a)")));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=codec_name,sample_rate,channels", "a"), sound);
        const bool fellBack = codec == 50331649U;
        QCOMPARE(made->activities.front().notes.empty(), !fellBack);
    }

    void twoVolumesAreTwoFiles()
    {
        Order order(4, 4);
        QVERIFY(order.chooseData("videoCompressionType", 16777217U));
        const QString other = volume();
        order.putOn(m_volume, other);
        order.action.widget()->show(); // the sound's drive counts while its box can be seen
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(made->parts.size()), 2);
        QVERIFY(QString::fromStdString(made->parts[0].file.path).startsWith(m_volume));
        QVERIFY(QString::fromStdString(made->parts[1].file.path).startsWith(other));
    }

    void codecOfAnotherCatalogueIsFoundByItsName()
    {
        Order order(4, 4);
        order.codec->addItem(s("ProRes 422 LT"), 4242U);
        order.codec->setCurrentIndex(order.codec->count() - 1);
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=codec_name,profile"), s("prores,LT"));
        QVERIFY(!made->activities.front().notes.empty());
    }

    void fieldsGoBothWays_data()
    {
        QTest::addColumn<QByteArray>("options");
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("order"); ///< of the result
        const QByteArray moving = "-f lavfi -i testsrc2=s=720x576:r=50:d=0.16 ";
        QTest::newRow("interlaced into progressive")
            << moving + "-vf interlace=lowpass=0 -flags +ildct+ilme -c:v mpeg2video -q:v 2" << s("PAL 25p")
            << s("progressive");
        QTest::newRow("progressive into interlaced")
            << QByteArray("-f lavfi -i testsrc2=s=720x576:r=25:d=0.16 -c:v mpeg2video -q:v 2") << s("PAL 25i")
            << s("tt");
        QTest::newRow("interlaced as it is")
            << moving + "-vf interlace=lowpass=0 -flags +ildct+ilme -c:v mpeg2video -q:v 2" << s("PAL 25i")
            << s("tt");
        QTest::newRow("bottom first into top first")
            << moving + "-vf interlace=lowpass=0:scan=bff -flags +ildct+ilme -top 0 -c:v mpeg2video -q:v 2"
            << s("PAL 25i") << s("tt");
        QTest::newRow("another size")
            << moving + "-vf scale=640:480,interlace=lowpass=0 -flags +ildct+ilme -c:v mpeg2video -q:v 2"
            << s("PAL 25i") << s("tt");
    }
    void fieldsGoBothWays()
    {
        QFETCH(QByteArray, options);
        QFETCH(QString, type);
        QFETCH(QString, order);
        QCOMPARE(m_bench.make(s("fields.mpg"), options.constData()), QString());
        Order transcode(StandInHost::catalogue().findProjectType(type)->code, 4);
        QVERIFY(transcode.chooseData("videoCompressionType", 16777217U));
        transcode.putOn(m_volume, m_volume);
        const auto made = run(transcode, s("fields.mpg"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=field_order,nb_read_packets"), order + s(",4"));
    }

    void rotationIsApplied()
    {
        QCOMPARE(m_bench.make(s("lying.mp4"), "-f lavfi -i color=black:s=160x90:r=25:d=0.12,"
                                              "drawbox=0:0:80:90:white:fill -pix_fmt yuv420p -c:v libx264"),
                 QString());
        const QByteArray turn =
            "-i " + m_bench.path(s("lying.mp4")).toUtf8() + " -c copy -metadata:s:v rotate=90";
        QCOMPARE(m_bench.make(s("phone.mp4"), turn.constData()), QString());
        Order order(4, 4);
        order.check("videoIncludeReformattedContent", false);
        QVERIFY(order.chooseData("videoCompressionType", 4026531842U));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("phone.mp4"));
        QVERIFY2(made, made.refusal().text.c_str());
        // White on the left is white below when it is turned the other way round than a clock, as ffmpeg's
        // tag does.
        QVERIFY(edge(made, "1:1:iw/2:3*ih/4") > 200);
        QVERIFY(edge(made, "1:1:iw/2:ih/4") < 50);
    }

    void copiesAreMadeAsOrdered()
    {
        for (const bool relinks : {false, true}) {
            CopyMoveAction copy(1);
            copy.createWidget();
            copy.widget()->findChild<CopyToPathWidget*>()->setPath(volume());
            const QString target = s("%1/clip.mov").arg(m_bench.path(s("volume%1").arg(m_count)));
            copy.widget()->findChild<QCheckBox*>(s("relinkAfterCopy"))->setChecked(relinks);
            copy.widget()->findChild<QCheckBox*>(s("autoCheckin"))->setChecked(relinks);
            const auto made = run(copy, s("clip.mov"));
            QVERIFY2(made, made.refusal().text.c_str());
            QCOMPARE(QString::fromStdString(made->linked.path),
                     relinks ? target : m_bench.path(s("clip.mov")));
            QCOMPARE(EngineBench::pictures(target), EngineBench::pictures(m_bench.path(s("clip.mov"))));
            QCOMPARE(EngineBench::probed(target, "stream=codec_name", "a"), s("pcm_s24le"));
            QCOMPARE(recipeOf(copy).autoCheckin, relinks);
        }
    }

    void mediaOnTheTargetAreSkippedAsOrdered()
    {
        QCOMPARE(m_bench.make(s("mpeg2.mov"), "-f lavfi -i testsrc2=s=320x180:r=25:d=0.16 -c:v mpeg2video"),
                 QString());
        Consolidation order(4, 4);
        order.putOn(m_volume, m_volume);
        order.check("videoSkipOnTarget", false);
        const auto first = run(order, s("mpeg2.mov"));
        QVERIFY2(first, first.refusal().text.c_str());
        QCOMPARE(probed(first, "stream=codec_name,nb_read_packets"), s("mpeg2video,4"));
        QVERIFY(QString::fromStdString(first->linked.path).endsWith(s(".mxf")));
        const auto second = run(order, s("mpeg2.mov"));
        QVERIFY(second && second->linked.path != first->linked.path);
        order.check("videoSkipOnTarget", true);
        const auto skipped = run(order, s("mpeg2.mov"));
        QVERIFY(skipped && skipped->linked.path == m_bench.path(s("mpeg2.mov")).toStdString());
        order.check("videoRelinkSkippedToTarget", true);
        const auto relinked = run(order, s("mpeg2.mov"));
        QVERIFY(relinked && (relinked->linked.path == first->linked.path ||
                             relinked->linked.path == second->linked.path));
    }

    void soundOfAConsolidationIsConvertedOnlyWhereABoxIsOn_data()
    {
        QTest::addColumn<QByteArray>("box");
        QTest::addColumn<QString>("sound");
        QTest::newRow("as it is") << QByteArray() << s("pcm_s24le,48000,1");
        QTest::newRow("rate") << QByteArray("convertAudioSampleRate") << s("pcm_s24le,32000,1");
        QTest::newRow("bits") << QByteArray("convertAudioBitDepth") << s("pcm_s16le,48000,1");
        QTest::newRow("MP2") << QByteArray("convertAudioFormat") << s("mp2,48000,1");
    }
    void soundOfAConsolidationIsConvertedOnlyWhereABoxIsOn()
    {
        QFETCH(QByteArray, box);
        QFETCH(QString, sound);
        Consolidation order(4, 4);
        for (const char* each : {"convertAudioSampleRate", "convertAudioBitDepth", "convertAudioFormat"})
            order.check(each, box == each);
        QVERIFY(order.chooseData("audioSampleRate", 32000));
        QVERIFY(order.chooseData("audioSampleWidth", 16));
        QVERIFY(order.choose("audioFormat", s("MP2  (MXF OP1a)")));
        order.putOn(m_volume, m_volume);
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=codec_name,sample_rate,channels", "a"), sound);
        QCOMPARE(probed(made, "stream=codec_name,nb_read_packets"), s("mpeg4,4"));
    }

    void picturesAndSoundAreConsolidatedApart()
    {
        Consolidation order(4, 4);
        const QString other = volume();
        order.putOn(m_volume, other);
        order.action.widget()->show();
        const auto made = run(order, s("clip.mov"));
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(int(made->parts.size()), 2);
        QVERIFY(QString::fromStdString(made->parts[0].file.path).startsWith(m_volume));
        QVERIFY(QString::fromStdString(made->parts[1].file.path).startsWith(other));
    }

private:
    /// A transport stream cannot get other sound, so it cannot be consolidated.
    Outcome<Clip> transcodedInstead(Consolidation& order, const char* picture)
    {
        const QByteArray options =
            QByteArray("-f lavfi -i ") + picture +
            " -f lavfi -i sine=r=48000:d=0.12 -pix_fmt yuv420p -c:v libx264 -qp 0 -c:a aac";
        const QString failure = m_bench.make(s("instead.ts"), options.constData());
        if (!failure.isEmpty())
            return krxservice::Refusal{500, failure.toStdString()};
        order.check("convertAudioBitDepth", true);
        order.chooseData("audioSampleWidth", 16);
        m_volume = volume();
        order.putOn(m_volume, m_volume);
        return run(order, s("instead.ts"));
    }

private slots:
    void consolidationThatCannotBeDoneIsTranscodedAsOrdered()
    {
        const char* const plain = "testsrc2=s=320x180:r=25:d=0.12";
        Consolidation refusing(4, 4);
        QVERIFY(!transcodedInstead(refusing, plain));
        Consolidation order(4, 4);
        order.check("performTranscodeIfConsolidateFails", true);
        QVERIFY(order.choose("videoProjectType", s("PAL 25i")));
        QVERIFY(order.chooseData("videoColorSpace", 4));
        QVERIFY(order.chooseData("videoCompressionType", 16777217U));
        auto made = transcodedInstead(order, plain);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=codec_name,width,height,color_space,field_order"),
                 s("prores,720,576,smpte170m,tt"));
        QCOMPARE(probed(made, "stream=codec_name", "a"), s("pcm_s16le"));
        Consolidation narrow(10);
        narrow.check("performTranscodeIfConsolidateFails", true);
        QVERIFY(narrow.choose("videoRaster", s("1440x1080")));
        QVERIFY(narrow.chooseData("videoCompressionType", 16777217U));
        made = transcodedInstead(narrow, plain);
        QVERIFY2(made, made.refusal().text.c_str());
        QCOMPARE(probed(made, "stream=width,height"), s("1440,1080"));
    }

    void encodingProfileOfSuchATranscodeIsTheOrderedOne()
    {
        for (const int groups : {2, 3}) { // of twelve pictures, or of six
            Consolidation order(6, 8);
            order.check("performTranscodeIfConsolidateFails", true);
            QVERIFY(order.chooseData("videoCompressionType", 50331650U));
            QVERIFY(order.choose("encodingProfile", groups == 2 ? s("Standard") : s("Short groups")));
            const auto made = transcodedInstead(order, "color=gray:s=64x36:r=25:d=0.6");
            QVERIFY2(made, made.refusal().text.c_str());
            QCOMPARE(probed(made, "stream=codec_name,profile,pix_fmt"), s("mpeg2video,4:2:2,yuv422p"));
            QCOMPARE(probed(made, "packet=flags").count(QLatin1Char('K')), groups);
        }
    }
    void picturesOfSuchATranscodeAreMadeAsOrdered()
    {
        int edges[2] = {0, 0};
        int bright[2] = {0, 0};
        int contrast[2] = {0, 0};
        for (const bool isOn : {false, true}) {
            const auto order = [&](int type, int space) {
                auto made = std::make_unique<Consolidation>(type, space);
                made->check("performTranscodeIfConsolidateFails", true);
                made->chooseData("videoCompressionType", 4026531842U);
                return made;
            };
            const auto bars = order(4, 4);
            bars->check("videoIncludeReformattedContent", isOn);
            auto made = transcodedInstead(*bars, "color=white:s=128x128:r=25:d=0.12");
            QVERIFY2(made, made.refusal().text.c_str());
            edges[isOn] = edge(made);
            const auto colors = order(6, 8);
            colors->check("applyColorTransformations", isOn);
            made = transcodedInstead(
                *colors, "color=red:s=160x90:r=25:d=0.12,scale=out_color_matrix=bt601:out_range=tv,"
                         "format=yuv420p,setparams=colorspace=smpte170m:color_primaries=bt709:"
                         "color_trc=smpte170m:range=tv");
            QVERIFY2(made, made.refusal().text.c_str());
            bright[isOn] = edge(made);
            const auto scaling = order(4, 4);
            QVERIFY(scaling->chooseData("videoDebayerSetting", isOn ? 20 : 0));
            made = transcodedInstead(*scaling, "nullsrc=s=720x576:r=25:d=0.12,"
                                               "geq=lum='255*mod(X\\,2)':cb=128:cr=128");
            QVERIFY2(made, made.refusal().text.c_str());
            contrast[isOn] = qAbs(edge(made, "1:1:300:200") - edge(made, "1:1:301:200"));
        }
        QVERIFY2(edges[0] > 200 && edges[1] < 40, qPrintable(s("%1 %2").arg(edges[0]).arg(edges[1])));
        QVERIFY2(qAbs(bright[0] - bright[1]) > 8, qPrintable(s("%1 %2").arg(bright[0]).arg(bright[1])));
        QVERIFY2(contrast[0] > 50 && contrast[1] < 20,
                 qPrintable(s("%1 %2").arg(contrast[0]).arg(contrast[1])));
    }
};

QTEST_MAIN(TestMediaOrders)
#include "test_media_orders.moc"

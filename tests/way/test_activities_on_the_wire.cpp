#include "ActionList.h"
#include "CopyToPathWidget.h"
#include "KRXTest.h"
#include "KRXXml.h"
#include "documents/ProfileDocument.h"

#include <QCheckBox>
#include <QComboBox>

#include <pugixml.hpp>

#include <string>

using namespace ActionsWorld;
using krxservice::ActivityRecipe;

namespace {

/// The list as the request that creates a profile carries it.
std::string requestBody(List& list)
{
    QDomDocument doc = KRXXml::makeDocument();
    QDomElement request = doc.createElement(QStringLiteral("profileRequest"));
    doc.appendChild(request);
    QDomElement profile = doc.createElement(QStringLiteral("profile"));
    request.appendChild(profile);
    QDomElement detail = doc.createElement(QStringLiteral("profileDetail"));
    profile.appendChild(detail);
    KRXXml::appendTextElement(doc, detail, QStringLiteral("profileName"), QStringLiteral("Wire"));
    list.controller->writeXml(doc, profile);
    return KRXXml::toText(doc).toStdString();
}

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

/// The text of an element of an activity, by the path of its names, as pugixml reads it.
QString value(const ActivityRecipe& activity, const QByteArray& path)
{
    pugi::xml_document document;
    if (!document.load_string(activity.element.c_str(), pugi::parse_default | pugi::parse_ws_pcdata_single))
        return QStringLiteral("not XML");
    const pugi::xml_node node = document.document_element().first_element_by_path(path.constData());
    return node ? QString::fromUtf8(node.child_value()) : QStringLiteral("missing");
}

QString attribute(const ActivityRecipe& activity, const QByteArray& path, const char* name)
{
    pugi::xml_document document;
    document.load_string(activity.element.c_str());
    return QString::fromUtf8(
        document.document_element().first_element_by_path(path.constData()).attribute(name).value());
}

const QString kOddPath = QString::fromUtf8("/out  <&>\"'%1/\xf0\x9f\x8e\xac \xd7\xa9\xd7\x9c/]]>");

} // namespace

/// What the module writes of actions, read by the service's own parser and by no code of the module.
class TestActivitiesOnTheWire : public QObject
{
    Q_OBJECT

private slots:
    void init() { reset(); }

    void serviceReadsAllThreeActivities();
    void serviceKeepsActivitiesAsTheModuleReadsThem();
    void serviceReadsAnEmptyList();
    void serviceReadsAThousandActivities();
};

void TestActivitiesOnTheWire::serviceReadsAllThreeActivities()
{
    List list;
    for (int count = 0; count < 4; ++count)
        list.controller->addNewAction();
    const QList<ActionTWidget*> rows = list.controller->rows();
    rows.at(0)->findChild<CopyToPathWidget*>()->setPath(kOddPath);
    rows.at(0)->findChild<QCheckBox*>(QStringLiteral("relinkAfterCopy"))->setChecked(true);
    rows.at(2)->findChild<QCheckBox*>(QStringLiteral("convertAudioBitDepth"))->setChecked(true);
    rows.at(2)->findChild<QComboBox*>(QStringLiteral("filesystemAudioVolume"))->setCurrentIndex(2);
    rows.at(2)->findChild<QComboBox*>(QStringLiteral("videoDebayerSetting"))->setCurrentIndex(3);

    const auto stored = krxservice::profiledocument::fromRequest(requestBody(list), "wire-1");
    QVERIFY2(stored, stored ? "" : stored.refusal().text.c_str());
    const auto recipe = krxservice::profiledocument::recipe(*stored);
    QVERIFY(recipe);
    const auto& activities = recipe->activities;
    QCOMPARE(int(activities.size()), 4);

    QCOMPARE(text(activities[0].id), QStringLiteral("copy"));
    QCOMPARE(text(activities[0].name), QStringLiteral("Copy 1"));
    QCOMPARE(text(activities[0].destination), kOddPath);
    QVERIFY(activities[0].relinkAfterCopy);
    QVERIFY(!activities[0].autoCheckin);

    QCOMPARE(text(activities[1].id), QStringLiteral("consolidate"));
    QCOMPARE(text(activities[1].name), QStringLiteral("Consolidate"));
    QCOMPARE(value(activities[1], "outputDetail/filesystemVideoVolume"), QStringLiteral("/"));
    QCOMPARE(value(activities[1], "outputDetail/outputConsolidateVideoProfile/videoSkipOnTarget"),
             QStringLiteral("true"));
    const char* const fallback =
        "outputDetail/outputConsolidateVideoProfile/transcodeOptions/videoCompressionType";
    QCOMPARE(value(activities[1], fallback), QStringLiteral("102"));
    QCOMPARE(attribute(activities[1], fallback, "name"), QStringLiteral("Default <Codec> & \"more\""));

    QCOMPARE(text(activities[2].id), QStringLiteral("transcode"));
    QCOMPARE(text(activities[2].name), QStringLiteral("Transcode 1"));
    QCOMPARE(value(activities[2], "outputDetail/filesystemAudioVolume"), QStringLiteral("/media/b/"));
    const QByteArray video = "outputDetail/outputTranscodeVideoProfile/";
    QCOMPARE(value(activities[2], video + "videoProjectType"), QStringLiteral("1080p/25"));
    QCOMPARE(value(activities[2], video + "videoRaster"), QStringLiteral("1920x1080"));
    QCOMPARE(value(activities[2], video + "videoDebayerSetting"), QStringLiteral("20"));
    QCOMPARE(attribute(activities[2], video + "videoCompressionType", "compressionID"),
             QStringLiteral("ffffffff-ffff-ffff-ff-ff-ff-ff-ff-ff-ff-ff"));
    QCOMPARE(attribute(activities[2], video + "videoCompressionType", "horizontalSubsampling"),
             QStringLiteral("2"));
    QCOMPARE(value(activities[2], "outputDetail/outputAudioProfile/audioFormat"),
             QStringLiteral("PCM  (MXF OP1a)"));
    QCOMPARE(attribute(activities[2], "outputDetail/outputAudioProfile/audioSampleWidth", "enabled"),
             QStringLiteral("true"));
    QCOMPARE(text(activities[3].name), QStringLiteral("Transcode 2"));
}

void TestActivitiesOnTheWire::serviceKeepsActivitiesAsTheModuleReadsThem()
{
    List list;
    for (int count = 0; count < 3; ++count)
        list.controller->addNewAction();
    list.controller->rows().first()->findChild<CopyToPathWidget*>()->setPath(kOddPath);
    list.activities();
    const QString before = KRXTest::withSortedAttributes(list.doc.toString(1));

    const auto stored = krxservice::profiledocument::fromRequest(requestBody(list), "wire-2");
    QVERIFY(stored);
    list.controller->readXml(document(text(stored->document)));
    list.activities();
    QCOMPARE(KRXTest::withSortedAttributes(list.doc.toString(1)), before);
}

void TestActivitiesOnTheWire::serviceReadsAnEmptyList()
{
    List list;
    const auto stored = krxservice::profiledocument::fromRequest(requestBody(list), "wire-3");
    QVERIFY(stored);
    const auto recipe = krxservice::profiledocument::recipe(*stored);
    QVERIFY(recipe);
    QVERIFY(recipe->activities.empty());
}

void TestActivitiesOnTheWire::serviceReadsAThousandActivities()
{
    QString copies;
    for (int number = 1; number <= 1000; ++number)
        copies +=
            QStringLiteral("<activity id=\"copy\" name=\"Copy %1\"><destinationDetail><filesystemPath>/o/%1"
                           "</filesystemPath></destinationDetail></activity>")
                .arg(number);
    List list;
    list.read(copies);
    const auto stored = krxservice::profiledocument::fromRequest(requestBody(list), "wire-4");
    QVERIFY(stored);
    const auto recipe = krxservice::profiledocument::recipe(*stored);
    QVERIFY(recipe);
    QCOMPARE(int(recipe->activities.size()), 1000);
    QCOMPARE(text(recipe->activities.back().destination), QStringLiteral("/o/1000"));
}

QTEST_MAIN(TestActivitiesOnTheWire)
#include "test_activities_on_the_wire.moc"

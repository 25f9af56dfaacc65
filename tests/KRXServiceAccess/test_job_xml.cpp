#include "KRXJob.h"
#include "KRXJobXml.h"
#include "KRXServiceStatus.h"
#include "KRXTest.h"
#include "KRXXml.h"

#include <type_traits>
#include <utility>

namespace {

QDomElement elementOf(const QString& xml)
{
    QDomDocument document;
    if (!KRXXml::parse(xml, document))
        qFatal("The test's own document is not XML");
    return document.documentElement();
}

} // namespace

/// Jobs and the state of the service as records, and their documents.
class TestJobXml : public QObject
{
    Q_OBJECT

private slots:
    // --- Records ---------------------------------------------------------------------------------------

    void aNewJobIsEmpty()
    {
        const KRXJob job;
        for (const QString& text : {job.id, job.path, job.profile, job.groupID, job.groupName, job.state})
            QCOMPARE(text, QString());
        QVERIFY(job.outputFiles.isEmpty());
        QVERIFY(!job.complete);
        QCOMPARE(job.percentComplete, qint16(0));
        QVERIFY(std::has_virtual_destructor<KRXJob>::value);
    }

    void copiesOfAJobAreIndependent()
    {
        KRXJob job;
        job.id = QStringLiteral("1");
        job.outputFiles << QStringLiteral("a");
        KRXJob copy(job);
        copy.id = QStringLiteral("2");
        copy.outputFiles << QStringLiteral("b");
        QCOMPARE(job.id, QStringLiteral("1"));
        QCOMPARE(job.outputFiles.size(), 1);
        job = copy;
        QCOMPARE(job.id, QStringLiteral("2"));
    }

    void aNewServiceStatusIsIdleAndWithoutError()
    {
        KRXServiceStatus service;
        QVERIFY(!service.isActive());
        QVERIFY(!service.isError());
        QVERIFY(!service.isFolderReady());
        QStringList list{QStringLiteral("before")};
        service.getReadyFolderIDList(list);
        QVERIFY(list.isEmpty());
    }

    void aServiceStatusIsAValue()
    {
        KRXServiceStatus service;
        service.setActive(true);
        service.setError(true);
        service.setReadyFolderIDList({QStringLiteral("1"), QStringLiteral("2")});
        KRXServiceStatus copy(service);
        service.setActive(false);
        QVERIFY(copy.isActive());
        QVERIFY(copy.isError());
        QVERIFY(copy.isFolderReady());
        KRXServiceStatus moved(std::move(copy));
        QStringList list;
        moved.getReadyFolderIDList(list);
        QCOMPARE(list, QStringList({QStringLiteral("1"), QStringLiteral("2")}));
        KRXServiceStatus assigned;
        assigned = moved;
        assigned.setReadyFolderIDList({});
        QVERIFY(assigned.isActive());
        QVERIFY(assigned.isError());
        QVERIFY(!assigned.isFolderReady());
        assigned = std::move(moved);
        QVERIFY(assigned.isFolderReady());
    }

    // --- Reading elements ------------------------------------------------------------------------------

    void aJobInfoElementFillsTheDetails()
    {
        const KRXJob job = KRXJobXml::parseJobInfoElement(elementOf(QStringLiteral(
            "<jobInfo><id>1</id><path>/a</path><profile>p</profile><groupID>g</groupID><groupName>G</"
            "groupName>"
            "<state>no</state><outputXELFiles><fileName>x</fileName><in><fileName>y</fileName></in>"
            "</outputXELFiles><fileName>no</fileName></jobInfo>")));
        QCOMPARE(job.id, QStringLiteral("1"));
        QCOMPARE(job.path, QStringLiteral("/a"));
        QCOMPARE(job.profile, QStringLiteral("p"));
        QCOMPARE(job.groupID, QStringLiteral("g"));
        QCOMPARE(job.groupName, QStringLiteral("G"));
        QCOMPARE(job.state, QString());
        QCOMPARE(job.outputFiles, QStringList({QStringLiteral("x"), QStringLiteral("y")}));
    }

    void aJobInfoWithoutOutputsYieldsAnEmptyList()
    {
        QVERIFY(KRXJobXml::parseJobInfoElement(elementOf(QStringLiteral("<jobInfo><id>1</id></jobInfo>")))
                    .outputFiles.isEmpty());
    }

    void aJobReadsItsProfileFromTheShortName()
    {
        QCOMPARE(KRXJobXml::parseJobInfoElement(
                     elementOf(QStringLiteral("<jobInfo><profileID>no</profileID></jobInfo>")))
                     .profile,
                 QString());
    }

    void aJobStatusElementFillsStateAndProgress()
    {
        const KRXJob job = KRXJobXml::parseJobStatusElement(
            elementOf(QStringLiteral("<jobStatus><id>1</id><state>RUNNING</state><complete>true</complete>"
                                     "<percentComplete>42</percentComplete><path>no</path></jobStatus>")));
        QCOMPARE(job.id, QStringLiteral("1"));
        QCOMPARE(job.state, QStringLiteral("RUNNING"));
        QVERIFY(job.complete);
        QCOMPARE(job.percentComplete, qint16(42));
        QCOMPARE(job.path, QString());
    }

    void aRepeatedChildOverwritesTheEarlierOne()
    {
        const KRXJob job = KRXJobXml::parseJobStatusElement(elementOf(QStringLiteral(
            "<jobStatus><state>A</state><complete>true</complete><state>B</state><complete>no</complete>"
            "</jobStatus>")));
        QCOMPARE(job.state, QStringLiteral("B"));
        QVERIFY(!job.complete);
        const KRXJob detail = KRXJobXml::parseJobInfoElement(
            elementOf(QStringLiteral("<jobInfo><outputXELFiles><fileName>1</fileName></outputXELFiles>"
                                     "<outputXELFiles><fileName>2</fileName></outputXELFiles></jobInfo>")));
        QCOMPARE(detail.outputFiles, QStringList(QStringLiteral("2")));
    }

    void aNullElementYieldsTheEmptyJob()
    {
        for (const KRXJob& job : {KRXJobXml::parseJobInfoElement(QDomElement()),
                                  KRXJobXml::parseJobStatusElement(QDomElement())}) {
            for (const QString& text : {job.id, job.path, job.profile, job.groupID, job.groupName, job.state})
                QCOMPARE(text, QString());
            QVERIFY(job.outputFiles.isEmpty());
            QVERIFY(!job.complete);
            QCOMPARE(job.percentComplete, qint16(0));
        }
    }

    void onlyTheExactTextTrueIsComplete_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("complete");
        QTest::newRow("true") << QStringLiteral("true") << true;
        QTest::newRow("True") << QStringLiteral("True") << false;
        QTest::newRow("TRUE") << QStringLiteral("TRUE") << false;
        QTest::newRow("blank") << QStringLiteral(" true") << false;
        QTest::newRow("1") << QStringLiteral("1") << false;
        QTest::newRow("empty") << QString() << false;
    }
    void onlyTheExactTextTrueIsComplete()
    {
        QFETCH(QString, text);
        QFETCH(bool, complete);
        const QString xml = QStringLiteral("<jobStatus><complete>%1</complete></jobStatus>").arg(text);
        QCOMPARE(KRXJobXml::parseJobStatusElement(elementOf(xml)).complete, complete);
    }

    void percentagesThatAreNoSigned16BitNumberReadAsZero_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("percent");
        QTest::newRow("abc") << QStringLiteral("abc") << 0;
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("fraction") << QStringLiteral("4.5") << 0;
        QTest::newRow("hexadecimal") << QStringLiteral("0x10") << 0;
        QTest::newRow("beyond") << QStringLiteral("32768") << 0;
        QTest::newRow("far beyond") << QStringLiteral("99999999999999999999") << 0;
        QTest::newRow("largest") << QStringLiteral("32767") << 32767;
        QTest::newRow("smallest") << QStringLiteral("-32768") << -32768;
        QTest::newRow("below") << QStringLiteral("-32769") << 0;
    }
    void percentagesThatAreNoSigned16BitNumberReadAsZero()
    {
        QFETCH(QString, text);
        QFETCH(int, percent);
        const QString xml =
            QStringLiteral("<jobStatus><percentComplete>%1</percentComplete></jobStatus>").arg(text);
        QCOMPARE(int(KRXJobXml::parseJobStatusElement(elementOf(xml)).percentComplete), percent);
    }

    // --- Written documents -----------------------------------------------------------------------------

    void theSubmissionIsWrittenAsAWhole()
    {
        QCOMPARE(KRXJobXml::submission(QStringLiteral("/a & b"), QStringLiteral("p-1")),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<jobInfo>\n"
                                " <path>/a &amp; b</path>\n"
                                " <profileID>p-1</profileID>\n"
                                "</jobInfo>\n"));
    }

    void theStateChangeIsWrittenAsAWhole()
    {
        QCOMPARE(KRXJobXml::stateChange(QStringLiteral("CANCELLED")),
                 QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                                "<jobStatus>\n"
                                " <state>CANCELLED</state>\n"
                                "</jobStatus>\n"));
    }
};

QTEST_GUILESS_MAIN(TestJobXml)
#include "test_job_xml.moc"

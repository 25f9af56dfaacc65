#include "HostCheck.h"
#include "HostDefaults.h"
#include "LyingRestClient.h"
#include "RestClient.h"

#include "CustomProject.h"
#include "StandInHost.h"
#include "StandInMedia.h"

#include <QAbstractScrollArea>
#include <QPainter>
#include <QTest>

#include <functional>

namespace {

using Break = std::function<void(HostOperations&)>;
using Check = void (*)(const HostOperations&, HostFindings&);

struct BrokenHost
{
    const char* fault;
    Check check;
    Break breakIt;
};

HostStatus succeedWithNothing(const HostIdentifier&, IHostComponentFactory**)
{
    return kHostStatusOk;
}

HostStatus anyFactory(const HostIdentifier&, IHostComponentFactory** out)
{
    return StandInHost::operations().getComponentFactory(kHostComponentFactoryId, out);
}

using LyingRestClient::Lie;

/// A host whose REST client breaks its word in one place.
BrokenHost lying(const char* fault, Lie lie, int slot = 0)
{
    return {fault, &HostCheck::checkRestClient, [lie, slot](HostOperations& host) {
                LyingRestClient::tell(lie, slot);
                host.getComponentFactory = &LyingRestClient::factory;
            }};
}

/// Passes an operation on to the stand-in, and counts.
template <auto member>
struct Counted;

template <class Result, class... Arguments, Result (*HostOperations::*member)(Arguments...)>
struct Counted<member>
{
    static inline int count = 0;

    static Result answer(Arguments... arguments)
    {
        ++count;
        return (StandInHost::operations().*member)(arguments...);
    }
};

QWidget* shadowElsewhere(QAbstractScrollArea*)
{
    static QWidget elsewhere;
    return &elsewhere;
}

/// Hosts that break their word in one operation each, and what is said of them.
const std::vector<BrokenHost>& brokenHosts()
{
    using namespace HostCheck;
    static const std::vector<BrokenHost> hosts{
        {"HostCore::translateText", &checkTable,
         [](HostOperations& host) { host.HostCore_translateText = nullptr; }},
        {"getComponentFactory", &checkTable,
         [](HostOperations& host) { host.getComponentFactory = nullptr; }},
        {"translateText() does not give an unknown text back", &checkTexts,
         [](HostOperations& host) {
             host.HostCore_translateText = [](const QString&) { return QString(); };
         }},
        {"unicodeFromMultibyte() changes plain text", &checkTexts,
         [](HostOperations& host) {
             host.HostCore_unicodeFromMultibyte = [](const char*) { return QString(); };
         }},
        {"volumeName() is not cut", &checkVolumes,
         [](HostOperations& host) {
             host.HostCore_localVolumeGroups = [](QList<HostCore::VolumeGroup>& groups) {
                 groups.append({1});
                 return true;
             };
             host.HostCore_isVolumeUsable = [](HostCore::VolumeHandle) { return true; };
             host.HostCore_volumeName = [](HostCore::VolumeHandle, int) { return QStringLiteral("Media"); };
         }},
        {"compatibleProjectTypes() gives more than asked for", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_compatibleProjectTypes = [](int, int) { return QList<int>{1, 2}; };
         }},
        {"lack a name", &checkMediaEngine,
         [](HostOperations& host) { host.HostMediaEngine_projectTypeName = [](int) { return QString(); }; }},
        {"findFormat() finds the format 0", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_findFormat = [](quint32, HostMediaEngine::CustomFormat&) { return true; };
         }},
        {"findCompression() finds what there is not", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_findCompression = [](quint32, HostMediaEngine::CompressionDescriptor&) {
                 return true;
             };
         }},
        {"has no text", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_sampleRateText = [](int) -> const char* { return nullptr; };
         }},
        {"the list of sample sizes has one twice", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_sampleSizeCount = [](int) { return 2; };
             host.HostMediaEngine_nthSampleSize = [](int, int) { return 16; };
         }},
        {"has no GUID in braces", &checkMediaEngine,
         [](HostOperations& host) {
             host.HostMediaEngine_listLinkedMediaPlugins = [] {
                 return QList<HostMediaEngine::LinkedMediaPlugin>{
                     {QStringLiteral("1"), QString(), QString()}};
             };
         }},
        {"an unknown name of the palette gives a colour", &checkShells,
         [](HostOperations& host) {
             host.HostQtShell_paletteColor = [](const QString&) { return QColor(Qt::red); };
         }},
        {"drawSkinnedIcon() changes the painter", &checkShells,
         [](HostOperations& host) {
             host.HostQtShell_drawSkinnedIcon = [](QPainter* painter, const QRect&, const QString&,
                                                   const QString&, const HostQtShell::IconTintColors&, int,
                                                   HostQtShell::IconVariant) { painter->scale(2, 2); };
         }},
        {"disabledAlpha()", &checkShells,
         [](HostOperations& host) { host.HostQtShell_disabledAlpha = [](bool) { return 1000; }; }},
        {"the drop shadow is no child", &checkShells,
         [](HostOperations& host) { host.HostQtShell_addDropShadowOverlay = &shadowElsewhere; }},
        {"showHelpTopic() runs an event loop", &checkShells,
         [](HostOperations& host) {
             host.HostStatusShell_showHelpTopic = [](const QString&, int) {
                 QCoreApplication::processEvents();
             };
         }},
        {"the progress or the panes run an event loop", &checkShells,
         [](HostOperations& host) {
             host.HostStatusShell_statusProgressClose = [] { QCoreApplication::processEvents(); };
         }},
        {"closed counts as Yes", &checkDialogs,
         [](HostOperations& host) {
             host.HostQtShell_showManagedMessageBox =
                 [](QWidget*, QMessageBox::Icon, const QString&, const QString&, QMessageBox::StandardButtons,
                    QMessageBox::StandardButton) { return QMessageBox::Yes; };
         }},
        {"a chooser that is closed has chosen", &checkDialogs,
         [](HostOperations& host) {
             host.HostQtShell_chooseDirectory = [](QWidget*, const QString&, const QString&) {
                 return QStringLiteral("/");
             };
         }},
        {"getComponentFactory() has no factory", &checkRestClient,
         [](HostOperations& host) { host.getComponentFactory = &succeedWithNothing; }},
        {"has a factory for an unknown identifier", &checkRestClient,
         [](HostOperations& host) { host.getComponentFactory = &anyFactory; }},
        lying("createComponent() makes something of an unknown class", Lie::MakesUnknownClass),
        lying("createComponent() makes no REST client", Lie::MakesNoClient),
        lying("do not agree on its count", Lie::ClientMiscounts),
        lying("a reserved slot of the client succeeds", Lie::ReservedOfClient, 5),
        lying("a reserved slot of the client succeeds", Lie::ReservedOfClient, 7),
        lying("GET gives no response", Lie::GetHasNoResponse),
        lying("POST gives no response", Lie::PostHasNoResponse),
        lying("PUT gives no response", Lie::PutHasNoResponse),
        lying("DELETE gives no response", Lie::DeleteHasNoResponse),
        lying("GET sends another request line: PATCH /ok HTTP/1.1", Lie::SendsOtherMethod),
        lying("PUT sends another Host", Lie::SendsOtherHost),
        lying("PUT does not declare its body as XML", Lie::SendsPlainText),
        lying("PUT sends another body", Lie::SendsWholeBuffer),
        lying("POST sends another body", Lie::SendsLater),
        lying("waitForCompletion() fails for a short answer", Lie::WaitFails),
        lying("isComplete() fails after the wait", Lie::IsNeverComplete),
        lying("isSuccess() fails for status 200", Lie::GoodIsFailure),
        lying("getStatusCode() does not say 200", Lie::HasNoStatus),
        lying("getStatusCode() does not say 200", Lie::SaysOtherStatus),
        lying("getContentLength() says 6 for five bytes", Lie::SaysOtherLength),
        lying("readContent() does not keep to a buffer of three bytes", Lie::ReadsBeyondBuffer),
        lying("readContent() does not keep to a buffer of three bytes", Lie::SaysMoreThanRead),
        lying("readContent() does not give the whole body from its start", Lie::GoesOnReading),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 3),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 4),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 5),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 6),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 9),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 11),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 12),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 14),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 15),
        lying("a reserved slot of the response succeeds", Lie::ReservedOfResponse, 16),
        lying("isSuccess() succeeds for status 404", Lie::RefusalIsSuccess),
        lying("getStatusCode() does not say 404", Lie::RefusalIsStatus200),
        lying("a 404 has no error message", Lie::RefusalHasNoMessage),
        lying("waitForCompletion() succeeds before the answer is there", Lie::WaitEndsAtOnce),
        lying("success and a response do not come together", Lie::NobodyIsNoResponse),
        lying("an exchange with nobody does not finish", Lie::NobodyNeverFinishes),
        lying("isSuccess() succeeds though nobody answered", Lie::NobodyIsSuccess),
        lying("getStatusCode() succeeds though nobody answered", Lie::NobodyHasStatus),
        lying("nobody answered, and no message says so", Lie::NobodyHasNoMessage),
    };
    return hosts;
}

} // namespace

/// What krx-host-check finds out about a host.
class TestHostCheck : public QObject
{
    Q_OBJECT

    static void lookAtAll(const HostOperations& host, HostFindings& findings)
    {
        HostCheck::checkTable(host, findings);
        HostCheck::checkTexts(host, findings);
        HostCheck::checkVolumes(host, findings);
        HostCheck::checkMediaEngine(host, findings);
        HostCheck::checkShells(host, findings);
        HostCheck::checkDialogs(host, findings);
        HostCheck::checkRestClient(host, findings);
    }

private slots:
    void theStandInIsSound()
    {
        HostFindings findings;
        lookAtAll(StandInHost::operations(), findings);
        QCOMPARE(findings.faults().join(QLatin1Char('\n')), QString());
    }

    void aHostThatHasNothingOfItsOwnIsNotWrong()
    {
        HostOperations host = HostDefaults::operations();
        host.getComponentFactory = &succeedWithNothing;
        HostFindings findings;
        HostCheck::checkTable(host, findings);
        HostCheck::checkTexts(host, findings);
        HostCheck::checkVolumes(host, findings);
        HostCheck::checkMediaEngine(host, findings);
        HostCheck::checkShells(host, findings);
        QCOMPARE(findings.faults(), QStringList());
        QVERIFY(findings.nones().contains(QStringLiteral("volumes")));
        QVERIFY(findings.nones().contains(QStringLiteral("the icon icons/KRX/IngestReady.png")));
    }

    /// What is found out below is found in the lie alone.
    void theClientThatMayLieIsSoundUntilItDoes()
    {
        HostOperations host = StandInHost::operations();
        lying("", Lie::None).breakIt(host);
        HostFindings findings;
        HostCheck::checkRestClient(host, findings);
        QCOMPARE(findings.faults(), QStringList());
    }

    void everyOperationIsCalled()
    {
        HostOperations host;
        host.getComponentFactory = &Counted<&HostOperations::getComponentFactory>::answer;
#define KRX_OPERATION(library, operation)                                                                    \
    host.library##_##operation = &Counted<&HostOperations::library##_##operation>::answer;
        KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
        HostFindings findings;
        lookAtAll(host, findings);
        // Formats are asked for in a project that has a frame of its own.
        openCustomProject();
        HostCheck::checkMediaEngine(host, findings);
        StandInHost::resetMedia();
        QCOMPARE(findings.faults(), QStringList());
        QVERIFY(Counted<&HostOperations::getComponentFactory>::count > 0);
        QStringList neverCalled;
#define KRX_OPERATION(library, operation)                                                                    \
    if (Counted<&HostOperations::library##_##operation>::count == 0)                                         \
        neverCalled.append(QStringLiteral(#library "::" #operation));
        KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
        QCOMPARE(neverCalled.join(QLatin1Char(' ')), QString());
    }

    void aHostThatBreaksItsWordIsFoundOut_data()
    {
        QTest::addColumn<int>("index");
        for (std::size_t index = 0; index < brokenHosts().size(); ++index)
            QTest::addRow("%d: %s", int(index), brokenHosts()[index].fault) << int(index);
    }

    void aHostThatBreaksItsWordIsFoundOut()
    {
        QFETCH(int, index);
        const BrokenHost& broken = brokenHosts()[std::size_t(index)];
        HostOperations host = StandInHost::operations();
        broken.breakIt(host);
        HostFindings findings;
        broken.check(host, findings);
        const QString faults = findings.faults().join(QLatin1Char('\n'));
        QVERIFY2(faults.contains(QLatin1String(broken.fault)), qUtf8Printable(faults));
    }
};

QTEST_MAIN(TestHostCheck)
#include "test_host_check.moc"

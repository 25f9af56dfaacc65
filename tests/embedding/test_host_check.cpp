#include "HostCheck.h"
#include "HostDefaults.h"
#include "RestClient.h"

#include "StandInHost.h"

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
    };
    return hosts;
}

} // namespace

/// What krx-host-check finds out about a host.
class TestHostCheck : public QObject
{
    Q_OBJECT

private slots:
    void theStandInIsSound()
    {
        const HostOperations& host = StandInHost::operations();
        HostFindings findings;
        HostCheck::checkTable(host, findings);
        HostCheck::checkTexts(host, findings);
        HostCheck::checkVolumes(host, findings);
        HostCheck::checkMediaEngine(host, findings);
        HostCheck::checkShells(host, findings);
        HostCheck::checkDialogs(host, findings);
        HostCheck::checkRestClient(host, findings);
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

    void aHostThatBreaksItsWordIsFoundOut_data()
    {
        QTest::addColumn<int>("index");
        for (std::size_t index = 0; index < brokenHosts().size(); ++index)
            QTest::newRow(brokenHosts()[index].fault) << int(index);
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

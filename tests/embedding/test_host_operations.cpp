#include "HostDefaults.h"
#include "KRXHost.h"
#include "KRXWindow.h"

#include "StandInHost.h"

#include <QApplication>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <cstddef>
#include <cstring>

namespace {

constexpr int kPatience = 60000; // milliseconds
/// Has this program be a host of the past.
const QString kOlder = QStringLiteral("older");

/// What is said of a table.
QString refusalOf(const HostOperations* operations)
{
    QString why;
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("^KRX Folders ")));
    return krxTakeHost(operations, &why) ? QString() : why;
}

/// Whether a table is refused with this sentence in the log and nowhere else.
bool isRefusedInTheLogOnly(const HostOperations* operations, const QString& sentence)
{
    const QString before = QStringLiteral("untouched");
    QString why = before;
    QTest::ignoreMessage(QtCriticalMsg, qPrintable(sentence));
    return !krxTakeHost(operations, &why) && why == before;
}

/// A host whose table ends before the operations for pictures and panes, which came later. What lies behind
/// its end is not part of it.
int liveInAnOlderHost(int argc, char** argv)
{
    const QApplication application(argc, argv);
    HostOperations older = HostDefaults::operations();
    older.getComponentFactory = [](const HostIdentifier&, IHostComponentFactory**) {
        return kHostStatusFailed;
    };
    older.size = offsetof(HostOperations, HostQtShell_skinnedIcon);
    std::memset(reinterpret_cast<char*>(&older) + older.size, 0xff, sizeof older - older.size);
    QString why;
    if (!krxTakeHost(&older, &why)) {
        qWarning("%s", qPrintable(why));
        return 1;
    }
    KRXWindow panel(nullptr, nullptr);
    panel.show();
    panel.grab();
    return 0;
}

} // namespace

/// How the module comes by its host, which is the stand-in here.
class TestHostOperations : public QObject
{
    Q_OBJECT

private slots:
    void theWholeTableIsTakenAgain()
    {
        QString why;
        QVERIFY(krxTakeHost(&StandInHost::operations(), &why));
        QCOMPARE(why, QString());
    }

    void everyMissingOperationIsNamed_data()
    {
        QTest::addColumn<int>("place");
        QTest::addColumn<QString>("name");
        QTest::newRow("getComponentFactory")
            << int(offsetof(HostOperations, getComponentFactory)) << QStringLiteral("getComponentFactory");
#define KRX_OPERATION(library, operation)                                                                    \
    QTest::newRow(#library "::" #operation)                                                                  \
        << int(offsetof(HostOperations, library##_##operation)) << QStringLiteral(#library "::" #operation);
        KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
    }

    void everyMissingOperationIsNamed()
    {
        QFETCH(int, place);
        QFETCH(QString, name);
        HostOperations operations = StandInHost::operations();
        std::memset(reinterpret_cast<char*>(&operations) + place, 0, sizeof(void*));
        QCOMPARE(refusalOf(&operations),
                 QStringLiteral("KRX Folders asks for what this host does not have: %1.").arg(name));
    }

    void allThatIsMissingIsNamedAtOnce()
    {
        HostOperations operations = StandInHost::operations();
        operations.HostCore_translateText = nullptr;
        operations.HostStatusShell_showHelpTopic = nullptr;
        QCOMPARE(refusalOf(&operations),
                 QStringLiteral("KRX Folders asks for what this host does not have: "
                                "HostCore::translateText, HostStatusShell::showHelpTopic."));
    }

    void anOlderHostIsAnsweredForBehindItsEnd()
    {
        QProcess older;
        older.setProcessChannelMode(QProcess::MergedChannels);
        older.start(QCoreApplication::applicationFilePath(), {kOlder});
        QVERIFY(older.waitForFinished(kPatience));
        const QString said = QString::fromUtf8(older.readAll());
        QVERIFY2(older.exitStatus() == QProcess::NormalExit && older.exitCode() == 0, qUtf8Printable(said));
        QVERIFY2(
            said.contains(QStringLiteral(
                "This host is older than KRX Folders, which answers in its place: "
                "HostQtShell::skinnedIcon, HostQtShell::skinnedPixmap, HostQtShell::addDropShadowOverlay, "
                "HostQtShell::holdNavigationPanes, HostQtShell::releaseNavigationPanes.")),
            qUtf8Printable(said));
    }

    void noHostIsTooOldForARestClient()
    {
        HostOperations operations = StandInHost::operations();
        operations.size = offsetof(HostOperations, getComponentFactory);
        QCOMPARE(refusalOf(&operations),
                 QStringLiteral("KRX Folders asks for what this host does not have: getComponentFactory."));
    }

    void aHostThatIsNewerHasMoreThanIsAskedFor()
    {
        // What stands behind the known part is not looked at.
        struct Newer
        {
            HostOperations known;
            void* more = nullptr;
        } newer{StandInHost::operations()};
        newer.known.size = sizeof newer;
        QVERIFY(krxTakeHost(&newer.known, nullptr));
    }

    /// Texts of another Qt are made otherwise inside: only a table that is of this one says that they may
    /// cross.
    void whoMayBeOfAnotherQtIsToldInTheLogOnly()
    {
        QVERIFY(isRefusedInTheLogOnly(nullptr,
                                      QStringLiteral("KRX Folders was given no table of host operations.")));
        HostOperations operations = StandInHost::operations();
        operations.size = 4;
        QVERIFY(isRefusedInTheLogOnly(
            &operations,
            QStringLiteral("KRX Folders was given a table of host operations whose size is 4; begin "
                           "with \"HostOperations host;\" or HostDefaults::operations().")));
        operations = StandInHost::operations();
        operations.qtMajor = QT_VERSION_MAJOR + 1;
        QVERIFY(isRefusedInTheLogOnly(
            &operations, QStringLiteral("KRX Folders is built with Qt %1, and the host with Qt %2.")
                             .arg(QT_VERSION_MAJOR)
                             .arg(QT_VERSION_MAJOR + 1)));
    }

    void aSecondHostIsRefused()
    {
        HostOperations operations = StandInHost::operations();
        operations.HostQtShell_currentSkinIndex = [] { return 7; };
        QCOMPARE(refusalOf(&operations), QStringLiteral("KRX Folders has a host already."));
    }

    void noOperationIsNamedTwice()
    {
        QStringList names;
#define KRX_OPERATION(library, operation) names.append(QStringLiteral(#library "::" #operation));
        KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
        QCOMPARE(names.removeDuplicates(), 0);
        // Nothing else stands in the table, and nothing between.
        QCOMPARE(sizeof(HostOperations), offsetof(HostOperations, getComponentFactory) +
                                             std::size_t(names.size() + 1) * sizeof(void*));
    }
};

int main(int argc, char** argv)
{
    if (argc == 2 && kOlder == QLatin1String(argv[1]))
        return liveInAnOlderHost(argc, argv);
    if (!krxTakeHost(&StandInHost::operations(), nullptr))
        return 1;
    const QCoreApplication application(argc, argv);
    TestHostOperations test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_host_operations.moc"

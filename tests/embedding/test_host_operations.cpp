#include "KRXHost.h"

#include "StandInHost.h"

#include <QRegularExpression>
#include <QTest>

#include <cstddef>
#include <cstring>

namespace {

/// What is said of a table.
QString refusalOf(const HostOperations* operations)
{
    QString why;
    QTest::ignoreMessage(QtCriticalMsg, QRegularExpression(QStringLiteral("^KRX Folders ")));
    return krxTakeHost(operations, &why) ? QString() : why;
}

} // namespace

/// How the module comes by its host. The stand-in was handed over before main() was entered.
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

    void aHostThatIsOlderLacksTheEndOfTheTable()
    {
        HostOperations operations = StandInHost::operations();
        operations.size = std::uint32_t(sizeof operations - sizeof(void*));
        const QString last = refusalOf(&operations);
        QCOMPARE(last, QStringLiteral("KRX Folders asks for what this host does not have: "
                                      "HostQtShell::releaseNavigationPanes."));
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

    void whatIsNoTableIsRefused()
    {
        QCOMPARE(refusalOf(nullptr), QStringLiteral("KRX Folders was given no table of host operations."));
        HostOperations operations = StandInHost::operations();
        operations.size = 4;
        QCOMPARE(refusalOf(&operations),
                 QStringLiteral("KRX Folders was given a table of host operations whose size is 4; begin "
                                "with \"HostOperations host;\" or HostDefaults::operations()."));
    }

    void aHostOfAnotherQtIsRefused()
    {
        HostOperations operations = StandInHost::operations();
        operations.qtMajor = QT_VERSION_MAJOR + 1;
        QCOMPARE(refusalOf(&operations),
                 QStringLiteral("KRX Folders is built with Qt %1, and the host with Qt %2.")
                     .arg(QT_VERSION_MAJOR)
                     .arg(QT_VERSION_MAJOR + 1));
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

QTEST_GUILESS_MAIN(TestHostOperations)
#include "test_host_operations.moc"

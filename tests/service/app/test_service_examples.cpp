#include "ServiceProgram.h"

#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// The examples in the protocol's page, run as they stand.
class TestServiceExamples : public QObject
{
    Q_OBJECT

private slots:
    void allExamplesOfTheProtocolPageWork()
    {
        QFile page(QStringLiteral(KRX_PROTOCOL_PAGE));
        QVERIFY(page.open(QIODevice::ReadOnly));
        QString script = QStringLiteral("set -euo pipefail\n");
        int blocks = 0;
        const QRegularExpression block(QStringLiteral("^```sh\n(.*?)^```$"),
                                       QRegularExpression::MultilineOption |
                                           QRegularExpression::DotMatchesEverythingOption);
        auto matches = block.globalMatch(QString::fromUtf8(page.readAll()));
        while (matches.hasNext()) {
            script += matches.next().captured(1);
            ++blocks;
        }
        QVERIFY(blocks >= 8);

        QTemporaryDir folder;
        ServiceProgram service;
        QVERIFY(service.start(folder.filePath(QStringLiteral("data"))));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KRX"),
                           QStringLiteral("http://localhost:%1/KRXService").arg(service.port()));
        environment.insert(QStringLiteral("WATCH"), folder.filePath(QStringLiteral("watch here")));
        QProcess shell;
        shell.setProcessEnvironment(environment);
        shell.start(QStringLiteral("bash"), {QStringLiteral("-c"), script});
        QVERIFY(shell.waitForFinished(60000));
        const QByteArray complaints = shell.readAllStandardError();
        QVERIFY2(shell.exitCode() == 0, QByteArray(complaints + shell.readAllStandardOutput()).constData());
        QCOMPARE(complaints, QByteArray());
        QVERIFY(service.get("xelmediafolders").texts(QStringLiteral("xelMediaFolderURI")).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestServiceExamples)
#include "test_service_examples.moc"

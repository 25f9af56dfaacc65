#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int kProgramPatience = 60000;

/// What the checker says and how it ends.
struct Verdict
{
    int exitCode = -1;
    QString text;
};

Verdict check(const QStringList& arguments)
{
    QProcess checker;
    checker.setProcessChannelMode(QProcess::MergedChannels);
    checker.start(QStringLiteral(KRX_SOURCE_DIR "/packaging/check-format"), arguments);
    Verdict verdict;
    if (checker.waitForFinished(kProgramPatience) && checker.exitStatus() == QProcess::NormalExit)
        verdict.exitCode = checker.exitCode();
    verdict.text = QString::fromUtf8(checker.readAll());
    return verdict;
}

void write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
        qFatal("a source to format cannot be written");
}

} // namespace

/// Every source has one form, so that a change shows what changed.
class TestFormat : public QObject
{
    Q_OBJECT

private slots:
    void everySourceIsFormatted()
    {
        const Verdict verdict = check({});
        const QString advice = verdict.text + QStringLiteral("\npackaging/check-format --fix formats them.");
        QVERIFY2(verdict.exitCode == 0, qUtf8Printable(advice));
    }

    void aSourceThatDoesNotFitIsNamed()
    {
        QTemporaryDir folder;
        write(folder.filePath(QStringLiteral("Good.cpp")), "int good()\n{\n    return 1;\n}\n");
        QCOMPARE(check({folder.path()}).exitCode, 0);
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("room")));
        const QString bad = folder.filePath(QStringLiteral("room/Bad.h"));
        write(bad, "int bad() {\n  return 1; }\n");
        const Verdict verdict = check({folder.path()});
        QVERIFY(verdict.exitCode != 0);
        QVERIFY2(verdict.text.contains(bad), qUtf8Printable(verdict.text));
        QVERIFY(!verdict.text.contains(QLatin1String("Good.cpp")));

        QCOMPARE(check({QStringLiteral("--fix"), folder.path()}).exitCode, 0);
        QCOMPARE(check({folder.path()}).exitCode, 0);
    }
};

QTEST_GUILESS_MAIN(TestFormat)
#include "test_format.moc"

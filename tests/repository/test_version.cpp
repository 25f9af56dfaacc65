#include "TestFiles.h"

#include <QDate>
#include <QDir>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QVersionNumber>

using TestFiles::content;

namespace {

constexpr int kProgramPatience = 60000;

QString inTree(const char* name)
{
    return QStringLiteral(KRX_SOURCE_DIR) + QLatin1Char('/') + QLatin1String(name);
}

struct Outcome
{
    int exitCode = -1;
    QString text;
};

Outcome run(const QString& program, const QStringList& arguments, const QString& folder = QString())
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setWorkingDirectory(folder);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"GIT_AUTHOR_NAME", "GIT_COMMITTER_NAME"})
        environment.insert(QLatin1String(name), QStringLiteral("Somebody"));
    for (const char* name : {"GIT_AUTHOR_EMAIL", "GIT_COMMITTER_EMAIL"})
        environment.insert(QLatin1String(name), QStringLiteral("somebody@example.org"));
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    Outcome outcome;
    if (process.waitForFinished(kProgramPatience) && process.exitStatus() == QProcess::NormalExit)
        outcome.exitCode = process.exitCode();
    outcome.text = QString::fromUtf8(process.readAll());
    return outcome;
}

/// The versions that a changelog has, newest first.
QList<QVersionNumber> releases(const QString& changelog)
{
    static const QRegularExpression heading(
        QStringLiteral("^## ([0-9]+\\.[0-9]+\\.[0-9]+) \\([0-9]{4}-[0-9]{2}-[0-9]{2}\\)$"),
        QRegularExpression::MultilineOption);
    QList<QVersionNumber> found;
    auto matches = heading.globalMatch(changelog);
    while (matches.hasNext())
        found.append(QVersionNumber::fromString(matches.next().captured(1)));
    return found;
}

/// A checkout with a version and a changelog, to release from.
class Checkout
{
public:
    explicit Checkout(const QByteArray& changelog)
    {
        TestFiles::write(path("VERSION"), "0.1.0\n");
        TestFiles::write(path("CHANGELOG.md"), changelog);
        git({QStringLiteral("init"), QStringLiteral("-q")});
        git({QStringLiteral("add"), QStringLiteral(".")});
        git({QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-m"), QStringLiteral("Begin")});
    }

    QString path(const char* name) const { return m_folder.filePath(QLatin1String(name)); }
    QString git(const QStringList& arguments) const
    {
        return run(QStringLiteral("git"), arguments, m_folder.path()).text.trimmed();
    }
    void commit(const char* message) const
    {
        git({QStringLiteral("commit"), QStringLiteral("-q"), QStringLiteral("-a"), QStringLiteral("-m"),
             QString::fromLatin1(message)});
    }
    /// The version of the packages that are made of it.
    QString packageVersion() const
    {
        return run(inTree("packaging/package-version"), {m_folder.path()}).text.trimmed();
    }
    /// "git", its time and its name: how packages tell of a commit that is no release.
    QString build() const
    {
        const qint64 time =
            git({QStringLiteral("log"), QStringLiteral("-1"), QStringLiteral("--format=%ct")}).toLongLong();
        return QStringLiteral("git%1.%2")
            .arg(QDateTime::fromSecsSinceEpoch(time, Qt::UTC).toString(QStringLiteral("yyyyMMddhhmmss")),
                 git({QStringLiteral("rev-parse"), QStringLiteral("--short"), QStringLiteral("HEAD")}));
    }
    Outcome release(const char* version) const
    {
        return run(inTree("packaging/release"), {QString::fromLatin1(version), m_folder.path()});
    }

private:
    QTemporaryDir m_folder;
};

/// Whether a package is an upgrade of another one.
bool isOlder(const QString& version, const QString& than)
{
    return run(QStringLiteral("dpkg"),
               {QStringLiteral("--compare-versions"), version, QStringLiteral("lt"), than})
               .exitCode == 0;
}

} // namespace

/// One number says which release this is, everywhere.
class TestVersion : public QObject
{
    Q_OBJECT

private slots:
    void theNumberHasThreeParts()
    {
        const QString version = QString::fromUtf8(content(inTree("VERSION"))).trimmed();
        static const QRegularExpression form(QStringLiteral("^[0-9]+\\.[0-9]+\\.[0-9]+$"));
        QVERIFY2(form.match(version).hasMatch(), qUtf8Printable(version));
    }

    void theBuildAndBothProgramsSayIt()
    {
        const QString version = QString::fromUtf8(content(inTree("VERSION"))).trimmed();
        QCOMPARE(QStringLiteral(KRX_BUILT_VERSION), version);
        const QStringList option{QStringLiteral("--version")};
        QCOMPARE(run(QStringLiteral(KRX_SERVICE), option).text,
                 QStringLiteral("krx-service %1\n").arg(version));
        QCOMPARE(run(QStringLiteral(KRX_DESK), option).text, QStringLiteral("krx-desk %1\n").arg(version));
    }

    void theChangelogsNewestReleaseIsIt()
    {
        const QString changelog = QString::fromUtf8(content(inTree("CHANGELOG.md")));
        static const QRegularExpression any(QStringLiteral("^## .*$"), QRegularExpression::MultilineOption);
        QStringList headings;
        auto matches = any.globalMatch(changelog);
        while (matches.hasNext())
            headings.append(matches.next().captured());
        QCOMPARE(headings.value(0), QStringLiteral("## Unreleased"));
        const QList<QVersionNumber> versions = releases(changelog);
        QVERIFY2(versions.size() == headings.size() - 1, "a heading is neither Unreleased nor a release");
        for (int i = 1; i < versions.size(); ++i)
            QVERIFY(versions.at(i) < versions.at(i - 1));
        // Before the first release the number is that of the first.
        if (!versions.isEmpty())
            QCOMPARE(versions.first().toString(), QString::fromUtf8(content(inTree("VERSION"))).trimmed());
    }

    /// What hosts include stands in two lists: what is installed, and what the reference tells of.
    void theReferenceTellsOfEachInstalledHeader()
    {
        static const QRegularExpression header(QStringLiteral("[A-Za-z/]+\\.h\\b"));
        const auto headers = [](const QString& text, const char* folder) {
            QStringList found;
            auto matches = header.globalMatch(text);
            while (matches.hasNext())
                found.append(QLatin1String(folder) + matches.next().captured());
            return found;
        };
        const QString module = QString::fromUtf8(content(inTree("src/CMakeLists.txt")))
                                   .section(QStringLiteral("set(KRX_MODULE_HEADERS"), 1)
                                   .section(QLatin1Char(')'), 0, 0);
        const QString contract = QString::fromUtf8(content(inTree("host/CMakeLists.txt")))
                                     .section(QStringLiteral("install(FILES"), 1)
                                     .section(QStringLiteral("DESTINATION"), 0, 0);
        QStringList installed = headers(module, "src/") + headers(contract, "host/");
        const QString doxyfile = QString::fromUtf8(content(inTree("docs/Doxyfile")));
        const int input = doxyfile.indexOf(QLatin1String("\nINPUT "));
        QStringList told = headers(doxyfile.mid(input + 1).section(QLatin1Char('\n'), 0, 0), "");
        QVERIFY(installed.size() > 40);
        installed.sort();
        told.sort();
        QCOMPARE(told.join(QLatin1Char(' ')), installed.join(QLatin1Char(' ')));
    }

    /// The packages are built with no library that the build of the tree does not have, and with each of
    /// them.
    void packagesAreBuiltWithTheLibrariesOfTheTree()
    {
        static const QRegularExpression needed(QStringLiteral("^(\\S+-dev(?:-tools)?) +build$"),
                                               QRegularExpression::MultilineOption);
        static const QRegularExpression listed(QStringLiteral("\\b[a-z0-9.+-]+-dev(?:-tools)?\\b"));
        QStringList built;
        auto matches =
            needed.globalMatch(QString::fromUtf8(content(inTree("packaging/debian-packages.txt"))));
        while (matches.hasNext())
            built.append(matches.next().captured(1));
        QStringList packaged;
        matches = listed.globalMatch(QString::fromUtf8(content(inTree("packaging/debian/control")))
                                         .section(QStringLiteral("Build-Depends:"), 1)
                                         .section(QStringLiteral("Standards-Version"), 0, 0));
        while (matches.hasNext())
            packaged.append(matches.next().captured());
        QVERIFY(built.size() > 10);
        built.sort();
        packaged.sort();
        QCOMPARE(packaged.join(QLatin1Char(' ')), built.join(QLatin1Char(' ')));
    }

    void aReleaseMovesTheNumberAndTheChanges()
    {
        const Checkout checkout(
            "# Changes\n\n## Unreleased\n\n- One thing.\n\n## 0.1.0 (2020-01-01)\n\n- Begin.\n");
        const QDate before = QDateTime::currentDateTimeUtc().date();
        const Outcome outcome = checkout.release("0.2.0");
        const QDate after = QDateTime::currentDateTimeUtc().date();
        QVERIFY2(outcome.exitCode == 0, qUtf8Printable(outcome.text));
        QCOMPARE(content(checkout.path("VERSION")), QByteArray("0.2.0\n"));
        const auto changes = [](const QDate& date) {
            return QStringLiteral("# Changes\n\n## Unreleased\n\n## 0.2.0 (%1)\n\n- One thing.\n\n"
                                  "## 0.1.0 (2020-01-01)\n\n- Begin.\n")
                .arg(date.toString(Qt::ISODate))
                .toUtf8();
        };
        const QByteArray written = content(checkout.path("CHANGELOG.md"));
        QVERIFY2(written == changes(before) || written == changes(after), written.constData());
        QCOMPARE(checkout.git({QStringLiteral("status"), QStringLiteral("--porcelain")}), QString());
        QCOMPARE(checkout.git({QStringLiteral("describe")}), QStringLiteral("v0.2.0"));
        QCOMPARE(checkout.git({QStringLiteral("log"), QStringLiteral("-1"), QStringLiteral("--format=%s")}),
                 QStringLiteral("Release 0.2.0"));
    }

    void packagesBetweenReleasesSayWhichCommitTheyAre()
    {
        const Checkout checkout("# Changes\n\n## Unreleased\n\n- One thing.\n");
        const QString before = checkout.packageVersion();
        QCOMPARE(before, QStringLiteral("0.1.0~") + checkout.build());
        QCOMPARE(checkout.release("0.1.0").exitCode, 0);
        const QString released = checkout.packageVersion();
        QCOMPARE(released, QStringLiteral("0.1.0"));

        TestFiles::write(checkout.path("CHANGELOG.md"),
                         content(checkout.path("CHANGELOG.md"))
                             .replace("## Unreleased\n", "## Unreleased\n\n- Another thing.\n"));
        checkout.commit("Go on");
        const QString after = checkout.packageVersion();
        QCOMPARE(after, QStringLiteral("0.1.0+") + checkout.build());
        // Also where nobody knows of the tag.
        checkout.git({QStringLiteral("tag"), QStringLiteral("-d"), QStringLiteral("v0.1.0")});
        QCOMPARE(checkout.packageVersion(), after);
        // Each is an upgrade of the one before.
        QVERIFY(isOlder(before, released));
        QVERIFY(isOlder(released, after));
        QVERIFY(isOlder(after, QStringLiteral("0.1.1")));
    }

    void aCommitAfterAReleaseIsNotTheReleaseThoughNothingIsSaidOfIt()
    {
        const Checkout checkout("# Changes\n\n## Unreleased\n\n- One thing.\n");
        QCOMPARE(checkout.release("0.1.0").exitCode, 0);
        TestFiles::write(checkout.path("new.txt"), "new");
        checkout.git({QStringLiteral("add"), QStringLiteral("new.txt")});
        checkout.commit("Add a file");
        QCOMPARE(checkout.packageVersion(), QStringLiteral("0.1.0+") + checkout.build());
    }

    void whatIsNoReleaseIsRefused_data()
    {
        QTest::addColumn<QByteArray>("changelog");
        QTest::addColumn<QByteArray>("version");
        QTest::addColumn<QString>("reason");
        const QByteArray good("## Unreleased\n\n- One thing.\n\n## 0.9.0 (2020-01-01)\n");
        const auto row = [](const char* name, const QByteArray& changelog, const char* version,
                            const char* reason) {
            QTest::newRow(name) << changelog << QByteArray(version) << QString::fromUtf8(reason);
        };
        row("no number", good, "new", "new is not of the form X.Y.Z");
        row("two parts", good, "1.0", "1.0 is not of the form X.Y.Z");
        row("the same", good, "0.9.0", "0.9.0 was released before");
        row("older, though it sorts later as text", "## Unreleased\n\n- One.\n\n## 0.10.0 (2020-01-01)\n",
            "0.9.0", "0.9.0 is not newer than 0.10.0");
        row("nothing new", "## Unreleased\n\n## 0.1.0 (2020-01-01)\n\n- Begin.\n", "0.2.0",
            "CHANGELOG.md has nothing under Unreleased");
    }

    void whatIsNoReleaseIsRefused()
    {
        QFETCH(QByteArray, changelog);
        QFETCH(QByteArray, version);
        QFETCH(QString, reason);
        const Checkout checkout(changelog);
        const Outcome outcome = checkout.release(version.constData());
        QVERIFY(outcome.exitCode != 0);
        QCOMPARE(outcome.text, QStringLiteral("release: %1\n").arg(reason));
        QCOMPARE(content(checkout.path("VERSION")), QByteArray("0.1.0\n"));
        QCOMPARE(content(checkout.path("CHANGELOG.md")), changelog);
        QCOMPARE(checkout.git({QStringLiteral("tag")}), QString());
    }

    void aCheckoutWithChangesIsNotReleased()
    {
        const Checkout checkout("## Unreleased\n\n- One thing.\n");
        TestFiles::write(checkout.path("new.txt"), "new");
        const Outcome outcome = checkout.release("0.2.0");
        QCOMPARE(outcome.text, QStringLiteral("release: there are changes that are not committed\n"));
        QVERIFY(outcome.exitCode != 0);
        QCOMPARE(content(checkout.path("VERSION")), QByteArray("0.1.0\n"));
    }
};

QTEST_GUILESS_MAIN(TestVersion)
#include "test_version.moc"

#include "TestFiles.h"
#include "activities/Copier.h"
#include "base/FileTools.h"
#include "confinement/Confinement.h"
#include "files/HeldDirectory.h"
#include "files/SourceFile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <sched.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <limits>
#include <thread>
#include <vector>

using namespace krxservice;
using TestFiles::content;
using TestFiles::names;
using TestFiles::write;

namespace {

mode_t modeOf(const std::string& path)
{
    struct stat facts
    {
    };
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 0777 : 0;
}

void setMode(const QString& path, mode_t mode)
{
    QCOMPARE(::chmod(path.toUtf8().constData(), mode), 0);
}

/// Gives a file these seconds since 1970 as its modification time.
void setTime(const QString& path, time_t seconds, long nanoseconds = 0)
{
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    QCOMPARE(::utimensat(AT_FDCWD, path.toUtf8().constData(), times, 0), 0);
}

/// Writes over the first byte and puts the modification time back.
void rewriteInSecret(const QString& path)
{
    struct stat before
    {
    };
    QCOMPARE(::stat(path.toUtf8().constData(), &before), 0);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    file.write("!");
    file.close();
    setTime(path, before.st_mtim.tv_sec, before.st_mtim.tv_nsec);
}

/// A directory with a source and a place for copies that everybody may pass.
struct Stage
{
    QTemporaryDir folder;
    QString in = folder.filePath(QStringLiteral("in"));
    QString to = folder.filePath(QStringLiteral("to"));

    Stage()
    {
        setMode(folder.path(), 0755);
        for (const QString& path : {in, to}) {
            QVERIFY(QDir().mkdir(path));
            setMode(path, 0755);
        }
    }
    QString source(const QString& name, const QByteArray& bytes) const
    {
        const QString path = in + QLatin1Char('/') + name;
        write(path, bytes);
        return path;
    }
    CopyOrder order(const QString& source) const
    {
        CopyOrder order;
        order.source = source.toStdString();
        order.sourceRoot = in.toStdString();
        order.directory = to.toStdString();
        order.cancel = makeCancelToken();
        return order;
    }
};

constexpr int kNotConfined = 99;

/// Does \a function, which gives a small number, in a process that is confined. \return the number.
template <typename Function>
int confined(const Confinement& confinement, Function function)
{
    const pid_t child = ::fork();
    if (child == 0)
        ::_exit(confinement.enter().failed ? kNotConfined : function());
    int status = 0;
    return ::waitpid(child, &status, 0) == child && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Opens and closes; 0 or an errno value.
int tryToOpen(const std::string& path, int flags)
{
    const int file = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file < 0)
        return errno;
    ::close(file);
    return 0;
}

/// Becomes a program; the number is EACCES when it may not.
int become(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const auto& one : command)
        arguments.push_back(const_cast<char*>(one.c_str()));
    arguments.push_back(nullptr);
    ::execv(arguments.front(), arguments.data());
    return errno;
}

constexpr char kUmlaut[] = "\xC3\xA4";

} // namespace

class TestServiceFiles : public QObject
{
    Q_OBJECT

private slots:
    void pipeInTheFilesPlaceIsRefusedWithoutWaiting()
    {
        Stage stage;
        const std::string path = stage.in.toStdString() + "/a.mov";
        QCOMPARE(::mkfifo(path.c_str(), 0644), 0);
        QCOMPARE(SourceFile(path).error(), std::string("it is no regular file"));
        std::string error;
        QVERIFY(!filetools::checksum(path, makeCancelToken(), error));
        QCOMPARE(error, std::string("it is no regular file"));
        QVERIFY(!filetools::fingerprint(path, makeCancelToken(), error));
        const CopyResult result = Copier::copy(stage.order(QString::fromStdString(path)));
        QVERIFY(!result.ok);
        QVERIFY(result.error.find("no regular file") != std::string::npos);
    }

    void pipeInTheCopysPlaceIsLeftAlone()
    {
        Stage stage;
        QCOMPARE(::mkfifo((stage.to.toStdString() + "/a.mov").c_str(), 0644), 0);
        const CopyResult result = Copier::copy(stage.order(stage.source(QStringLiteral("a.mov"), "x")));
        QCOMPARE(result.path, stage.to.toStdString() + "/a (2).mov");
    }

    void linksAndWaysOutAreRefusedBelowADirectory_data()
    {
        QTest::addColumn<QByteArray>("below");
        QTest::addColumn<int>("reason");
        QTest::newRow("file") << QByteArray("deep/file") << 0;
        QTest::newRow("doubled slash") << QByteArray("deep//file") << 0;
        QTest::newRow("missing") << QByteArray("deep/none") << ENOENT;
        QTest::newRow("file as directory") << QByteArray("deep/file/x") << ENOTDIR;
        QTest::newRow("link to a file") << QByteArray("deep/link") << ELOOP;
        QTest::newRow("link to a directory") << QByteArray("linked/file") << ELOOP;
        QTest::newRow("link to outside") << QByteArray("outside/passwd") << ELOOP;
        QTest::newRow("parent") << QByteArray("../file") << EXDEV;
        QTest::newRow("parent below") << QByteArray("deep/../../file") << EXDEV;
        QTest::newRow("whole path") << QByteArray("/etc/passwd") << EXDEV;
    }

    void linksAndWaysOutAreRefusedBelowADirectory()
    {
        QFETCH(QByteArray, below);
        QFETCH(int, reason);
        Stage stage;
        QVERIFY(QDir().mkdir(stage.in + QStringLiteral("/deep")));
        write(stage.in + QStringLiteral("/deep/file"), "x");
        QVERIFY(QFile::link(QStringLiteral("file"), stage.in + QStringLiteral("/deep/link")));
        QVERIFY(QFile::link(QStringLiteral("deep"), stage.in + QStringLiteral("/linked")));
        QVERIFY(QFile::link(QStringLiteral("/etc"), stage.in + QStringLiteral("/outside")));
        const HeldDirectory held(stage.in.toStdString());
        int tried = 0;
        for (const auto open : {&openbelow::atOnce, &openbelow::stepByStep}) {
            errno = 0;
            const filetools::Descriptor file(open(held.get(), below.toStdString(), O_RDONLY, 0));
            if (errno == ENOSYS)
                continue;
            ++tried;
            QCOMPARE(file.isOpen(), reason == 0);
            if (reason != 0)
                QCOMPARE(errno, reason);
        }
        QVERIFY(tried >= 1);
    }

    void directoriesAreMadeBelowButNotThroughLinks()
    {
        Stage stage;
        QVERIFY(QFile::link(stage.to, stage.in + QStringLiteral("/link")));
        const HeldDirectory held(stage.in.toStdString());
        QVERIFY(held.makeDirectories("a/b/c", 0755).isOpen());
        QVERIFY(QFileInfo(stage.in + QStringLiteral("/a/b/c")).isDir());
        QVERIFY(!held.makeDirectories("link/x", 0755).isOpen());
        QVERIFY(!held.makeDirectories("../x", 0755).isOpen());
        QVERIFY(QDir(stage.to).isEmpty());
    }

    void watchedFolderMayItselfBeALink()
    {
        Stage stage;
        stage.source(QStringLiteral("a.mov"), "x");
        const QString link = stage.folder.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(stage.in, link));
        const std::string root = link.toStdString();
        QVERIFY(SourceFile(root + "/a.mov", root).isOpen());
        QVERIFY(SourceFile(root + "/a.mov", root + "/").isOpen());
        // A path that is not below the root stands in its own directory.
        QVERIFY(SourceFile(root + "/a.mov", "/elsewhere").isOpen());
        QVERIFY(SourceFile(root + "/a.mov", root + "/a.mov").isOpen());
    }

    void parentSwappedForALinkLeadsNowhere()
    {
        Stage stage;
        QVERIFY(QDir().mkdir(stage.in + QStringLiteral("/card")));
        const QString path = stage.source(QStringLiteral("card/a.mov"), "clip");
        const QString secret = stage.folder.filePath(QStringLiteral("secret"));
        QVERIFY(QDir().mkdir(secret));
        write(secret + QStringLiteral("/a.mov"), "not to be seen");
        const SourceFile opened(path.toStdString(), stage.in.toStdString());
        QVERIFY(opened.isStillNamed());
        QVERIFY(
            QDir().rename(stage.in + QStringLiteral("/card"), stage.folder.filePath(QStringLiteral("c"))));
        QVERIFY(QFile::link(secret, stage.in + QStringLiteral("/card")));
        QVERIFY(!opened.isStillNamed());
        QCOMPARE(SourceFile(path.toStdString(), stage.in.toStdString()).error(),
                 std::string("a link stands in its way"));
        const CopyResult result = Copier::copy(stage.order(path));
        QVERIFY(!result.ok);
        QVERIFY(names(stage.to).isEmpty());
    }

    void anotherFileOfTheSameNameIsNotedAsAnother()
    {
        Stage stage;
        const QString path = stage.source(QStringLiteral("a.mov"), "x");
        const SourceFile opened(path.toStdString(), stage.in.toStdString());
        QVERIFY(opened.isStillNamed() && opened.isUnchanged());
        write(path + QStringLiteral(".new"), "x");
        QVERIFY(QFile::remove(path));
        QVERIFY(!opened.isStillNamed());
        QVERIFY(QFile::rename(path + QStringLiteral(".new"), path));
        QVERIFY(!opened.isStillNamed());
    }

    void destinationSwappedForALinkDuringTheCopyIsNeverOffered()
    {
        Stage stage;
        const QString other = stage.folder.filePath(QStringLiteral("other"));
        QVERIFY(QDir().mkdir(other));
        write(other + QStringLiteral("/a.mov"), "another");
        CopyOrder order = stage.order(stage.source(QStringLiteral("a.mov"), "x"));
        order.progress = [&](int) {
            QVERIFY(QDir().rename(stage.to, stage.folder.filePath(QStringLiteral("was"))));
            QVERIFY(QFile::link(other, stage.to));
        };
        const CopyResult result = Copier::copy(order);
        QVERIFY(!result.ok);
        QVERIFY(result.error.find("was replaced") != std::string::npos);
        QCOMPARE(names(other), QStringList{QStringLiteral("a.mov")});
        QCOMPARE(content(other + QStringLiteral("/a.mov")), QByteArray("another"));
        QVERIFY(names(stage.folder.filePath(QStringLiteral("was"))).isEmpty());
    }

    void copyKeepsItsPathBelowTheWatchedFolderButFollowsNoLink()
    {
        Stage stage;
        QVERIFY(QDir().mkpath(stage.in + QStringLiteral("/card/100")));
        setMode(stage.in + QStringLiteral("/card"), 0750);
        CopyOrder order = stage.order(stage.source(QStringLiteral("card/100/a.mov"), "x"));
        order.keepsPath = true;
        QCOMPARE(Copier::copy(order).path, stage.to.toStdString() + "/card/100/a.mov");
        // Names of files are nobody else's business either.
        for (const char* made : {"/card", "/card/100"})
            QCOMPARE(int(modeOf(stage.to.toStdString() + made) & 007), 0);
        // A second time the directories are there.
        order.source = stage.source(QStringLiteral("card/100/b.mov"), "y").toStdString();
        QCOMPARE(Copier::copy(order).path, stage.to.toStdString() + "/card/100/b.mov");
        order.source = stage.source(QStringLiteral("c.mov"), "z").toStdString();
        QCOMPARE(Copier::copy(order).path, stage.to.toStdString() + "/c.mov");
        const QString other = stage.folder.filePath(QStringLiteral("other"));
        QVERIFY(QDir().mkdir(other));
        QVERIFY(QDir().mkdir(stage.in + QStringLiteral("/link")));
        QVERIFY(QFile::link(other, stage.to + QStringLiteral("/link")));
        order.source = stage.source(QStringLiteral("link/a.mov"), "x").toStdString();
        QVERIFY(!Copier::copy(order).ok);
        QVERIFY(names(other).isEmpty());
    }

    void sourceRewrittenDuringTheCopyWithItsTimePutBackIsNoticed()
    {
        Stage stage;
        const QString path = stage.source(QStringLiteral("a.mov"), QByteArray(5 * 1024 * 1024, 'x'));
        CopyOrder order = stage.order(path);
        bool once = false;
        order.progress = [&](int) {
            if (!once)
                rewriteInSecret(path);
            once = true;
        };
        const CopyResult result = Copier::copy(order);
        QVERIFY(!result.ok);
        QVERIFY(result.sourceChanged);
        QVERIFY(names(stage.to).isEmpty());
    }

    void sourceWithANewModeIsComparedAndIsTheSame()
    {
        Stage stage;
        const QByteArray bytes(2 * 1024 * 1024 + 3, 'x');
        const QString path = stage.source(QStringLiteral("a.mov"), bytes);
        CopyOrder order = stage.order(path);
        order.progress = [&](int) { setMode(path, 0600); };
        const CopyResult result = Copier::copy(order);
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(content(QString::fromStdString(result.path)), bytes);
    }

    void copiesOfEverySizeAreWhole_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : {0, 1, 1024 * 1024 - 1, 1024 * 1024, 1024 * 1024 + 1, 9 * 1024 * 1024 + 7})
            QTest::newRow(QByteArray::number(size).constData()) << size;
    }

    void copiesOfEverySizeAreWhole()
    {
        QFETCH(int, size);
        Stage stage;
        QByteArray bytes(size, '\0');
        for (int i = 0; i < size; ++i)
            bytes[i] = static_cast<char>(i * 31 + i / 4096);
        const CopyResult result = Copier::copy(stage.order(stage.source(QStringLiteral("a.mov"), bytes)));
        QVERIFY2(result.ok, result.error.c_str());
        QVERIFY(content(QString::fromStdString(result.path)) == bytes);
        std::string error;
        QCOMPARE(*filetools::checksum(result.path, makeCancelToken(), error), result.checksum);
    }

    void copyIsNeverMoreOpenThanItsSource_data()
    {
        QTest::addColumn<int>("above");
        QTest::addColumn<int>("file");
        QTest::addColumn<int>("copy");
        QTest::newRow("open to all") << 0755 << 0644 << 0644;
        QTest::newRow("programs stay so") << 0755 << 0755 << 0755;
        QTest::newRow("read-only stays so") << 0755 << 0444 << 0444;
        QTest::newRow("own file") << 0755 << 0600 << 0600;
        QTest::newRow("own directory") << 0700 << 0666 << 0600;
        QTest::newRow("the group's directory") << 0750 << 0664 << 0660;
        QTest::newRow("a directory to look at only") << 0744 << 0644 << 0600;
    }

    void copyIsNeverMoreOpenThanItsSource()
    {
        QFETCH(int, above);
        QFETCH(int, file);
        QFETCH(int, copy);
        Stage stage;
        QVERIFY(QDir().mkpath(stage.in + QStringLiteral("/card/100")));
        setMode(stage.in + QStringLiteral("/card/100"), 0777);
        const QString path = stage.source(QStringLiteral("card/100/a.mov"), "x");
        setMode(path, static_cast<mode_t>(file));
        setMode(stage.in + QStringLiteral("/card"), static_cast<mode_t>(above));
        const CopyResult result = Copier::copy(stage.order(path));
        QVERIFY2(result.ok, result.error.c_str());
        QCOMPARE(int(modeOf(result.path)), copy);
    }

    // Where there is a list, what looks like the group's permissions is the most that anybody in it has.
    void listsOfAccessMakeNoCopyMoreOpen()
    {
        const auto list = [](const QString& path, const char* name, short user, short group) {
            const short entries[][4] = {{1, 7, -1, -1},
                                        {2, user, 54321 - 65536, 0},
                                        {4, group, -1, -1},
                                        {16, 7, -1, -1},
                                        {32, 4, -1, -1}};
            QByteArray bytes("\2\0\0\0", 4);
            bytes.append(reinterpret_cast<const char*>(entries), sizeof entries);
            return ::setxattr(qPrintable(path), name, bytes.constData(), std::size_t(bytes.size()), 0) == 0;
        };
        Stage stage;
        const QString path = stage.source(QStringLiteral("a.mov"), "x");
        if (!list(path, "system.posix_acl_access", 6, 0))
            QSKIP("this file system has no lists of access");
        QCOMPARE(int(modeOf(Copier::copy(stage.order(path)).path)), 0704);
        const QString other = stage.source(QStringLiteral("b.mov"), "x");
        QVERIFY(list(other, "system.posix_acl_access", 0, 4));
        QCOMPARE(int(modeOf(Copier::copy(stage.order(other)).path)), 0700);
        QVERIFY(list(stage.to, "system.posix_acl_default", 7, 7));
        const CopyResult result = Copier::copy(stage.order(stage.source(QStringLiteral("c.mov"), "x")));
        QVERIFY(result.ok && ::getxattr(result.path.c_str(), "system.posix_acl_access", nullptr, 0) < 0);
    }

    void unfinishedCopyBelongsToItsOwnerOnly()
    {
        Stage stage;
        CopyOrder order = stage.order(stage.source(QStringLiteral("a.mov"), "x"));
        std::string scratch;
        order.willWrite = [&](const std::string& name) { scratch = name; };
        order.progress = [&](int) { QCOMPARE(int(modeOf(scratch)), 0600); };
        QVERIFY(Copier::copy(order).ok);
    }

    void copyKeepsTheTimeToTheNanosecond()
    {
        Stage stage;
        const QString path = stage.source(QStringLiteral("a.mov"), "x");
        setTime(path, 1234567890, 123456789);
        const CopyResult result = Copier::copy(stage.order(path));
        QCOMPARE(filetools::stampOf(result.path)->modified, std::int64_t(1234567890123456789));
    }

    void longestNameIsShortenedBetweenTwoCharacters()
    {
        Stage stage;
        // 251 bytes of two-byte characters and one letter, then the extension.
        const QString name = QLatin1Char('a') + QString(125, QChar(0xE4)) + QStringLiteral(".mov");
        QCOMPARE(name.toUtf8().size(), 255);
        write(stage.to + QLatin1Char('/') + name, "other");
        const CopyResult result = Copier::copy(stage.order(stage.source(name, "clip")));
        QVERIFY2(result.ok, result.error.c_str());
        QString expected = QLatin1Char('a') + QString(123, QChar(0xE4)) + QStringLiteral(" (2).mov");
        QCOMPARE(QString::fromStdString(result.path), stage.to + QLatin1Char('/') + expected);
        QCOMPARE(content(QString::fromStdString(result.path)), QByteArray("clip"));
    }

    void numberedNames()
    {
        QCOMPARE(filetools::numberedName("a.mov", 1, 255), std::string("a.mov"));
        QCOMPARE(filetools::numberedName("a.b.mov", 2, 255), std::string("a.b (2).mov"));
        QCOMPARE(filetools::numberedName("none", 12, 255), std::string("none (12)"));
        QCOMPARE(filetools::numberedName(".dot", 2, 255), std::string(".dot (2)"));
        // The extension is nearly all of the name.
        const std::string dotted = "a." + std::string(253, 'x');
        const std::string cut = filetools::numberedName(dotted, 2, 255);
        QVERIFY(cut.size() <= 255 && cut.rfind("a (2).x", 0) == 0);
        const std::string umlauts = std::string(kUmlaut) + kUmlaut + kUmlaut;
        QCOMPARE(filetools::numberedName(umlauts, 2, 7), std::string(kUmlaut) + " (2)");
        QCOMPARE(std::string(filetools::cutText(umlauts, 3)), std::string(kUmlaut));
        QCOMPARE(std::string(filetools::cutText(umlauts, 6)), umlauts);
        QCOMPARE(std::string(filetools::cutText(umlauts, 1)), std::string());
    }

    void timesThatNanosecondsCannotHoldStayOnTheirSideAndApart()
    {
        const auto modified = [](std::int64_t seconds, long nanoseconds) {
            struct stat facts
            {
            };
            facts.st_mtim = {static_cast<time_t>(seconds), nanoseconds};
            return filetools::stampOf(facts).modified;
        };
        constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max();
        QCOMPARE(modified(1, 5), std::int64_t(1000000005));
        QCOMPARE(modified(-1, 0), std::int64_t(-1000000000));
        for (const std::int64_t seconds :
             {kLimit / 1000000000 + 1, std::int64_t(32503680000)}) { // the year 3000
            QVERIFY(modified(seconds, 0) > kLimit - 1000000000);
            QVERIFY(modified(-seconds, 0) < 1000000000 - kLimit);
            QVERIFY(modified(seconds, 0) != modified(seconds + 1, 0));
            QVERIFY(modified(seconds, 0) != modified(seconds, 1));
        }
    }

    void newFileReplacesNothingAndIsItsOwnersOnly()
    {
        Stage stage;
        const std::string path = stage.to.toStdString() + "/new";
        QCOMPARE(filetools::writeNewFile(path, "one"), std::string());
        QCOMPARE(int(modeOf(path)), 0600);
        QVERIFY(!filetools::writeNewFile(path, "two").empty());
        QCOMPARE(content(QString::fromStdString(path)), QByteArray("one"));
        // Neither does it write through a link that waits in its place.
        QVERIFY(QFile::link(stage.folder.filePath(QStringLiteral("elsewhere")),
                            stage.to + QStringLiteral("/link")));
        QVERIFY(!filetools::writeNewFile(stage.to.toStdString() + "/link", "x").empty());
        QVERIFY(!QFile::exists(stage.folder.filePath(QStringLiteral("elsewhere"))));
    }

    void oneMegabyteRewrittenInsideALargeFileMakesOtherContents()
    {
        Stage stage;
        const QString path = stage.source(QStringLiteral("big.mov"), "start");
        QCOMPARE(::truncate(path.toUtf8().constData(), 200LL * 1024 * 1024), 0);
        std::string error;
        const auto before = filetools::fingerprint(path.toStdString(), makeCancelToken(), error);
        // Between two of the places that samples would be taken from.
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        file.seek(20 * 1024 * 1024 + 300 * 1024);
        file.write(QByteArray(1024 * 1024, 'y'));
        file.close();
        const auto after = filetools::fingerprint(path.toStdString(), makeCancelToken(), error);
        QVERIFY(before && after && *before != *after);
        QCOMPARE(*after, *filetools::checksum(path.toStdString(), makeCancelToken(), error));
    }

    void contentsBeyondTheLimitAreToldByTimeAndInodeToo()
    {
        Stage stage;
        const QString path = stage.source(QStringLiteral("big.mov"), QByteArray(300 * 1024, 'x'));
        std::string error;
        const auto fingerprint = [&] {
            return filetools::fingerprint(path.toStdString(), makeCancelToken(), error, 1024)
                .value_or(std::string());
        };
        setTime(path, 1000);
        const std::string first = fingerprint();
        QVERIFY(first.rfind("xxh3-64-sampled:", 0) == 0);
        QCOMPARE(fingerprint(), first);
        setTime(path, 1001);
        QVERIFY(fingerprint() != first);
        setTime(path, 1000);
        QCOMPARE(fingerprint(), first);
        write(path + QStringLiteral(".2"), content(path));
        setTime(path + QStringLiteral(".2"), 1000);
        QCOMPARE(::rename((path + QStringLiteral(".2")).toUtf8().constData(), path.toUtf8().constData()), 0);
        QVERIFY(fingerprint() != first);
    }

    void confinedProcessOpensWhatWasNamedAndNothingElse()
    {
        if (Landlock::abi() == 0)
            QSKIP("this kernel has no Landlock");
        Stage stage;
        const std::string in = stage.source(QStringLiteral("clip.mov"), "clip").toStdString();
        const std::string secret = stage.source(QStringLiteral("secret.mov"), "secret").toStdString();
        const std::string scratch = stage.to.toStdString();
        const std::string link = scratch + "/link";
        QCOMPARE(::symlink(secret.c_str(), link.c_str()), 0);
        const filetools::Descriptor clip(::open(in.c_str(), O_RDONLY | O_CLOEXEC));
        const filetools::Descriptor other(::open(secret.c_str(), O_RDONLY | O_CLOEXEC));
        const auto again = [](const filetools::Descriptor& file) {
            return "/proc/self/fd/" + std::to_string(file.get());
        };

        Confinement confinement;
        QVERIFY(confinement.files().mayRead(clip.get()));
        QVERIFY(confinement.files().mayWrite(scratch));
        QVERIFY(!confinement.files().mayRead(scratch + "/nowhere"));
        struct Try
        {
            const char* what;
            std::string path;
            int flags;
            int outcome;
        };
        const std::vector<Try> tries = {
            {"the clip", in, O_RDONLY, 0},
            {"the clip by its descriptor", again(clip), O_RDONLY, 0},
            {"the clip for writing", in, O_WRONLY, EACCES},
            {"its neighbour", secret, O_RDONLY, EACCES},
            {"its neighbour by a descriptor", again(other), O_RDONLY, EACCES},
            {"its neighbour through a link in the scratch", link, O_RDONLY, EACCES},
            {"its directory", stage.in.toStdString(), O_RDONLY | O_DIRECTORY, EACCES},
            {"a new file beside it", stage.in.toStdString() + "/new", O_WRONLY | O_CREAT, EACCES},
            {"the system's users", "/etc/passwd", O_RDONLY, EACCES},
            {"the null device", "/dev/null", O_RDWR, EACCES},
            {"a new file of its own", scratch + "/new", O_RDWR | O_CREAT, 0},
        };
        for (const Try& one : tries) {
            // Nothing but the confinement is in the way.
            const int before = tryToOpen(one.path, one.flags & ~O_CREAT);
            QVERIFY(before == 0 || (before == ENOENT && (one.flags & O_CREAT) != 0));
            const int outcome = confined(confinement, [&one] { return tryToOpen(one.path, one.flags); });
            QVERIFY2(outcome == one.outcome,
                     qPrintable(QString::fromLatin1("%1: %2").arg(QLatin1String(one.what)).arg(outcome)));
        }
        // In its scratch it does as it likes, but plants nothing there that leads elsewhere.
        QCOMPARE(confined(confinement, [&] { return ::mkdir((scratch + "/d").c_str(), 0700) ? errno : 0; }),
                 0);
        QCOMPARE(confined(confinement,
                          [&] {
                              return ::rename((scratch + "/new").c_str(), (scratch + "/d/old").c_str())
                                         ? errno
                                         : 0;
                          }),
                 0);
        QCOMPARE(confined(confinement, [&] { return ::unlink((scratch + "/d/old").c_str()) ? errno : 0; }),
                 0);
        QCOMPARE(
            confined(confinement, [&] { return ::symlink("/etc", (scratch + "/etc").c_str()) ? errno : 0; }),
            EACCES);
        QCOMPARE(
            confined(confinement, [&] { return ::mkfifo((scratch + "/pipe").c_str(), 0600) ? errno : 0; }),
            EACCES);
        QCOMPARE(confined(confinement,
                          [&] { return ::rename(in.c_str(), (scratch + "/stolen").c_str()) ? errno : 0; }),
                 EACCES);
    }

    void confinedProgramBeginsAndReachesNoOther()
    {
        Stage stage;
        const std::string clip = stage.source(QStringLiteral("clip.mov"), "clip").toStdString();
        const std::string secret = stage.source(QStringLiteral("secret.mov"), "secret").toStdString();
        const std::string scratch = stage.to.toStdString();
        const std::string said = scratch + "/said";
        Confinement confinement;
        confinement.files().mayRun("/usr/bin/ffmpeg");
        confinement.files().mayExecute("/bin/cat");
        confinement.files().mayRead(clip);
        confinement.files().mayWrite(scratch);
        QCOMPARE(confinement.filterCalls(), std::string());
        const auto run = [&](std::vector<std::string> command) {
            return confined(confinement, [&] {
                const int to = ::open(said.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
                ::dup2(to, STDOUT_FILENO);
                ::dup2(to, STDERR_FILENO);
                return become(command);
            });
        };
        QCOMPARE(run({"/bin/cat", clip}), 0);
        QCOMPARE(content(QString::fromStdString(said)), QByteArray("clip"));
        const std::string movie = scratch + "/made.mov";
        const int made = run({"/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i",
                              "testsrc2=s=64x48:d=0.2", "-c:v", "mpeg4", movie});
        QVERIFY2(made == 0, content(QString::fromStdString(said)).constData());
        QCOMPARE(content(QString::fromStdString(said)), QByteArray());
        QVERIFY(modeOf(movie) == 0600);
        QVERIFY(run({"/usr/bin/ffmpeg", "-nostdin", "-v", "error", "-f", "lavfi", "-i", "anullsrc=d=0.1",
                     "-f", "wav", "tcp://127.0.0.1:9"}) != 0);
        QVERIFY2(content(QString::fromStdString(said)).contains("Operation not permitted"),
                 content(QString::fromStdString(said)).constData());
        if (Landlock::abi() == 0)
            QSKIP("this kernel has no Landlock");
        QCOMPARE(run({"/bin/cat", secret}), 1);
        QVERIFY(!content(QString::fromStdString(said)).contains("secret\n"));
        QCOMPARE(run({"/bin/ls", scratch}), EACCES);
    }

    void confinedProcessHasItsLimitsAndItsFilter()
    {
        Confinement confinement;
        confinement.limit(RLIMIT_FSIZE, 4096);
        confinement.limit(RLIMIT_NOFILE, RLIM_INFINITY); // never more than there was
        QCOMPARE(confinement.filterCalls(), std::string());
        rlimit files{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &files), 0);
        const auto limitOf = [](__rlimit_resource_t resource) {
            rlimit limit{};
            ::getrlimit(resource, &limit);
            return limit.rlim_max;
        };
        QCOMPARE(confined(confinement,
                          [&] {
                              return (limitOf(RLIMIT_FSIZE) == 4096 ? 1 : 0) |
                                     (limitOf(RLIMIT_CORE) == 0 ? 2 : 0) |
                                     (limitOf(RLIMIT_NOFILE) == files.rlim_max ? 4 : 0) |
                                     (::getpgrp() == ::getpid() ? 8 : 0);
                          }),
                 15);
        QCOMPARE(confined(confinement, [] { return ::socket(AF_INET, SOCK_STREAM, 0) < 0 ? errno : 0; }),
                 EPERM);
        QCOMPARE(confined(confinement, [] { return ::socket(AF_NETLINK, SOCK_RAW, 0) < 0 ? errno : 0; }),
                 EPERM);
        QCOMPARE(confined(confinement, [] { return ::unshare(CLONE_NEWUSER) != 0 ? errno : 0; }), EPERM);
        QCOMPARE(confined(confinement,
                          [] { return ::ptrace(PTRACE_ATTACH, ::getppid(), nullptr, nullptr) ? errno : 0; }),
                 EPERM);
        QCOMPARE(
            confined(confinement, [] { return ::syscall(SYS_io_uring_setup, 1, nullptr) < 0 ? errno : 0; }),
            EPERM);
        QCOMPARE(confined(confinement, [] { return ::syscall(SYS_clone3, nullptr, 0) < 0 ? errno : 0; }),
                 ENOSYS);
        QCOMPARE(confined(confinement,
                          [] {
                              std::thread thread([] {});
                              thread.join();
                              return 0;
                          }),
                 0);
    }
};

QTEST_GUILESS_MAIN(TestServiceFiles)
#include "test_service_files.moc"

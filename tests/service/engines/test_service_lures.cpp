#include "EngineBench.h"
#include "Lures.h"
#include "PalProxy.h"
#include "activities/Activity.h"
#include "activities/Transcoder.h"
#include "base/FileTools.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

#include <cstdio>
#include <functional>
#include <utility>

namespace {

QString s(const char* text)
{
    return QString::fromUtf8(text);
}

constexpr int kPatience = 240000; ///< milliseconds, for all work on all files
constexpr char kWork[] = "--work";

/// Heavy work on the file at \a path, into \a folder, as if nobody had looked at the file before. \return an
/// empty text when it was done, or why not.
using Work = std::function<std::string(const std::string& path, const std::string& folder)>;

/// What ffmpeg is told in every case.
std::string feed(const std::string& path, const std::string& folder)
{
    const SourceFile source(path);
    const filetools::Descriptor out(
        ::open((folder + "/fed.mkv").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    EngineOrder order;
    EngineInput input;
    input.medium = {source.get(), path.substr(path.rfind('/') + 1)};
    order.inputs.push_back(input);
    order.outputs.push_back({out.get(), "matroska", {"-c:v", "ffv1", "-c:a", "pcm_s16le"}});
    order.cancel = makeCancelToken();
    const EngineResult result = Ffmpeg::run(order);
    return result.end == EngineResult::End::Done ? std::string() : "not done: " + result.text;
}

std::string check(const std::string& path, const std::string&)
{
    const SourceFile source(path);
    const CheckResult result =
        Ffmpeg::check(source.get(), path.substr(path.rfind('/') + 1), makeCancelToken());
    return result.isWhole && !result.streams.empty() ? std::string() : "not whole: " + result.text;
}

Clip clipOf(const std::string& path)
{
    return EngineBench::clipOf(path, path.substr(0, path.rfind('/')));
}

std::string consolidate(const std::string& path, const std::string& folder)
{
    ActivityRecipe recipe;
    recipe.id = profiledocument::kConsolidate;
    recipe.name = "Consolidate";
    recipe.element = "<activity id=\"consolidate\" name=\"C\"><outputDetail><filesystemVideoVolume>" +
                     folder + "</filesystemVideoVolume><filesystemAudioVolume>" + folder +
                     "</filesystemAudioVolume><outputConsolidateVideoProfile/></outputDetail></activity>";
    const auto made = Activity::forId(recipe.id).run(clipOf(path), recipe, {}, makeCancelToken());
    return made ? std::string() : "refused: " + made.refusal().text;
}

std::string transcode(const std::string& path, const std::string& folder)
{
    MediaOptions options;
    options.videoVolume = options.audioVolume = folder;
    options.video.compressionId = "16777217";
    options.video.projectType = "PAL 25p";
    options.video.colorSpace = "YCbCr 601";
    options.video.raster = "720x576";
    options.video.reformats = true;
    const auto made = transcoder::run(clipOf(path), options, {}, {}, makeCancelToken());
    return made ? std::string() : "refused: " + made.refusal().text;
}

const std::pair<const char*, Work> kWorks[] = {
    {"feed", feed}, {"check", check}, {"transcode", transcode}, {"consolidate", consolidate}};

/// The part of this test that is watched: does all work on each file of the folder \a arguments[2].
int work(const QStringList& arguments)
{
    const std::string folder = arguments[2].toStdString();
    for (const QString& name : arguments.mid(3)) {
        for (const auto& [kind, function] : kWorks) {
            const std::string outcome = function(folder + '/' + name.toStdString(), folder + "/made");
            std::printf("%s %s: %s\n", kind, qPrintable(name), outcome.empty() ? "done" : outcome.c_str());
        }
    }
    return 0;
}

/// Runs a command; \a log gets every file that it or what it starts opens, reads a link to, or becomes.
QString watched(const QStringList& command, const QString& log)
{
    QProcess strace;
    strace.start(s("strace"), QStringList{s("-f"), s("-E"), s("ASAN_OPTIONS=detect_leaks=0"),
                                          s("--seccomp-bpf"), s("-s"), s("400"), s("-o"), log, s("-e"),
                                          s("trace=open,openat,openat2,creat,readlink,readlinkat,execve,"
                                            "connect,socket")} +
                                  command);
    if (!strace.waitForFinished(kPatience) || strace.exitCode() != 0)
        return QString::fromUtf8(strace.readAllStandardError());
    return QString::fromUtf8(strace.readAllStandardOutput()).trimmed();
}

} // namespace

/// Files that want their reader to open others, when heavy work is done on them.
class TestServiceLures : public QObject
{
    Q_OBJECT

    EngineBench m_bench;

private slots:
    void initTestCase()
    {
        QCOMPARE(m_bench.make(s("movie.mov"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4 -c:v mpeg4"),
                 QString());
        QCOMPARE(m_bench.make(s("secret.ts"), "-f lavfi -i testsrc2=s=64x48:r=25:d=0.4"), QString());
        QVERIFY(QDir().mkpath(m_bench.path(s("made"))));
    }

    void noWorkOpensAnotherFile()
    {
        const QStringList lures =
            Lures::make(m_bench.folder.path(), TestFiles::content(m_bench.path(s("movie.mov"))));
        const QString log = m_bench.path(s("opened.log"));
        const QString said = watched(QStringList{QCoreApplication::applicationFilePath(), s(kWork),
                                                 m_bench.folder.path(), s("movie.mov")} +
                                         lures,
                                     log);
        // A sanitizer that may not end in its own way adds lines to the reason.
        const QStringList outcomes =
            said.split(QLatin1Char('\n'))
                .filter(QRegularExpression(s("^(feed|check|transcode|consolidate) ")));
        const int works = int(std::size(kWorks));
        QCOMPARE(outcomes.size(), works * (lures.size() + 1));
        for (const QString& outcome : outcomes)
            QVERIFY2(outcome.endsWith(s(": done")) == outcome.contains(s(" movie.mov:")),
                     qPrintable(outcome));

        const QStringList calls = TestFiles::content(log).isEmpty()
                                      ? QStringList()
                                      : QString::fromUtf8(TestFiles::content(log)).split(QLatin1Char('\n'));
        // They were watched: ffmpeg was started, and opened its output by its descriptor.
        QVERIFY(!calls.filter(s("execve(\"/usr/bin/ffmpeg\"")).isEmpty());
        QVERIFY(
            !calls.filter(QRegularExpression(s("open\\w*\\(.*\"/proc/self/fd/\\d+\".* = \\d"))).isEmpty());
        QCOMPARE(calls.filter(s("secret")), calls.filter(s("titles-secret.idx")));
        QCOMPARE(calls.filter(s("ASSETMAP")), QStringList());
        QCOMPARE(calls.filter(QRegularExpression(s("(socket|connect)\\((AF_INET|.*sin_addr)"))),
                 QStringList());
        // Each lure was opened, once for each kind of work and looked for, by the service itself alone.
        QVERIFY(calls.filter(s("list.m3u8")).size() >= works);
        QCOMPARE(calls.filter(s("titles-secret.idx")).filter(s(" = -1 E")).size(), 0);
    }

    /// What all of this is about: a program that is not kept from it does follow them.
    void ordinaryReaderFollowsThem()
    {
        const QStringList lures =
            Lures::make(m_bench.folder.path(), TestFiles::content(m_bench.path(s("movie.mov"))));
        QStringList files;
        for (const QString& lure : lures)
            files << m_bench.path(lure);
        const QString log = m_bench.path(s("followed.log"));
        watched(QStringList{s("sh"), s("-c"),
                            s("for f; do ffprobe -v quiet -protocol_whitelist file \"$f\"; done; true"),
                            s("sh")} +
                    files,
                log);
        const int followed = QString::fromUtf8(TestFiles::content(log))
                                 .split(QLatin1Char('\n'))
                                 .filter(QRegularExpression(s("open\\w*\\(.*secret\\.(ts|sub)\".* = \\d")))
                                 .size();
        QVERIFY2(followed >= 7, qPrintable(QString::number(followed)));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().value(1) == QLatin1String(kWork))
        return work(application.arguments());
    TestServiceLures test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_service_lures.moc"

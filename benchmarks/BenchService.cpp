#include "BenchService.h"

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QThread>

#include <unistd.h>

namespace KRXBench {

namespace {

constexpr int kPatience = 170000; ///< milliseconds for anything
constexpr int kLook = 5;          ///< milliseconds between two looks

QByteArray between(const QByteArray& text, const QByteArray& begin, const QByteArray& end)
{
    const int from = text.indexOf(begin);
    require(from >= 0, QStringLiteral("the service answers with ") + QString::fromUtf8(begin));
    const int at = from + begin.size();
    return text.mid(at, text.indexOf(end, at) - at);
}

/// Clock ticks of a process and of its children that have ended.
double ticksOf(qint64 process)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(process));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    // Behind the name, which may hold anything, utime stands in the 12th place.
    const QByteArray all = file.readAll();
    const QList<QByteArray> fields = all.mid(all.lastIndexOf(')') + 2).split(' ');
    double ticks = 0;
    for (int i = 11; i <= 14; ++i)
        ticks += fields.value(i).toDouble();
    return ticks;
}

} // namespace

BenchService::BenchService(const QString& data, const QStringList& options)
    : m_data(data)
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
    m_process.setStandardErrorFile(data + QStringLiteral(".log"), QIODevice::Append);
    m_startMs = timedMs([&] {
        m_process.start(QStringLiteral(KRX_SERVICE_PROGRAM),
                        QStringList{QStringLiteral("--port"), QStringLiteral("0"),
                                    QStringLiteral("--no-socket"), QStringLiteral("--data"), data,
                                    QStringLiteral("--log-file"), QStringLiteral("none"),
                                    QStringLiteral("--log-level"), QStringLiteral("error")} +
                            options);
        require(m_process.waitForStarted() && m_process.waitForReadyRead(kPatience),
                QStringLiteral("the service starts"));
    });
    const QString said = QString::fromUtf8(m_process.readLine());
    m_port = quint16(QRegularExpression(QStringLiteral(":(\\d+)")).match(said).captured(1).toUInt());
    require(m_port != 0, QStringLiteral("the service says its port"));
    m_profile = between(get("profiles?level=detail"), "<profileGUID>", "</profileGUID>");
}

BenchService::~BenchService()
{
    m_process.terminate();
    m_process.waitForFinished(10000);
}

double BenchService::processorSeconds() const
{
    const qint64 own = m_process.processId();
    double ticks = ticksOf(own);
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(own));
    if (children.open(QIODevice::ReadOnly)) {
        const auto ids = children.readAll().split(' ');
        for (const QByteArray& id : ids)
            ticks += id.trimmed().isEmpty() ? 0 : ticksOf(id.trimmed().toLongLong());
    }
    return ticks / double(::sysconf(_SC_CLK_TCK));
}

QString BenchService::watch(const QString& folder)
{
    const QByteArray answer = m_http.post(
        m_port, "/KRXService/xelmediafolders",
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><xelMediaFolderRequest><xelMediaFolder><path>" +
            folder.toUtf8() + "</path><profile>" + m_profile +
            "</profile><enabled>true</enabled></xelMediaFolder></xelMediaFolderRequest>");
    const QByteArray uri = between(answer, "<xelMediaFolderURI>", "</xelMediaFolderURI>");
    return QString::fromUtf8(uri.mid(uri.lastIndexOf('/') + 1));
}

int BenchService::waiting(const QString& folder) const
{
    int count = 0;
    // Hidden ones are not ready yet, and not listed here.
    QDirIterator names(m_data + QStringLiteral("/output/") + folder, QDir::Files);
    while (names.hasNext()) {
        names.next();
        ++count;
    }
    return count;
}

QStringList BenchService::waitFor(const QString& folder, int count) const
{
    QElapsedTimer timer;
    timer.start();
    while (waiting(folder) < count) {
        require(timer.elapsed() < kPatience, QStringLiteral("all files are offered"));
        // A look at many takes a while itself, and must not hold up what is measured.
        const int look = kLook + count / 100;
        QThread::msleep(static_cast<unsigned long>(look));
    }
    return QDir(m_data + QStringLiteral("/output/") + folder).entryList(QDir::Files);
}

void BenchService::takeAll(const QString& folder) const
{
    const QDir documents(m_data + QStringLiteral("/output/") + folder);
    const QStringList names = documents.entryList(QDir::Files);
    for (const QString& name : names)
        QFile::remove(documents.filePath(name));
}

} // namespace KRXBench

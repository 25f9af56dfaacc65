#pragma once

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QUuid>

#include <sys/types.h>

#include <csignal>

/// A desk in a process of its own; see way_desk.cpp.
class WayDesk : public QObject
{
    Q_OBJECT

public:
    WayDesk(const QString& base, quint16 port, const QString& dieAt = QString())
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KRX_CONNECT_PORT"), QString::number(port));
        m_mark = "KRX_WAY_DESK=" + QUuid::createUuid().toByteArray();
        environment.insert(QStringLiteral("KRX_WAY_DESK"),
                           QString::fromLatin1(m_mark.mid(m_mark.indexOf('=') + 1)));
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        connect(&m_process, &QProcess::readyReadStandardOutput, this, &WayDesk::readLines);
        const QString here = QCoreApplication::applicationDirPath();
        QStringList arguments{QStringLiteral("--project"), QString(base + QStringLiteral("/Way.krxproject")),
                              QStringLiteral("--data"),    QString(base + QStringLiteral("/service")),
                              QStringLiteral("--service"), QString(here + QStringLiteral("/krx-service")),
                              QStringLiteral("--folder"),  QString(base + QStringLiteral("/watched")),
                              QStringLiteral("--copy-to"), QString(base + QStringLiteral("/copies"))};
        if (!dieAt.isEmpty())
            arguments << QStringLiteral("--die-at") << dieAt;
        m_process.start(QString(here + QStringLiteral("/way_desk")), arguments);
    }
    ~WayDesk() override
    {
        kill();
        endFork();
    }

    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    bool hasSaid(const QString& line) const { return m_lines.contains(line); }
    int timesSaid(const QString& line) const { return m_lines.count(line); }
    QStringList lines() const { return m_lines; }
    qint64 processId() const { return m_process.processId(); }
    int exitCode() const { return m_process.exitCode(); }
    void terminate() { m_process.terminate(); }
    void kill()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

signals:
    void said(const QString& line);

private:
    /// A desk that is killed while it starts its service can leave a fork of itself behind, which waits for
    /// it for ever and holds the test's own outputs open.
    void endFork() const
    {
        for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            bool isProcess = false;
            const pid_t id = name.toInt(&isProcess);
            if (!isProcess ||
                QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(id))).fileName() !=
                    QLatin1String("way_desk"))
                continue;
            QFile environment(QStringLiteral("/proc/%1/environ").arg(id));
            if (environment.open(QIODevice::ReadOnly) && environment.readAll().contains(m_mark))
                ::kill(id, SIGKILL);
        }
    }
    void readLines()
    {
        while (m_process.canReadLine()) {
            m_lines << QString::fromUtf8(m_process.readLine()).trimmed();
            emit said(m_lines.last());
        }
    }

    QProcess m_process;
    QByteArray m_mark; ///< in the environment of this desk and of no other
    QStringList m_lines;
};

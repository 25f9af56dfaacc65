#pragma once

#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

/// A desk in a process of its own; see way_desk.cpp.
class WayDesk : public QObject
{
    Q_OBJECT

public:
    WayDesk(const QString& base, quint16 port, const QString& dieAt = QString())
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("KRX_CONNECT_PORT"), QString::number(port));
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
    ~WayDesk() override { kill(); }

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
    void readLines()
    {
        while (m_process.canReadLine()) {
            m_lines << QString::fromUtf8(m_process.readLine()).trimmed();
            emit said(m_lines.last());
        }
    }

    QProcess m_process;
    QStringList m_lines;
};

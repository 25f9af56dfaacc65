#pragma once

#include "Bench.h"

#include <QProcess>
#include <QString>
#include <QStringList>

namespace KRXBench {

/// The real krx-service on a port of its own, ended with this object.
class BenchService
{
public:
    /// Starts it on the folder \a data; a service that does not get ready ends the program.
    explicit BenchService(const QString& data, const QStringList& options = {});
    ~BenchService();
    BenchService(const BenchService&) = delete;
    BenchService& operator=(const BenchService&) = delete;

    quint16 port() const { return m_port; }
    /// From the moment when it was called into being until it said that it listens, in milliseconds.
    double startMs() const { return m_startMs; }
    /// The processor time that it and its helpers used so far, in seconds.
    double processorSeconds() const;

    QByteArray get(const QByteArray& what) { return m_http.get(m_port, "/KRXService/" + what); }
    /// Has an enabled folder watched. \return its id.
    QString watch(const QString& folder);
    /// How many documents wait for \a folder, as the disk says.
    int waiting(const QString& folder) const;
    /// Waits until \a count of them are there. \return the names of all.
    QStringList waitFor(const QString& folder, int count) const;
    /// Takes all of them, as the host does.
    void takeAll(const QString& folder) const;

private:
    QString m_data;
    QProcess m_process;
    quint16 m_port = 0;
    double m_startMs = 0;
    QByteArray m_profile;
    PlainHttp m_http;
};

} // namespace KRXBench

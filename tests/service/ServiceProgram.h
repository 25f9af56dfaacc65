#pragma once

#include "PreparedProcess.h"

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <functional>

/// One answer, as it came over the wire.
struct Reply
{
    int status = 0; ///< 0: the connection ended without an answer
    QByteArray head;
    QByteArray body;

    /// The value of a header, whatever its case; empty when it is missing.
    QByteArray header(const QByteArray& name) const;
    /// The texts of all elements called \a name.
    QStringList texts(const QString& name) const;
    QString text(const QString& name) const { return texts(name).value(0); }
};

/// The real service on a port of its own.
class ServiceProgram
{
public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    ~ServiceProgram();

    /// The command that the program is started by, for example setpriv with its options.
    void setPrefix(const QStringList& command) { m_prefix = command; }
    /// Called in the new process before it becomes the program; system calls only.
    void setBeforeProgram(const std::function<void()>& function) { m_process.setBeforeProgram(function); }
    void setEnvironment(const QProcessEnvironment& environment)
    {
        m_process.setProcessEnvironment(environment);
    }

    /// Starts the program on the data folder and waits until it listens. False with the log when it does not.
    bool start(const QString& dataFolder, const QStringList& more = {});
    /// What the service finds wrong in a data folder on which it does not run ("--check").
    static QStringList faults(const QString& dataFolder);
    /// SIGTERM, and the exit code; -3 when what it left in the data folder does not agree.
    int terminate();
    /// The exit code of a program that ends by itself or was told to.
    int waitForEnd();
    /// SIGKILL.
    void kill();

    int port() const { return m_port; }
    qint64 pid() const { return m_process.processId(); }
    QByteArray log();
    /// What it said instead of starting.
    QByteArray lastWords() const { return m_lastWords; }

    /// Sends a request as the module's client would: Host localhost:58885, bodies declared as XML.
    Reply get(const QByteArray& path) const { return send("GET", path); }
    Reply post(const QByteArray& path, const QByteArray& body) const { return send("POST", path, body); }
    Reply put(const QByteArray& path, const QByteArray& body) const { return send("PUT", path, body); }
    Reply remove(const QByteArray& path) const { return send("DELETE", path); }
    Reply send(const QByteArray& method, const QByteArray& path, const QByteArray& body = {}) const;
    /// Sends exactly these bytes on one connection and reads to its end (or the end of the first answer).
    Reply raw(const QByteArray& bytes) const;
    /// Everything that comes back on one connection until the service closes it.
    QByteArray rawAll(const QByteArray& bytes) const;

    /// The id of the profile called \a name.
    QString profileId(const QString& name) const;
    /// Makes a folder and returns its id, empty when it was refused.
    QString addFolder(const QString& path, const QString& profileId, bool enabled = true) const;
    /// The output documents that a folder lists.
    QStringList outputs(const QString& folderId) const;
    QString jobState(const QString& jobId) const;
    QStringList errors() const;

    /// The program under test.
    static QString path();

private:
    int connectTo() const;
    bool leftAgreement() const;

    QString m_dataFolder;
    PreparedProcess m_process;
    QStringList m_prefix;
    int m_port = 0;
    QByteArray m_lastWords;
};

/// Documents in the form in which the module writes them.
namespace ModuleDocument {
QByteArray createFolder(const QString& path, const QString& profile, bool enabled = false);
QByteArray updateFolder(const QString& id, const QString& path, const QString& profile,
                        const QString& enabled);
QByteArray submitJob(const QString& path, const QString& profile);
QByteArray jobState(const QString& state);
QByteArray deviceStatus(const QString& name, int type, int action);
/// \a activities: the text between "activities" and its end.
QByteArray createProfile(const QString& name, const QByteArray& activities = {});
QByteArray copyActivity(const QString& folder, bool relink);
} // namespace ModuleDocument

/// Media files, made once per test program.
namespace TestMedia {
/// A short movie with sound, a still and a wave file: "movie.mov", "still.png", "sound.wav".
QString file(const QString& name);
} // namespace TestMedia

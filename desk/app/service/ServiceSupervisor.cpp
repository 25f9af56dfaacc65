#include "ServiceSupervisor.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

#include <algorithm>
#include <arpa/inet.h>
#include <csignal>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int kMaxDoublings = 5;
constexpr quint16 kServicePort = 58885;
/// The service's exit code when its port or its data folder is in use by another one.
constexpr int kExitInUse = 3;

/// A service that ends with the desk, also when the desk is killed and cannot stop it.
class BoundProcess : public QProcess
{
public:
#if QT_VERSION_MAJOR < 6
    using QProcess::QProcess;

protected:
    void setupChildProcess() override
    {
        prepareChild();
    }

private:
#else
    explicit BoundProcess(QObject* parent)
        : QProcess(parent)
    {
        setChildProcessModifier(&BoundProcess::prepareChild);
    }

private:
#endif
    static void prepareChild()
    {
        // Until it is the service, the child has our handlers, which would tell us to end in its place.
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            std::signal(signal, SIG_DFL);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    }
};

} // namespace

ServiceSupervisor::ServiceSupervisor(const Settings& settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings)
{
    m_restart.setSingleShot(true);
    connect(&m_restart, &QTimer::timeout, this, &ServiceSupervisor::launch);
    m_patience.setSingleShot(true);
    connect(&m_patience, &QTimer::timeout, this, [this] {
        if (m_process)
            m_process->kill();
    });
}

ServiceSupervisor::~ServiceSupervisor()
{
    endProcess();
}

qint64 ServiceSupervisor::processId() const
{
    return m_process ? m_process->processId() : 0;
}

void ServiceSupervisor::needService()
{
    if (m_forbidden)
        return;
    const bool mayTryAgain = m_state == InUse && m_sinceEnd.hasExpired(pause()) && !isPortTaken();
    if (m_state == Idle || mayTryAgain)
        launch();
}

void ServiceSupervisor::serviceAnswered()
{
    if (m_state != InUse && m_state != Waiting)
        return;
    // It is another one's: ours does not run.
    m_restart.stop();
    m_failures = 0;
    setState(Idle);
    if (m_inUseTold)
        emit message(tr("The service that runs already is used"));
    m_inUseTold = false;
}

void ServiceSupervisor::start()
{
    m_forbidden = false;
    m_failures = 0;
    m_inUseTold = false;
    m_restart.stop();
    // One that is about to end is waited for: two would want the same port.
    if (m_state == Idle || m_state == Waiting || m_state == InUse)
        launch();
}

void ServiceSupervisor::stop()
{
    m_forbidden = true;
    m_restart.stop();
    if (m_state == Waiting || m_state == InUse)
        setState(Idle);
    if (!m_process || m_state != Running)
        return;
    setState(Stopping);
    m_patience.start(m_settings.stopWait);
    m_process->terminate();
}

QString ServiceSupervisor::program() const
{
    const QString program =
        m_settings.program.isEmpty()
            ? QString(QCoreApplication::applicationDirPath() + QLatin1String("/krx-service"))
            : m_settings.program;
    return QFileInfo(program).isExecutable() ? program : QString();
}

QStringList ServiceSupervisor::arguments() const
{
    QStringList arguments;
    if (m_settings.bySocket)
        arguments << QStringLiteral("--no-port");
    else
        arguments << QStringLiteral("--port") << QString::number(m_settings.port);
    if (!m_settings.data.isEmpty())
        arguments << QStringLiteral("--data") << m_settings.data;
    return arguments + m_settings.arguments;
}

quint16 ServiceSupervisor::portFromEnvironment()
{
    bool ok = false;
    const ushort port = qEnvironmentVariable("KRX_CONNECT_PORT").toUShort(&ok);
    return ok && port != 0 ? port : kServicePort;
}

void ServiceSupervisor::launch()
{
    const QString path = program();
    if (path.isEmpty()) {
        ended(tr("The program krx-service was not found"));
        return;
    }
    m_lastLine.clear();
    m_sinceStart.invalidate();
    m_process = new BoundProcess(this);
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    m_process->setStandardInputFile(QProcess::nullDevice());
    connect(m_process, &QProcess::readyRead, this, &ServiceSupervisor::readLines);
    connect(m_process, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            ended(tr("The service could not be started: %1").arg(m_process->errorString()));
    });
    connect(m_process, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            [this](int code, QProcess::ExitStatus status) {
                readLines();
                if (status == QProcess::NormalExit && code == kExitInUse && m_state == Running &&
                    !m_forbidden) {
                    foundInUse();
                    return;
                }
                ended(m_lastLine.isEmpty()
                          ? tr("The service ended (code %1)").arg(code)
                          : tr("The service ended (code %1): %2").arg(QString::number(code), m_lastLine));
            });
    setState(Running);
    m_sinceStart.start();
    m_process->start(path, arguments());
}

void ServiceSupervisor::forgetProcess()
{
    m_patience.stop();
    if (!m_process)
        return;
    m_process->disconnect(this);
    m_process->deleteLater();
    m_process = nullptr;
}

void ServiceSupervisor::ended(const QString& reason)
{
    forgetProcess();
    const bool wasAsked = m_state == Stopping;
    if (wasAsked || m_forbidden) {
        setState(Idle);
        // Somebody may have wanted it back in the meantime.
        if (!m_forbidden)
            launch();
        return;
    }
    emit message(reason);
    if (m_sinceStart.isValid() && m_sinceStart.elapsed() >= m_settings.healthyRun)
        m_failures = 0;
    m_restart.start(pause());
    ++m_failures;
    setState(Waiting);
}

void ServiceSupervisor::foundInUse()
{
    forgetProcess();
    m_sinceEnd.start();
    ++m_failures;
    if (!m_inUseTold) {
        emit message(isPortTaken()
                         ? tr("Port %1 is in use: the service that has it is used, if it answers (%2)")
                               .arg(QString::number(m_settings.port), m_lastLine)
                         : tr("Another service of ours runs already (%1)").arg(m_lastLine));
    }
    m_inUseTold = true;
    setState(InUse);
}

bool ServiceSupervisor::isPortTaken() const
{
    if (m_settings.bySocket)
        return false;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socket < 0)
        return false;
    // Connections of a listener that is gone keep nobody from the port.
    const int reuse = 1;
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(m_settings.port);
    const bool isTaken = ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0;
    ::close(socket);
    return isTaken;
}

int ServiceSupervisor::pause() const
{
    return m_settings.restartPause << std::min(m_failures, kMaxDoublings);
}

void ServiceSupervisor::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    emit stateChanged(state);
}

void ServiceSupervisor::readLines()
{
    while (m_process && m_process->canReadLine()) {
        m_lastLine = QString::fromUtf8(m_process->readLine()).trimmed();
        emit line(m_lastLine);
    }
}

void ServiceSupervisor::endProcess()
{
    if (!m_process)
        return;
    m_process->disconnect(this);
    if (m_state != Stopping)
        m_process->terminate();
    if (m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(m_settings.stopWait)) {
        m_process->kill();
        m_process->waitForFinished(m_settings.stopWait);
    }
    forgetProcess();
}

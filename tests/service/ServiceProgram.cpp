#include "ServiceProgram.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

namespace {

constexpr int kPatience = 20000; ///< milliseconds

const QByteArray kDeclaration = QByteArrayLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");

QByteArray escaped(const QString& text)
{
    return text.toHtmlEscaped().toUtf8();
}

int lengthOf(const Reply& reply)
{
    bool ok = false;
    const int length = reply.header("Content-Length").toInt(&ok);
    return ok ? length : -1;
}

Reply parsed(const QByteArray& bytes)
{
    Reply reply;
    const int end = bytes.indexOf("\r\n\r\n");
    if (end < 0)
        return reply;
    reply.head = bytes.left(end + 2);
    reply.body = bytes.mid(end + 4);
    reply.status = reply.head.mid(9, 3).toInt();
    return reply;
}

bool isWhole(const QByteArray& bytes)
{
    const Reply reply = parsed(bytes);
    return reply.status != 0 && lengthOf(reply) >= 0 && reply.body.size() >= lengthOf(reply);
}

} // namespace

QByteArray Reply::header(const QByteArray& name) const
{
    for (const QByteArray& line : head.split('\n')) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed().toLower() == name.toLower())
            return line.mid(colon + 1).trimmed();
    }
    return QByteArray();
}

QStringList Reply::texts(const QString& name) const
{
    QStringList found;
    const QRegularExpression expression(QStringLiteral("<%1(?: [^>]*)?>([^<]*)</%1>").arg(name));
    auto matches = expression.globalMatch(QString::fromUtf8(body));
    while (matches.hasNext()) {
        QString text = matches.next().captured(1);
        text.replace(QLatin1String("&lt;"), QLatin1String("<"))
            .replace(QLatin1String("&gt;"), QLatin1String(">"));
        found << text.replace(QLatin1String("&amp;"), QLatin1String("&"));
    }
    return found;
}

ServiceProgram::~ServiceProgram()
{
    if (m_process.state() != QProcess::NotRunning)
        kill();
}

QStringList ServiceProgram::faults(const QString& dataFolder)
{
    QProcess check;
    // Whatever a test put before the service is no business of the one who checks.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("LD_PRELOAD"));
    check.setProcessEnvironment(environment);
    check.start(path(), {QStringLiteral("--check"), QStringLiteral("--data"), dataFolder});
    check.waitForFinished(kPatience);
    const QString said = QString::fromUtf8(check.readAllStandardOutput() + check.readAllStandardError());
    const bool isFine = check.exitStatus() == QProcess::NormalExit && check.exitCode() == 0;
    return isFine ? QStringList()
                  : said.split(QLatin1Char('\n'), Qt::SkipEmptyParts) << QStringLiteral("end");
}

/// Asked whenever the program has ended, however it ended: each test is one of the invariants, too.
bool ServiceProgram::leftAgreement() const
{
    if (m_port == 0 || !QFile::exists(m_dataFolder + QStringLiteral("/krx-service.db")))
        return true;
    if (QFileInfo(m_dataFolder).ownerId() != ::geteuid())
        return true; // the service looks at nobody else's data
    const QStringList found = faults(m_dataFolder);
    if (!found.isEmpty())
        QTest::qFail(
            qPrintable(QStringLiteral("the service left behind: ") + found.join(QLatin1String("; "))),
            __FILE__, __LINE__);
    return found.isEmpty();
}

QString ServiceProgram::path()
{
    // Another build of the program, for example one with sanitizers, may be put to the same tests.
    return qEnvironmentVariable("KRX_SERVICE_PROGRAM", QStringLiteral(KRX_SERVICE_PROGRAM));
}

bool ServiceProgram::start(const QString& dataFolder, const QStringList& more)
{
    m_dataFolder = dataFolder;
    QStringList arguments{
        QStringLiteral("--port"),   QStringLiteral("0"),   QStringLiteral("--data"),   dataFolder,
        QStringLiteral("--settle"), QStringLiteral("0.2"), QStringLiteral("--rescan"), QStringLiteral("0.3")};
    const QStringList command = m_prefix + QStringList{path()} + arguments + more;
    m_process.start(command.first(), command.mid(1));
    QByteArray output;
    QElapsedTimer timer;
    timer.start();
    while (!output.contains('\n') && m_process.state() != QProcess::NotRunning &&
           timer.elapsed() < kPatience) {
        m_process.waitForReadyRead(100);
        output += m_process.readAllStandardOutput();
    }
    const int colon = output.lastIndexOf(':');
    const bool listens = output.startsWith("listening on ");
    m_port = listens ? output.mid(colon + 1).trimmed().toInt() : 0;
    m_lastWords = listens ? QByteArray() : log();
    if (!listens)
        qWarning("the service did not start: %s", m_lastWords.constData());
    return listens;
}

int ServiceProgram::terminate()
{
    m_process.terminate();
    return waitForEnd();
}

int ServiceProgram::waitForEnd()
{
    if (m_process.state() != QProcess::NotRunning && !m_process.waitForFinished(kPatience))
        return -1;
    if (!leftAgreement())
        return -3;
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -2;
}

void ServiceProgram::kill()
{
    m_process.kill();
    m_process.waitForFinished(kPatience);
    leftAgreement();
}

QByteArray ServiceProgram::log()
{
    return m_process.readAllStandardError();
}

int ServiceProgram::connectTo() const
{
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(m_port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0)
        return socket;
    ::close(socket);
    return -1;
}

namespace {

QByteArray exchange(int socket, const QByteArray& bytes, bool toTheEnd)
{
    int sent = 0;
    while (sent < bytes.size()) {
        const ssize_t put = ::send(socket, bytes.constData() + sent,
                                   static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (put <= 0)
            break; // refused before all was sent; the answer is still there
        sent += static_cast<int>(put);
    }
    QByteArray answer;
    char buffer[65536];
    pollfd descriptor{socket, POLLIN, 0};
    while (::poll(&descriptor, 1, kPatience) > 0) {
        const ssize_t got = ::recv(socket, buffer, sizeof buffer, 0);
        if (got <= 0)
            break;
        answer.append(buffer, static_cast<int>(got));
        if (!toTheEnd && isWhole(answer))
            break;
    }
    return answer;
}

} // namespace

Reply ServiceProgram::raw(const QByteArray& bytes) const
{
    const int socket = connectTo();
    if (socket < 0)
        return Reply();
    const QByteArray answer = exchange(socket, bytes, false);
    ::close(socket);
    return parsed(answer);
}

QByteArray ServiceProgram::rawAll(const QByteArray& bytes) const
{
    const int socket = connectTo();
    if (socket < 0)
        return QByteArray();
    const QByteArray answer = exchange(socket, bytes, true);
    ::close(socket);
    return answer;
}

Reply ServiceProgram::send(const QByteArray& method, const QByteArray& path, const QByteArray& body) const
{
    QByteArray bytes = method + " /KRXService/" + path + " HTTP/1.1\r\nHost: localhost:58885\r\n";
    if (method == "POST" || method == "PUT")
        bytes +=
            "Content-Type: application/xml\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\n";
    return raw(bytes + "\r\n" + body);
}

QString ServiceProgram::profileId(const QString& name) const
{
    const Reply reply = get("profiles?level=detail");
    const int index = reply.texts(QStringLiteral("profileName")).indexOf(name);
    return index < 0 ? QString() : reply.texts(QStringLiteral("profileGUID")).value(index);
}

QString ServiceProgram::addFolder(const QString& path, const QString& profileId, bool enabled) const
{
    const Reply reply = post("xelmediafolders", ModuleDocument::createFolder(path, profileId, enabled));
    return reply.text(QStringLiteral("xelMediaFolderURI")).section(QLatin1Char('/'), -1);
}

QStringList ServiceProgram::outputs(const QString& folderId) const
{
    return get("xelmediafolders/" + folderId.toUtf8()).texts(QStringLiteral("fileName"));
}

QString ServiceProgram::jobState(const QString& jobId) const
{
    const Reply reply = get("jobs/status");
    const int index = reply.texts(QStringLiteral("id")).indexOf(jobId);
    return index < 0 ? QString() : reply.texts(QStringLiteral("state")).value(index);
}

QStringList ServiceProgram::errors() const
{
    return get("errors").texts(QStringLiteral("errorMessage"));
}

namespace ModuleDocument {

QByteArray createFolder(const QString& path, const QString& profile, bool enabled)
{
    return kDeclaration + "<xelMediaFolderRequest>\n <xelMediaFolder>\n  <path>" + escaped(path) +
           "</path>\n  <profile>" + escaped(profile) + "</profile>\n  <enabled>" +
           (enabled ? "true" : "false") + "</enabled>\n </xelMediaFolder>\n</xelMediaFolderRequest>\n";
}

QByteArray updateFolder(const QString& id, const QString& path, const QString& profile,
                        const QString& enabled)
{
    return kDeclaration + "<xelMediaFolder id=\"" + escaped(id) + "\">\n <path>" + escaped(path) +
           "</path>\n <profile>" + escaped(profile) + "</profile>\n <enabled>" + escaped(enabled) +
           "</enabled>\n</xelMediaFolder>\n";
}

QByteArray submitJob(const QString& path, const QString& profile)
{
    return kDeclaration + "<jobInfo>\n <path>" + escaped(path) + "</path>\n <profileID>" + escaped(profile) +
           "</profileID>\n</jobInfo>\n";
}

QByteArray jobState(const QString& state)
{
    return kDeclaration + "<jobStatus>\n <state>" + escaped(state) + "</state>\n</jobStatus>\n";
}

QByteArray deviceStatus(const QString& name, int type, int action)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\n<deviceStatus>\n <volumeName>" +
           escaped(name) + "</volumeName>\n <volumeType>" + QByteArray::number(type) +
           "</volumeType>\n <volumeAction>" + QByteArray::number(action) +
           "</volumeAction>\n</deviceStatus>\n";
}

QByteArray createProfile(const QString& name, const QByteArray& activities)
{
    return kDeclaration +
           "<profileRequest>\n <profile>\n  <version>200</version>\n  <profileDetail>\n   <profileName>" +
           escaped(name) +
           "</profileName>\n   <profileTag>#krx</profileTag>\n"
           "   <profileCreatedTimestamp>2024-03-05T14:07:09</profileCreatedTimestamp>\n"
           "   <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n"
           "   <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n  </profileDetail>\n  "
           "<profileSettings>\n"
           "   <binDetail>\n    <binExplicitName>Rushes</binExplicitName>\n"
           "    <binSelectionMethod>CREATENEW</binSelectionMethod>\n    "
           "<binNamingMethod>EXPLICIT</binNamingMethod>\n"
           "   </binDetail>\n   <linkDetail>\n    <xelPreferredPluginDetail>\n"
           "     <xelPluginName>Autodetect Plug-in</xelPluginName>\n"
           "     <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n    "
           "</xelPreferredPluginDetail>\n"
           "    <multichannelAudio>None</multichannelAudio>\n    "
           "<xelAudioStartTimeOption>25</xelAudioStartTimeOption>\n"
           "    <xelStillImageFPS>25</xelStillImageFPS>\n   </linkDetail>\n   <zorMetadata>\n"
           "    <reelNamingMethod>FILENAME</reelNamingMethod>\n    <reelFolderLevel>1</reelFolderLevel>\n"
           "    <frameCountingMethod>ZERO</frameCountingMethod>\n    "
           "<timecodeMethod>EMBEDDED</timecodeMethod>\n"
           "    <defaultFPS>25</defaultFPS>\n   </zorMetadata>\n  </profileSettings>\n  <processDefinition>\n"
           "   <package>\n    <activities>\n" +
           activities +
           "    </activities>\n   </package>\n  </processDefinition>\n </profile>\n</profileRequest>\n";
}

QByteArray copyActivity(const QString& folder, bool relink)
{
    return "     <activity id=\"copy\" name=\"Copy 1\">\n      <destinationDetail>\n       <filesystemPath>" +
           escaped(folder) + "</filesystemPath>\n       <relinkAfterCopy>" + (relink ? "true" : "false") +
           "</relinkAfterCopy>\n       <autoCheckin>false</autoCheckin>\n      </destinationDetail>\n     "
           "</activity>\n";
}

} // namespace ModuleDocument

namespace TestMedia {

QString file(const QString& name)
{
    static QTemporaryDir folder;
    const QString path = folder.filePath(name);
    if (!QFile::exists(path)) {
        const auto ffmpeg = [&](const QStringList& arguments) {
            const QStringList quiet{QStringLiteral("-v"), QStringLiteral("error")};
            if (QProcess::execute(QStringLiteral("ffmpeg"), quiet + arguments << path) != 0)
                qFatal("ffmpeg could not make %s", qPrintable(path));
        };
        const QString lavfi = QStringLiteral("lavfi");
        const QString f = QStringLiteral("-f");
        const QString i = QStringLiteral("-i");
        const QString picture = QStringLiteral("testsrc=d=0.4:s=64x48");
        if (name == QLatin1String("sound.wav"))
            ffmpeg({f, lavfi, i, QStringLiteral("sine=d=0.2")});
        else if (name == QLatin1String("still.png"))
            ffmpeg({f, lavfi, i, picture, QStringLiteral("-frames:v"), QStringLiteral("1")});
        else
            ffmpeg({f, lavfi, i, picture, f, lavfi, i, QStringLiteral("sine=d=0.4")});
    }
    return path;
}

} // namespace TestMedia

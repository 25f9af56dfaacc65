#include "Bench.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QStringList>

#include <curl/curl.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

namespace KRXBench {

namespace {

double onceMs(const std::function<void()>& work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return double(timer.nsecsElapsed()) / 1e6;
}

double median(std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

std::size_t append(char* data, std::size_t size, std::size_t count, void* to)
{
    static_cast<QByteArray*>(to)->append(data, int(size * count));
    return size * count;
}

QString number(double value)
{
    return value > 0 ? QString::number(value, 'f', value < 10 ? 2 : 1) : QStringLiteral("-");
}

} // namespace

double medianMs(int runs, const std::function<void()>& work)
{
    work();
    std::vector<double> times;
    times.reserve(static_cast<std::size_t>(runs));
    for (int i = 0; i < runs; ++i)
        times.push_back(onceMs(work));
    return median(times);
}

Pair medianPairMs(int runs, const std::function<void()>& ours, const std::function<void()>& floor)
{
    ours();
    floor();
    std::vector<double> oursTimes;
    std::vector<double> floorTimes;
    oursTimes.reserve(static_cast<std::size_t>(runs));
    floorTimes.reserve(static_cast<std::size_t>(runs));
    for (int i = 0; i < runs; ++i) {
        oursTimes.push_back(onceMs(ours));
        floorTimes.push_back(onceMs(floor));
    }
    return {median(oursTimes), median(floorTimes)};
}

Row& Table::add(const QString& work, qint64 n, double ours, double floor, const QString& unit)
{
    Row row;
    row.work = work;
    row.n = n;
    row.ours = ours;
    row.floor = floor;
    row.unit = unit;
    for (const Row& before : qAsConst(m_rows)) {
        if (before.work == work && before.ours > 0)
            row.growth = ours / before.ours;
    }
    m_rows << row;
    return m_rows.last();
}

double Table::floorGrowth(const QString& work) const
{
    QList<double> floors;
    for (const Row& row : m_rows) {
        if (row.work == work)
            floors << row.floor;
    }
    return floors.size() < 2 ? 0 : floors.last() / floors.at(floors.size() - 2);
}

QString Table::text() const
{
    QList<QStringList> cells{{QStringLiteral("Work"), QStringLiteral("N"), QStringLiteral("Ours"),
                              QStringLiteral("Floor"), QStringLiteral("Ratio"), QStringLiteral("Growth"),
                              QStringLiteral("Must"), QStringLiteral("Met")}};
    for (const Row& row : m_rows) {
        const QString unit = row.unit == QLatin1String("ms") ? QString() : QStringLiteral(" ") + row.unit;
        cells << QStringList{row.work,
                             QString::number(row.n),
                             number(row.ours) + unit,
                             row.floor > 0 ? QString(number(row.floor) + unit) : QStringLiteral("-"),
                             number(row.floor > 0 ? row.ours / row.floor : 0),
                             number(row.growth),
                             row.must.isEmpty() ? QStringLiteral("-") : row.must,
                             row.must.isEmpty() ? QStringLiteral("-")
                                                : (row.met ? QStringLiteral("yes") : QStringLiteral("NO"))};
    }
    QList<int> widths;
    for (const QStringList& line : qAsConst(cells)) {
        for (int i = 0; i < line.size(); ++i) {
            if (i >= widths.size())
                widths << 0;
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    QString text;
    for (const QStringList& line : qAsConst(cells)) {
        QString printed;
        for (int i = 0; i < line.size(); ++i) {
            const bool isNumber = i >= 1 && i <= 5;
            printed += (isNumber ? line[i].rightJustified(widths[i]) : line[i].leftJustified(widths[i])) +
                       QStringLiteral("  ");
        }
        text += printed.trimmed() + QLatin1Char('\n');
    }
    return text;
}

QByteArray Table::json() const
{
    QJsonArray array;
    for (const Row& row : m_rows) {
        QJsonObject object{{QStringLiteral("work"), row.work},
                           {QStringLiteral("n"), row.n},
                           {QStringLiteral("ours_ms"), row.ours},
                           {QStringLiteral("floor_ms"), row.floor},
                           {QStringLiteral("ratio"), row.floor > 0 ? row.ours / row.floor : 0},
                           {QStringLiteral("growth"), row.growth},
                           {QStringLiteral("must"), row.must},
                           {QStringLiteral("met"), row.met}};
        if (row.unit != QLatin1String("ms"))
            object.insert(QStringLiteral("unit"), row.unit);
        array << object;
    }
    return QJsonDocument(array).toJson();
}

bool Table::allMet() const
{
    return std::all_of(m_rows.begin(), m_rows.end(), [](const Row& row) { return row.met; });
}

qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

double timedMs(const std::function<void()>& work)
{
    return onceMs(work);
}

void addPairs(Table& table, const QString& work, qint64 n, int pairs, double most, bool warmsUp,
              const std::function<double()>& ours, const std::function<double()>& floor)
{
    std::vector<double> oursTimes;
    std::vector<double> floorTimes;
    std::vector<double> ratios;
    for (int pair = warmsUp ? -1 : 0; pair < pairs; ++pair) {
        // Who goes first meets another machine.
        const bool isOursFirst = pair % 2 == 0;
        double first = isOursFirst ? ours() : floor();
        double second = isOursFirst ? floor() : ours();
        if (!isOursFirst)
            std::swap(first, second);
        if (pair < 0)
            continue;
        oursTimes.push_back(first);
        floorTimes.push_back(second);
        ratios.push_back(first / second);
    }
    const double middle = median(ratios);
    const auto [least, largest] = std::minmax_element(ratios.begin(), ratios.end());
    Row& row = table.add(work, n, median(oursTimes), median(floorTimes));
    row.must = QStringLiteral("<= %1 x; median of ratios %2, from %3 to %4")
                   .arg(most)
                   .arg(middle, 0, 'f', 2)
                   .arg(*least, 0, 'f', 2)
                   .arg(*largest, 0, 'f', 2);
    row.met = middle <= most;
}

void require(bool held, const QString& what)
{
    if (!held)
        qFatal("the measure means nothing: %s", qUtf8Printable(what));
}

void shell(const QString& command)
{
    QProcess process;
    process.start(QStringLiteral("sh"), {QStringLiteral("-c"), command});
    require(process.waitForFinished(-1) && process.exitCode() == 0, command);
}

void writeWave(const QString& path, quint32 size)
{
    const auto little = [](quint32 value, int bytes) -> QByteArray {
        QByteArray text;
        for (int i = 0; i < bytes; ++i)
            text += char(value >> (8 * i));
        return text;
    };
    std::vector<quint32> noise(size / 4);
    QRandomGenerator::system()->fillRange(noise.data(), qsizetype(noise.size()));
    QFile file(path);
    require(file.open(QIODevice::WriteOnly), QStringLiteral("there is room for sources"));
    file.write("RIFF" + little(36 + size, 4) + "WAVEfmt " + little(16, 4) + little(1, 2) + little(2, 2) +
               little(48000, 4) + little(192000, 4) + little(4, 2) + little(16, 2) + "data" +
               little(size, 4));
    file.write(reinterpret_cast<const char*>(noise.data()), qint64(noise.size()) * 4);
}

PlainHttp::PlainHttp()
    : m_handle(curl_easy_init())
{
    curl_easy_setopt(m_handle, CURLOPT_PROXY, "");
    curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &append);
    curl_easy_setopt(m_handle, CURLOPT_FAILONERROR, 1L);
}

PlainHttp::~PlainHttp()
{
    curl_easy_cleanup(m_handle);
}

QByteArray PlainHttp::get(quint16 port, const QByteArray& target)
{
    QByteArray body;
    const QByteArray url = "http://127.0.0.1:" + QByteArray::number(port) + target;
    curl_easy_setopt(m_handle, CURLOPT_URL, url.constData());
    curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &body);
    const CURLcode code = curl_easy_perform(m_handle);
    if (code != CURLE_OK)
        qFatal("the plain request failed: %s", curl_easy_strerror(code));
    return body;
}

QByteArray PlainHttp::post(quint16 port, const QByteArray& target, const QByteArray& body)
{
    curl_slist* const headers = curl_slist_append(nullptr, "Content-Type: application/xml");
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, headers);
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, body.constData());
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, long(body.size()));
    const QByteArray answer = get(port, target);
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(m_handle, CURLOPT_HTTPGET, 1L);
    curl_slist_free_all(headers);
    return answer;
}

QByteArray folderDocument(int index)
{
    const QByteArray n = QByteArray::number(index).rightJustified(6, '0');
    return "<xelMediaFolder id=\"f-" + n + "\">\n <path>/media/volume/watch/" + n +
           "</path>\n <profile>0b54a2d6-2d3c-4c59-8a1c-3f2f7c4be77d</profile>\n <enabled>true</enabled>\n"
           " <outputXELFiles>\n  <fileName>/var/lib/krx/output/f-" +
           n + "/1-A001C001.xel</fileName>\n  <fileName>/var/lib/krx/output/f-" + n +
           "/2-A001C002.xel</fileName>\n </outputXELFiles>\n</xelMediaFolder>\n";
}

QByteArray folderListDocument(int count)
{
    QByteArray document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<xelMediaFolders>\n";
    for (int i = 0; i < count; ++i)
        document += folderDocument(i);
    return document + "</xelMediaFolders>\n";
}

QByteArray profileElement(int index)
{
    const QByteArray n = QByteArray::number(index).rightJustified(4, '0');
    return "<profile>\n <version>200</version>\n <profileDetail>\n  <profileName>Profile " + n +
           "</profileName>\n  <profileGUID>p-" + n +
           "</profileGUID>\n  <profileTag>#krx</profileTag>\n"
           "  <profileCreatedTimestamp>2026-01-01T00:00:00</profileCreatedTimestamp>\n"
           "  <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n"
           "  <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n </profileDetail>\n"
           " <profileSettings>\n  <binDetail>\n   <binSelectionMethod>CREATENEW</binSelectionMethod>\n"
           "   <binNamingMethod>VOLUME</binNamingMethod>\n  </binDetail>\n  <linkDetail>\n"
           "   <xelPreferredPluginDetail>\n    <xelPluginName>Autodetect Plug-in</xelPluginName>\n"
           "    <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n"
           "   </xelPreferredPluginDetail>\n   <multichannelAudio>None</multichannelAudio>\n"
           "   <xelAudioStartTimeOption>25</xelAudioStartTimeOption>\n"
           "   <xelStillImageFPS>25</xelStillImageFPS>\n  </linkDetail>\n  <zorMetadata>\n"
           "   <reelNamingMethod>FILENAME</reelNamingMethod>\n   <reelFolderLevel>1</reelFolderLevel>\n"
           "   <frameCountingMethod>ZERO</frameCountingMethod>\n   "
           "<timecodeMethod>EMBEDDED</timecodeMethod>\n"
           "   <defaultFPS>25</defaultFPS>\n  </zorMetadata>\n </profileSettings>\n"
           " <processDefinition>\n  <package>\n   <activities>\n"
           "    <activity id=\"copy\" name=\"Copy 1\">\n     <destinationDetail>\n"
           "      <filesystemPath>/media/copies</filesystemPath>\n"
           "      <relinkAfterCopy>true</relinkAfterCopy>\n      <autoCheckin>false</autoCheckin>\n"
           "     </destinationDetail>\n    </activity>\n"
           "    <activity id=\"transcode\" name=\"Transcode 1\">\n     <outputDetail>\n"
           "      <filesystemVideoVolume>/media/</filesystemVideoVolume>\n"
           "      <filesystemAudioVolume>/media/</filesystemAudioVolume>\n"
           "      <outputTranscodeVideoProfile>\n"
           "       <videoIncludeReformattedContent>true</videoIncludeReformattedContent>\n"
           "       <applyColorTransformations>false</applyColorTransformations>\n"
           "       <videoProjectType>1080p/25</videoProjectType>\n"
           "       <videoColorSpace>YCbCr 709</videoColorSpace>\n       "
           "<videoRaster>1920x1080</videoRaster>\n"
           "       <encodingProfile>Standard</encodingProfile>\n       "
           "<videoDebayerSetting>0</videoDebayerSetting>\n"
           "       <videoCompressionType name=\"ProRes 422\">1</videoCompressionType>\n"
           "      </outputTranscodeVideoProfile>\n      <outputAudioProfile>\n"
           "       <audioSampleRate enabled=\"true\">48000</audioSampleRate>\n"
           "       <audioSampleWidth enabled=\"true\">24</audioSampleWidth>\n"
           "       <audioFormat enabled=\"false\">PCM  (MXF OP1a)</audioFormat>\n"
           "      </outputAudioProfile>\n     </outputDetail>\n    </activity>\n"
           "    <activity id=\"consolidate\" name=\"Consolidate\">\n     <outputDetail>\n"
           "      <filesystemVideoVolume>/media/</filesystemVideoVolume>\n"
           "      <filesystemAudioVolume>/media/</filesystemAudioVolume>\n"
           "      <outputConsolidateVideoProfile>\n       <videoSkipOnTarget>true</videoSkipOnTarget>\n"
           "      </outputConsolidateVideoProfile>\n     </outputDetail>\n    </activity>\n"
           "   </activities>\n  </package>\n </processDefinition>\n</profile>\n";
}

QByteArray profileListDocument(int count)
{
    QByteArray document = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<profiles>\n";
    for (int i = 0; i < count; ++i)
        document += profileElement(i);
    return document + "</profiles>\n";
}

} // namespace KRXBench

#include "DeskProjectFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSet>

#include <fcntl.h>
#include <unistd.h>

namespace {

const QLatin1String kFormat("krx-desk-project");
constexpr int kVersion = 1;

QString tr(const char* text)
{
    return QCoreApplication::translate("DeskProjectFile", text);
}

/// One field of a clip's record, named once for the reader and the writer.
struct TextField
{
    QLatin1String key;
    QString DeskClip::*member;
};

const TextField kTextFields[] = {
    {QLatin1String("id"), &DeskClip::id},         {QLatin1String("name"), &DeskClip::name},
    {QLatin1String("kind"), &DeskClip::kind},     {QLatin1String("media"), &DeskClip::media},
    {QLatin1String("source"), &DeskClip::source}, {QLatin1String("linkDocument"), &DeskClip::linkDocument},
};
/// The same for those that not every clip has.
const TextField kOptionalFields[] = {
    {QLatin1String("start"), &DeskClip::start},
    {QLatin1String("reel"), &DeskClip::reel},
    {QLatin1String("details"), &DeskClip::details},
};
const QLatin1String kDuration("durationSeconds");
const QLatin1String kChecked("checked");
const QLatin1String kAcquired("acquired");
const QLatin1String kName("name");
const QLatin1String kClips("clips");
const QLatin1String kBins("bins");
const QLatin1String kActiveBin("activeBin");
const QLatin1String kFormatKey("format");
const QLatin1String kVersionKey("version");

QJsonObject clipToJson(const DeskClip& clip)
{
    QJsonObject json = clip.more;
    for (const TextField& field : kTextFields)
        json.insert(field.key, clip.*field.member);
    for (const TextField& field : kOptionalFields) {
        if (!(clip.*field.member).isEmpty())
            json.insert(field.key, clip.*field.member);
    }
    if (clip.duration >= 0)
        json.insert(kDuration, clip.duration);
    json.insert(kChecked, clip.checked);
    // With its offset: a project goes to other places and through the end of summer time.
    json.insert(kAcquired, clip.acquired.toUTC().toString(Qt::ISODate));
    return json;
}

DeskClip clipFromJson(QJsonObject json)
{
    DeskClip clip;
    for (const TextField& field : kTextFields)
        clip.*field.member = json.take(field.key).toString();
    for (const TextField& field : kOptionalFields)
        clip.*field.member = json.take(field.key).toString();
    clip.duration = json.take(kDuration).toDouble(-1);
    clip.checked = json.take(kChecked).toBool();
    // Projects of before hold it without an offset, as the clock of the place showed it.
    clip.acquired = QDateTime::fromString(json.take(kAcquired).toString(), Qt::ISODate).toLocalTime();
    clip.more = json;
    return clip;
}

bool binFromJson(QJsonObject json, DeskBin& bin, QSet<QString>& clipIds, QString& error)
{
    bin.name = json.take(kName).toString();
    const QJsonArray clips = json.take(kClips).toArray();
    bin.more = json;
    bin.clips.reserve(clips.size());
    for (const QJsonValue& value : clips) {
        const DeskClip clip = clipFromJson(value.toObject());
        if (clip.id.isEmpty() || clipIds.contains(clip.id)) {
            error = tr("a clip of the bin \"%1\" has no id of its own").arg(bin.name);
            return false;
        }
        clipIds.insert(clip.id);
        bin.clips.append(clip);
    }
    return true;
}

/// A renamed file is on the disk only once its folder is.
bool syncFolder(const QString& folder)
{
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    return synced;
}

} // namespace

namespace DeskProjectFile {

QByteArray toBytes(const Contents& contents)
{
    QJsonArray bins;
    for (const DeskBin& bin : contents.bins) {
        QJsonArray clips;
        for (const DeskClip& clip : bin.clips)
            clips.append(clipToJson(clip));
        QJsonObject json = bin.more;
        json.insert(kName, bin.name);
        json.insert(kClips, clips);
        bins.append(json);
    }
    QJsonObject root = contents.more;
    root.insert(kFormatKey, QString(kFormat));
    root.insert(kVersionKey, kVersion);
    root.insert(kActiveBin, contents.activeBin);
    root.insert(kBins, bins);
    return QJsonDocument(root).toJson();
}

bool fromBytes(const QByteArray& bytes, Contents& contents, QString& error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (document.isNull()) {
        error = tr("it is damaged near byte %1 (%2)")
                    .arg(QString::number(parseError.offset), parseError.errorString());
        return false;
    }
    QJsonObject root = document.object();
    if (root.take(kFormatKey).toString() != kFormat) {
        error = tr("it is not a project of KRX Desk");
        return false;
    }
    if (root.take(kVersionKey).toInt() != kVersion) {
        error = tr("it was made by another version of KRX Desk");
        return false;
    }
    Contents read;
    read.activeBin = root.take(kActiveBin).toString();
    const QJsonArray bins = root.take(kBins).toArray();
    read.more = root;
    QSet<QString> clipIds;
    for (const QJsonValue& value : bins) {
        DeskBin bin;
        if (!binFromJson(value.toObject(), bin, clipIds, error))
            return false;
        read.bins.append(bin);
    }
    contents = read;
    return true;
}

bool replaceFile(const QString& path, const QByteArray& bytes, QString& error)
{
    QSaveFile file(path);
    // Writing into the file itself, the way out when a temporary file cannot be made, could leave half of it.
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush() ||
        ::fsync(file.handle()) != 0 || !file.commit()) {
        error = file.errorString();
        return false;
    }
    if (!syncFolder(QFileInfo(path).absolutePath())) {
        error = tr("the folder could not be written");
        return false;
    }
    return true;
}

} // namespace DeskProjectFile

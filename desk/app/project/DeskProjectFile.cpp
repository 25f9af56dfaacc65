#include "DeskProjectFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSaveFile>
#include <QSet>
#include <QStringList>
#include <QVarLengthArray>

#include <algorithm>

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

QString acquiredText(const DeskClip& clip)
{
    // With its offset: a project goes to other places and through the end of summer time.
    return clip.acquired.toUTC().toString(Qt::ISODate);
}

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
    json.insert(kAcquired, acquiredText(clip));
    return json;
}

/// The start of a line that is indented by so many levels, as the writer of JSON does it.
QByteArray lineStart(int levels)
{
    constexpr int kIndentation = 4;
    return '\n' + QByteArray(levels * kIndentation, ' ');
}

/// A value as it stands in a file, in lines that are indented by so many levels.
QByteArray valueText(const QJsonValue& value, int levels)
{
    // An array indents what it holds by one level, and no text holds the end of a line as it is.
    constexpr int kBefore = sizeof("[\n    ") - 1;
    constexpr int kAfter = sizeof("\n]\n") - 1;
    const QByteArray text = QJsonDocument(QJsonArray{value}).toJson();
    return text.mid(kBefore, text.size() - kBefore - kAfter).replace("\n", lineStart(levels - 1));
}

void appendText(QByteArray& out, const QString& text)
{
    const auto isPlain = [](QChar c) {
        return c >= QLatin1Char(' ') && c != QLatin1Char('"') && c != QLatin1Char('\\') && !c.isSurrogate();
    };
    if (std::all_of(text.cbegin(), text.cend(), isPlain))
        out.append('"').append(text.toUtf8()).append('"');
    else
        out.append(valueText(text, 1));
}

/// Writes what clipToJson() makes, without making it: a record of JSON costs many times its text, and all
/// clips are written whenever some were added.
void appendClip(QByteArray& out, const DeskClip& clip, int levels)
{
    if (!clip.more.isEmpty()) {
        out.append(valueText(clipToJson(clip), levels));
        return;
    }
    struct Member
    {
        QLatin1String key;
        /// Null when there is another value than a text.
        const QString* text;
        QByteArray value;
    };
    const QString acquired = acquiredText(clip);
    QVarLengthArray<Member, 16> members;
    for (const TextField& field : kTextFields)
        members.append({field.key, &(clip.*field.member), {}});
    for (const TextField& field : kOptionalFields) {
        if (!(clip.*field.member).isEmpty())
            members.append({field.key, &(clip.*field.member), {}});
    }
    if (clip.duration >= 0)
        members.append({kDuration, nullptr, valueText(clip.duration, levels)});
    members.append({kChecked, nullptr, clip.checked ? "true" : "false"});
    members.append({kAcquired, &acquired, {}});
    std::sort(members.begin(), members.end(), [](const Member& a, const Member& b) { return a.key < b.key; });

    const QByteArray start = lineStart(levels + 1);
    char before = '{';
    for (const Member& member : members) {
        out.append(before).append(start).append('"').append(member.key.data(), member.key.size());
        out.append("\": ");
        if (member.text)
            appendText(out, *member.text);
        else
            out.append(member.value);
        before = ',';
    }
    out.append(lineStart(levels)).append('}');
}

/// Writes an object of which one member, an array, is written by itself.
/// \param appendElement appends the element of that position to a text
template <class AppendElement>
void appendWithArray(QByteArray& out, const QJsonObject& others, const QString& arrayKey, int size,
                     int levels, AppendElement appendElement)
{
    const auto appendArray = [&] {
        out.append('[');
        for (int i = 0; i < size; ++i) {
            out.append(i > 0 ? "," : "").append(lineStart(levels + 2));
            appendElement(i);
        }
        out.append(lineStart(levels + 1)).append(']');
    };
    QStringList keys = others.keys();
    keys.removeAll(arrayKey);
    keys.append(arrayKey);
    std::sort(keys.begin(), keys.end());
    char before = '{';
    for (const QString& key : qAsConst(keys)) {
        out.append(before).append(lineStart(levels + 1));
        appendText(out, key);
        out.append(": ");
        if (key == arrayKey)
            appendArray();
        else
            out.append(valueText(others.value(key), levels + 1));
        before = ',';
    }
    out.append(lineStart(levels)).append('}');
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
    constexpr int kLevelsOfBin = 2;
    constexpr int kLevelsOfClip = 4;
    QByteArray out;
    const auto appendBin = [&](int position) {
        const DeskBin& bin = contents.bins.at(position);
        QJsonObject others = bin.more;
        others.insert(kName, bin.name);
        appendWithArray(out, others, kClips, bin.clips.size(), kLevelsOfBin,
                        [&](int clip) { appendClip(out, bin.clips.at(clip), kLevelsOfClip); });
    };
    QJsonObject root = contents.more;
    root.insert(kFormatKey, QString(kFormat));
    root.insert(kVersionKey, kVersion);
    root.insert(kActiveBin, contents.activeBin);
    appendWithArray(out, root, kBins, contents.bins.size(), 0, appendBin);
    return out.append('\n');
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

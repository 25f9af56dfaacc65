#include "DemoMedia.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace {

constexpr int kTimeout = 60000;

struct Recipe
{
    const char* name;
    const char* arguments;
};

constexpr Recipe kRecipes[] = {
    {"Harbour at dawn.mov", "-f lavfi -i testsrc2=size=640x360:rate=25:duration=4 -f lavfi -i "
                            "sine=frequency=440:sample_rate=48000:duration=4 "
                            "-c:v mpeg4 -q:v 4 -c:a pcm_s16le -timecode 10:00:00:00"},
    {"Title card.png", "-f lavfi -i smptehdbars=size=1280x720:rate=25:duration=0.04 -frames:v 1"},
    {"Wind and gulls.wav", "-f lavfi -i anoisesrc=color=pink:amplitude=0.3:sample_rate=48000:duration=5 -c:a "
                           "pcm_s24le -write_bext 1 "
                           "-metadata description=Wind -metadata time_reference=1728000000"},
};

/// Transcoding it into full HD takes some seconds even on a fast machine, so that its bar can be seen.
constexpr char kLongTake[] = "-f lavfi -i testsrc2=size=640x360:rate=25:duration=4 -f lavfi -i "
                             "sine=frequency=220:sample_rate=48000:duration=4 "
                             "-c:v mpeg4 -q:v 4 -c:a pcm_s16le -timecode 11:00:00:00";

QString tr(const char* text)
{
    return QCoreApplication::translate("DemoMedia", text);
}

} // namespace

namespace DemoMedia {

bool makeOne(const char* recipe, const QString& path, QString& error)
{
    // ffmpeg tells the format by the suffix, so the temporary name keeps it.
    const QFileInfo info(path);
    const QString temporary = QStringLiteral("%1/.making.%2").arg(info.path(), info.suffix());
    QStringList arguments{QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                          QStringLiteral("-y")};
    arguments += QString::fromLatin1(recipe).split(QLatin1Char(' '));
    arguments += temporary;
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), arguments);
    if (!ffmpeg.waitForFinished(kTimeout) || ffmpeg.exitStatus() != QProcess::NormalExit ||
        ffmpeg.exitCode() != 0) {
        const QString reason = ffmpeg.error() == QProcess::FailedToStart
                                   ? ffmpeg.errorString()
                                   : QString::fromLocal8Bit(ffmpeg.readAllStandardError()).trimmed();
        error = tr("ffmpeg could not make %1: %2").arg(path, reason);
        return false;
    }
    if (!QFile::rename(temporary, path)) {
        error = tr("%1 cannot be written").arg(path);
        return false;
    }
    return true;
}

QStringList fileNames()
{
    QStringList names;
    for (const Recipe& recipe : kRecipes)
        names << QString::fromLatin1(recipe.name);
    return names;
}

bool make(const QString& folder, QString& error)
{
    if (!QDir().mkpath(folder)) {
        error = tr("The folder %1 cannot be made").arg(folder);
        return false;
    }
    for (const Recipe& recipe : kRecipes) {
        const QString path = QDir(folder).filePath(QString::fromLatin1(recipe.name));
        if (!QFileInfo::exists(path) && !makeOne(recipe.arguments, path, error))
            return false;
    }
    return true;
}

bool makeLongTake(const QString& folder, const QString& fileName, QString& error)
{
    return makeOne(kLongTake, QDir(folder).filePath(fileName), error);
}

bool drop(const QString& file, const QString& folder, QString& error)
{
    QFile source(file);
    const QString target = QDir(folder).filePath(QFileInfo(file).fileName());
    if (source.copy(target))
        return true;
    error = tr("%1 cannot be copied to %2: %3").arg(file, folder, source.errorString());
    return false;
}

} // namespace DemoMedia

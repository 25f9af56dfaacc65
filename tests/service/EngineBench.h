#pragma once

#include "base/FileTools.h"
#include "engines/Ffmpeg.h"
#include "files/SourceFile.h"
#include "media/Clip.h"
#include "media/MediaProbe.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>

#include <string>
#include <vector>

using namespace krxservice;

/// Media made by ffmpeg, and looked at by ffprobe: programs that know nothing of the service.
struct EngineBench
{
    QTemporaryDir folder;

    QString path(const QString& name) const { return folder.filePath(name); }

    static FileFacts factsOf(const std::string& path)
    {
        std::string error;
        return {path, filetools::stampOf(path).value_or(FileStamp()),
                filetools::checksum(path, makeCancelToken(), error).value_or(error)};
    }
    /// A file of the folder \a watched as it comes to the first action.
    static Clip clipOf(const std::string& file, const std::string& watched)
    {
        Clip clip;
        clip.watched = watched;
        clip.source = factsOf(file);
        clip.linked = clip.source;
        return clip;
    }
    Clip clip(const QString& name) const
    {
        return clipOf(path(name).toStdString(), folder.path().toStdString());
    }
    /// The same when nobody asks when it was written and what it holds.
    Clip clipUnread(const QString& name) const
    {
        Clip clip;
        clip.watched = folder.path().toStdString();
        clip.source.path = path(name).toStdString();
        clip.linked = clip.source;
        return clip;
    }

    static QString run(const QString& program, const QStringList& arguments)
    {
        QProcess process;
        process.start(program, arguments);
        if (!process.waitForFinished(60000) || process.exitCode() != 0)
            return QStringLiteral("%1 %2: ").arg(program, arguments.join(QLatin1Char(' '))) +
                   QString::fromUtf8(process.readAllStandardError());
        return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
    }
    /// \a options as one text with blanks between them. \return what went wrong.
    QString make(const QString& name, const char* options) const
    {
        QStringList arguments = {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")};
        arguments << QString::fromUtf8(options).split(QLatin1Char(' '), Qt::SkipEmptyParts) << path(name);
        return run(QStringLiteral("ffmpeg"), arguments);
    }
    /// One line for each stream, its entries divided by commas in ffprobe's order.
    static QString probed(const QString& file, const char* entries, const char* streams = "v:0")
    {
        QString text = run(QStringLiteral("ffprobe"),
                           {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-of"),
                            QStringLiteral("csv=p=0"), QStringLiteral("-count_packets"),
                            QStringLiteral("-select_streams"), QString::fromUtf8(streams),
                            QStringLiteral("-show_entries"), QString::fromUtf8(entries), file});
        // Behind a stream with more than entries stands a comma.
        return text.replace(QLatin1String(",\n"), QLatin1String("\n"))
            .remove(QRegularExpression(QStringLiteral(",$")));
    }
    /// The MD5 of each decoded picture, seen by ffmpeg alone.
    static QStringList pictures(const QString& file, const char* format = "yuv420p")
    {
        const QString text =
            run(QStringLiteral("ffmpeg"),
                {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"), file,
                 QStringLiteral("-map"), QStringLiteral("0:v:0"), QStringLiteral("-vsync"),
                 QStringLiteral("passthrough"), QStringLiteral("-pix_fmt"), QString::fromUtf8(format),
                 QStringLiteral("-f"), QStringLiteral("framemd5"), QStringLiteral("-")});
        QStringList sums;
        for (const QString& line : text.split(QLatin1Char('\n'))) {
            if (!line.startsWith(QLatin1Char('#')))
                sums << line.section(QLatin1Char(','), 5).trimmed();
        }
        return sums;
    }
};

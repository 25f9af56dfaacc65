#pragma once

#include <QString>
#include <QStringList>

/// Small media files made with ffmpeg's test sources.
namespace DemoMedia {

/// The files that make() leaves, without their folder: a movie with sound, a still, a Broadcast Wave.
QStringList fileNames();
/// Makes those that are missing in \a folder. Blocks for a few seconds.
/// \return false with a text in \a error.
bool make(const QString& folder, QString& error);
/// Makes the medium at \a path, whose folder exists. \a recipe: options for ffmpeg with blanks between them.
/// \return false with a text in \a error.
bool makeOne(const char* recipe, const QString& path, QString& error);
/// Makes one movie that takes a while to transcode, in \a folder, which exists. Blocks for a second or two.
/// \return false with a text in \a error.
bool makeLongTake(const QString& folder, const QString& fileName, QString& error);
/// Puts a copy of \a file into \a folder as a person's copy does: it grows while it is written.
/// \return false with a text in \a error.
bool drop(const QString& file, const QString& folder, QString& error);

} // namespace DemoMedia

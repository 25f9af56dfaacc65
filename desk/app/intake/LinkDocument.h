#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// What a link document (`.xel`) says: one finished output of the service, and how it is to be linked.
struct LinkDocument
{
    enum class BinSelection { UseActive, CreateNew };
    enum class BinNaming { Default, Volume, Explicit };

    /// The output's unique id: the one it carries, else one made of the whole document's text.
    QString id;
    QString clipName;
    /// The file that the clip plays.
    QString mediaPath;
    /// The file that was found in the watched folder.
    QString sourcePath;
    /// The watched folder; empty for a job that no folder started.
    QString folderPath;
    QString profileName;
    /// "video", "audio", "image", "sequence" or empty.
    QString kind;
    /// Seconds; negative when not known.
    double duration = -1;
    /// Whether the service compared the clip with its source, byte for byte.
    bool checked = false;
    BinSelection binSelection = BinSelection::UseActive;
    BinNaming binNaming = BinNaming::Default;
    QString explicitBin;
    /// HH:MM:SS:FF of the first frame; empty when not known.
    QString start;
    QString reel;
    /// All else that a person may want to know of the clip, a line each: frames, missing numbers, sidecars,
    /// what the actions did.
    QStringList details;

    /// The largest file that is taken for a link document, in bytes.
    static constexpr qint64 kMaxSize = qint64{1024} * 1024;

    /// Reads a link document file. \return false with a text in \a error.
    static bool read(const QString& path, LinkDocument& document, QString& error);
    /// Reads the text of a link document. \return false with a text in \a error.
    static bool parse(const QByteArray& text, LinkDocument& document, QString& error);
};

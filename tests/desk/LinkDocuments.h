#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Link documents as the service writes them.
namespace LinkDocuments {

struct Parts
{
    QByteArray id;
    QByteArray folder = "/watch";
    QByteArray clip = "/watch/Harbour.mov";
    QByteArray source = "/watch/Harbour.mov";
    QByteArray clipChecksum = "0123";
    QByteArray sourceChecksum = "0123";
    QByteArray media =
        "<format>mov,mp4</format><duration>4.000000</duration>"
        "<stream index=\"0\" type=\"video\"><codec>mpeg4</codec><duration>3.96</duration></stream>"
        "<stream index=\"1\" type=\"audio\"><codec>pcm_s16le</codec></stream>";
    /// Elements of "clip" that the second version has.
    QByteArray link;
    QByteArray bin =
        "<binSelectionMethod>CREATENEW</binSelectionMethod><binNamingMethod>DEFAULT</binNamingMethod>";
};

inline QByteArray text(const Parts& parts)
{
    QByteArray text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<xel><version>1</version>";
    if (!parts.id.isEmpty())
        text += "<id>" + parts.id + "</id>";
    text += "<created>2024-03-05T14:07:09Z</created><folder id=\"f1\">" + parts.folder + "</folder>";
    text += "<clip><path>" + parts.clip + "</path><size>9</size><checksum method=\"xxh3\">" +
            parts.clipChecksum + "</checksum>" + parts.link + "</clip>";
    text += "<source><path>" + parts.source + "</path><size>9</size><checksum method=\"xxh3\">" +
            parts.sourceChecksum + "</checksum></source>";
    text += "<media>" + parts.media + "</media>";
    text +=
        "<profile><profileName>Default Profile</profileName><profileGUID>p1</profileGUID><profileSettings>"
        "<binDetail>" +
        parts.bin + "</binDetail></profileSettings></profile></xel>";
    return text;
}

inline bool write(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

} // namespace LinkDocuments

#pragma once

#include "TestFiles.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Files that try to make their reader open another one, which is there and can be read: "secret.ts", and
/// what else has "secret" in its name. No two of them are of the same kind or under the same disguise.
namespace Lures {

namespace detail {

/// A box of a QuickTime file.
inline QByteArray box(const char* type, const QByteArray& inside)
{
    const auto size = static_cast<quint32>(inside.size() + 8);
    QByteArray bytes;
    for (int shift = 24; shift >= 0; shift -= 8)
        bytes += static_cast<char>(size >> shift & 0xFF);
    return bytes + type + inside;
}

/// Gives every data reference of a movie another kind: the same media, said to lie in another file.
inline QByteArray withOutsideReference(QByteArray movie)
{
    const int list = movie.indexOf("dref");
    const int reference = movie.indexOf("url ", list);
    if (list < 0 || reference < 0)
        return {};
    movie[reference + 7] = '\0'; // the flag "in this file"
    return movie;
}

inline QByteArray playlist(const QByteArray& target, const QByteArray& tags = {})
{
    return "#EXTM3U\n#EXT-X-VERSION:6\n#EXT-X-TARGETDURATION:1\n#EXT-X-MEDIA-SEQUENCE:0\n" + tags +
           "#EXTINF:1.0,\n" + target + "\n#EXT-X-ENDLIST\n";
}

} // namespace detail

/// Writes them into \a folder, where "secret.ts" is, and gives their names. \a movie: a QuickTime movie.
inline QStringList make(const QString& folder, const QByteArray& movie)
{
    using namespace detail;
    const QByteArray target = folder.toUtf8() + "/secret.ts";
    QStringList lures;
    const auto lure = [&](const char* name, const QByteArray& bytes) {
        TestFiles::write(folder + QLatin1Char('/') + QString::fromUtf8(name), bytes);
        lures << QString::fromUtf8(name);
    };
    for (const char* name : {"list.m3u8", "list.mp4", "list.mov", "list.ts", "list.wav"})
        lure(name, playlist(target));
    lure("relative.m3u8", playlist("secret.ts"));
    lure("remote.m3u8", playlist("http://127.0.0.1:9/secret.ts"));
    lure("joined.m3u8", playlist("concat:" + target));
    lure("key.m3u8", playlist("list.ts", "#EXT-X-KEY:METHOD=AES-128,URI=\"" + target + "\"\n"));
    lure("map.m3u8", playlist("list.ts", "#EXT-X-MAP:URI=\"" + target + "\"\n"));
    lure("master.m3u8",
         "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1000\nlist.m3u8\n#EXT-X-STREAM-INF:BANDWIDTH=2000\n" + target +
             "\n");
    lure("dash.mpd",
         "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
         "mediaPresentationDuration=\"PT1S\" profiles=\"urn:mpeg:dash:profile:isoff-main:2011\">\n"
         "<Period><AdaptationSet mimeType=\"video/mp2t\"><Representation id=\"1\" "
         "bandwidth=\"1000\"><BaseURL>" +
             target + "</BaseURL><SegmentList><SegmentURL media=\"" + target +
             "\"/></SegmentList></Representation></AdaptationSet></Period></MPD>\n");
    lure("script.ffconcat", "ffconcat version 1.0\nfile '" + target + "'\n");
    lure("script.mov", "ffconcat version 1.0\nfile secret.ts\n");
    lure("scripts.ffconcat", "ffconcat version 1.0\nfile script.ffconcat\nfile list.m3u8\n");
    lure("stream.sdp", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                       "m=video 9000 RTP/AVP 96\na=rtpmap:96 H264/90000\n");
    lure("outside.mov", withOutsideReference(movie));
    lure("reference.mov",
         box("ftyp", QByteArray("qt  \0\0\0\0qt  ", 12)) +
             box("moov",
                 box("rmra", box("rmda", box("rdrf", QByteArray("\0\0\0\0url \0\0\0\x09secret.ts", 21))))));
    // Its pictures are in a file that is called as it is, with another ending.
    TestFiles::write(folder + QStringLiteral("/titles-secret.sub"), QByteArray(4096, '\0'));
    lure("titles-secret.idx",
         "# VobSub index file, v7 (do not modify this line!)\nsize: 720x576\nlangidx: 0\n"
         "id: en, index: 0\ntimestamp: 00:00:00:000, filepos: 000000000\n");
    lure(
        "composition.xml",
        "<?xml version=\"1.0\"?>\n<CompositionPlaylist xmlns=\"http://www.smpte-ra.org/schemas/2067-3/2016\">"
        "<Id>urn:uuid:0eb3d1b9-b77b-4d3f-bbe5-7c69b15dca85</Id><EditRate>25 1</EditRate><SegmentList/>"
        "</CompositionPlaylist>\n");
    TestFiles::write(folder + QStringLiteral("/ASSETMAP.xml"), "<AssetMap>secret.ts</AssetMap>\n");
    lure("script.avs", "DirectShowSource(\"" + target + "\")\n");
    return lures;
}

} // namespace Lures

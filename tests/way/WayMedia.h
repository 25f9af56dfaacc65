#pragma once

#include <QByteArray>
#include <QtEndian>

/// Media for the whole way, made without any tool.
namespace WayMedia {

/// A playable sound of \a size bytes; \a mark makes each one different.
inline QByteArray sound(quint32 size, char mark)
{
    QByteArray header("RIFF....WAVEfmt ....................data....");
    const auto put = [&header](int at, quint32 value) { qToLittleEndian(value, header.data() + at); };
    put(4, 36 + size);
    put(16, 16);
    put(20, 1 | 2u << 16);  // PCM, two channels
    put(24, 48000);         // frames per second
    put(28, 48000 * 4);     // bytes per second
    put(32, 4 | 16u << 16); // bytes per frame, bits per sample
    put(40, size);
    return header + QByteArray(static_cast<int>(size), mark);
}

} // namespace WayMedia

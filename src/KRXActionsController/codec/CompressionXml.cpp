#include "CompressionXml.h"

#include "HostMediaEngine.h"

#include <cstddef>
#include <cstdio>

namespace CompressionXml {

namespace {

constexpr std::size_t kUidTextBuffer = 128;

struct Subsampling
{
    unsigned horizontal;
    unsigned vertical;
};

// By the descriptor's chroma sampling code: 4:4:4, 4:1:1, 4:2:0, 4:2:2.
constexpr Subsampling kSubsamplings[] = {{1, 1}, {4, 1}, {2, 2}, {2, 1}};
constexpr Subsampling kUnknownSubsampling = {1, 1};

Subsampling subsampling(int chromaSampling)
{
    constexpr int count = int(sizeof(kSubsamplings) / sizeof(kSubsamplings[0]));
    return chromaSampling >= 0 && chromaSampling < count ? kSubsamplings[chromaSampling]
                                                         : kUnknownSubsampling;
}

} // namespace

QString uidText(const HostMediaEngine::AafUid& uid)
{
    char text[kUidTextBuffer] = {};
    int length = std::snprintf(text, sizeof text, "%08x-%04x-%04x", unsigned(uid.part1), unsigned(uid.part2),
                               unsigned(uid.part3));
    for (quint8 byte : uid.bytes)
        length += std::snprintf(text + length, sizeof text - std::size_t(length), "-%02x", unsigned(byte));
    return QString::fromLatin1(text);
}

void writeDescriptor(QDomElement& element, quint32 compressionId)
{
    const HostMediaEngine::CompressionInfo info(compressionId);
    if (!info.isValid())
        return;
    const HostMediaEngine::CompressionDescriptor& descriptor = info.descriptor();
    const Subsampling sampling = subsampling(descriptor.chromaSampling);
    const auto set = [&element](const QString& name, quint64 value) {
        element.setAttribute(name, QString::number(value));
    };
    element.setAttribute(QStringLiteral("compressionID"), uidText(descriptor.uid));
    set(QStringLiteral("bitsPerComponent"), descriptor.bitsPerComponent);
    set(QStringLiteral("horizontalSubsampling"), sampling.horizontal);
    set(QStringLiteral("verticalSubsampling"), sampling.vertical);
    set(QStringLiteral("maxBitrate"), descriptor.maxBitrate);
    set(QStringLiteral("avgBitrate"), descriptor.avgBitrate);
    set(QStringLiteral("pictureItemPattern"), descriptor.pictureItemPattern);
}

} // namespace CompressionXml

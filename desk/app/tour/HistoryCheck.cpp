#include "HistoryCheck.h"

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QXmlStreamReader>

#include <xxhash.h>

#include <vector>

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The C4 identifier of \a bytes: their SHA-512 as a number in base 58.
QString c4(const QByteArray& bytes)
{
    constexpr char kDigits[] = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
    constexpr int kBase = 58;
    constexpr int kLength = 88;
    std::vector<int> number(kLength, 0); // the last digit first
    for (const char byte : QCryptographicHash::hash(bytes, QCryptographicHash::Sha512)) {
        int carry = static_cast<unsigned char>(byte);
        for (int& digit : number) {
            carry += digit * 256;
            digit = carry % kBase;
            carry /= kBase;
        }
    }
    QString text = QStringLiteral("c4");
    for (auto digit = number.rbegin(); digit != number.rend(); ++digit)
        text += QLatin1Char(kDigits[*digit]);
    return text;
}

QString xxh3(const QByteArray& bytes)
{
    const XXH64_hash_t hash = XXH3_64bits(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    return QStringLiteral("%1").arg(qulonglong(hash), 16, 16, QLatin1Char('0'));
}

/// Reads one generation. \return what is wrong with a file that it lists; \a files counts them.
QString faultOfGeneration(const QString& folder, const QByteArray& generation, int& files)
{
    QXmlStreamReader xml(generation);
    QString path;
    qint64 size = -1;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("path")) {
            size = xml.attributes().value(QLatin1String("size")).toLongLong();
            path = xml.readElementText();
        } else if (xml.name() == QLatin1String("xxh3")) {
            const QByteArray content = contentOf(QDir(folder).filePath(path));
            if (content.size() != size || xxh3(content) != xml.readElementText())
                return QStringLiteral("%1 is not what its history says").arg(path);
            ++files;
        }
    }
    return xml.hasError() ? xml.errorString() : QString();
}

} // namespace

QString HistoryCheck::fault(const QString& folder, int files)
{
    const QDir history(QDir(folder).filePath(QStringLiteral("ascmhl")));
    QXmlStreamReader chain(contentOf(history.filePath(QStringLiteral("ascmhl_chain.xml"))));
    QByteArray generation;
    int listed = 0;
    while (!chain.atEnd()) {
        if (chain.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (chain.name() == QLatin1String("path")) {
            generation = contentOf(history.filePath(chain.readElementText()));
        } else if (chain.name() == QLatin1String("c4")) {
            if (c4(generation) != chain.readElementText())
                return QStringLiteral("a generation is not what the chain says");
            const QString fault = faultOfGeneration(folder, generation, listed);
            if (!fault.isEmpty())
                return fault;
        }
    }
    if (chain.hasError())
        return QStringLiteral("the chain: %1").arg(chain.errorString());
    return listed == files ? QString() : QStringLiteral("%1 files are listed").arg(listed);
}

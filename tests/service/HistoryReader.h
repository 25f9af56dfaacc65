#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>

#include <vector>

/// Reads the ASC MHL history of a folder the way somebody would who knows only the format: nothing of the
/// service's own code, and the hashes by xxhsum.
class HistoryReader
{
public:
    struct File
    {
        QString path;
        qint64 size = -1;
        QDateTime modified;
        QString hash;
        QString action;
        QDateTime hashed;
    };
    struct Generation
    {
        QString name;
        QString tool;
        QString process;
        QStringList ignored;
        std::vector<File> files;
    };

    std::vector<Generation> generations;
    /// What is wrong with the history or with the files that it lists; empty when all agrees.
    QStringList faults;

    explicit HistoryReader(const QString& folder)
        : m_folder(folder)
    {
        readChain();
        checkFiles();
    }

    /// All paths of all generations, in their order.
    QStringList paths() const
    {
        QStringList all;
        for (const Generation& generation : generations) {
            for (const File& file : generation.files)
                all << file.path;
        }
        return all;
    }

    /// SHA-512 in base 58, by building the number digit by digit from its bytes.
    static QByteArray c4(const QByteArray& bytes)
    {
        static const char digits[] = "123456789ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz";
        const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha512);
        std::vector<int> number(88, 0); // the last digit first
        for (const char byte : hash) {
            int carry = static_cast<unsigned char>(byte);
            for (int& digit : number) {
                carry += digit * 256;
                digit = carry % 58;
                carry /= 58;
            }
        }
        QByteArray text = "c4";
        for (auto digit = number.rbegin(); digit != number.rend(); ++digit)
            text += digits[*digit];
        return text;
    }

private:
    QString place(const QString& name) const { return m_folder + QStringLiteral("/ascmhl/") + name; }
    QByteArray bytes(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            faults << path + QStringLiteral(" cannot be read");
        return file.readAll();
    }

    void readChain()
    {
        QXmlStreamReader xml(bytes(place(QStringLiteral("ascmhl_chain.xml"))));
        int number = 0;
        QString name;
        QString c4Id;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement() && xml.namespaceUri() != QLatin1String("urn:ASC:MHL:DIRECTORY:v2.0"))
                faults << QStringLiteral("the chain is in another namespace");
            if (xml.isStartElement() && xml.name() == QLatin1String("hashlist") &&
                xml.attributes().value(QLatin1String("sequencenr")).toInt() != ++number)
                faults << QStringLiteral("the chain does not count");
            else if (xml.isStartElement() && xml.name() == QLatin1String("path"))
                name = xml.readElementText();
            else if (xml.isStartElement() && xml.name() == QLatin1String("c4"))
                c4Id = xml.readElementText();
            else if (xml.isEndElement() && xml.name() == QLatin1String("hashlist"))
                readGeneration(number, name, c4Id);
        }
        if (xml.hasError())
            faults << QStringLiteral("the chain is no XML: ") + xml.errorString();
    }

    void readGeneration(int number, const QString& name, const QString& c4Id)
    {
        const QByteArray text = bytes(place(name));
        if (QString::fromLatin1(c4(text)) != c4Id)
            faults << name + QStringLiteral(" has another C4 id than the chain says");
        if (!name.startsWith(QStringLiteral("%1_").arg(number, 4, 10, QLatin1Char('0'))))
            faults << name + QStringLiteral(" has the wrong number");
        Generation generation;
        generation.name = name;
        QXmlStreamReader xml(text);
        File file;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isEndElement() && xml.name() == QLatin1String("hash"))
                generation.files.push_back(file);
            if (!xml.isStartElement())
                continue;
            if (xml.namespaceUri() != QLatin1String("urn:ASC:MHL:v2.0"))
                faults << name + QStringLiteral(" is in another namespace");
            const auto attributes = xml.attributes();
            const auto date = [&](const char* attribute) {
                return QDateTime::fromString(attributes.value(QLatin1String(attribute)).toString(),
                                             Qt::ISODateWithMs);
            };
            if (xml.name() == QLatin1String("tool")) {
                generation.tool = xml.readElementText();
            } else if (xml.name() == QLatin1String("process")) {
                generation.process = xml.readElementText();
            } else if (xml.name() == QLatin1String("pattern")) {
                generation.ignored << xml.readElementText();
            } else if (xml.name() == QLatin1String("path")) {
                file = {};
                file.size = attributes.value(QLatin1String("size")).toLongLong();
                file.modified = date("lastmodificationdate");
                file.path = xml.readElementText();
            } else if (xml.name() == QLatin1String("xxh3")) {
                file.action = attributes.value(QLatin1String("action")).toString();
                file.hashed = date("hashdate");
                file.hash = xml.readElementText();
            }
        }
        if (xml.hasError())
            faults << name + QStringLiteral(" is no XML: ") + xml.errorString();
        generations.push_back(generation);
    }

    void checkFiles()
    {
        for (const Generation& generation : generations) {
            for (const File& file : generation.files) {
                const QString path = m_folder + QLatin1Char('/') + file.path;
                const QByteArray content = bytes(path);
                if (content.size() != file.size)
                    faults << file.path + QStringLiteral(" has another size");
                if (file.hash.isEmpty())
                    continue;
                if (file.hash != xxh3(content))
                    faults << file.path + QStringLiteral(" has another hash");
                if (!file.modified.isValid() || !file.hashed.isValid())
                    faults << file.path + QStringLiteral(" lacks a date");
            }
        }
    }

    /// By name files would be quoted; what comes from a pipe has no name.
    static QString xxh3(const QByteArray& content)
    {
        QProcess tool;
        tool.start(QStringLiteral("xxhsum"),
                   {QStringLiteral("-q"), QStringLiteral("-H3"), QStringLiteral("-")});
        tool.write(content);
        tool.closeWriteChannel();
        if (!tool.waitForFinished())
            return QStringLiteral("(no xxhsum)");
        return QString::fromLatin1(tool.readAllStandardOutput()).section(QStringLiteral("= "), 1).trimmed();
    }

    QString m_folder;
};

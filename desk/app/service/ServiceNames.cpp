#include "ServiceNames.h"

#include <QXmlStreamReader>

namespace servicenames {

namespace {

/// Calls \a read for each child element called \a name of the one that was begun; the others are passed over.
template <typename Read>
void forEach(QXmlStreamReader& xml, const char* name, Read read)
{
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String(name))
            read();
        else
            xml.skipCurrentElement();
    }
}

} // namespace

bool readFolders(const QByteArray& body, QHash<QString, QString>& paths)
{
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("xelMediaFolderDetailList"))
        return false;
    forEach(xml, "xelMediaFolder", [&] {
        const QString id = xml.attributes().value(QLatin1String("id")).toString();
        forEach(xml, "path",
                [&] { paths.insert(id, xml.readElementText(QXmlStreamReader::SkipChildElements)); });
    });
    return !xml.hasError();
}

bool readProfiles(const QByteArray& body, QHash<QString, QString>& names)
{
    QXmlStreamReader xml(body);
    if (!xml.readNextStartElement() || xml.name() != QLatin1String("profileDetailList"))
        return false;
    forEach(xml, "profile", [&] {
        forEach(xml, "profileDetail", [&] {
            QString id;
            QString name;
            while (xml.readNextStartElement()) {
                QString* wanted = xml.name() == QLatin1String("profileGUID")   ? &id
                                  : xml.name() == QLatin1String("profileName") ? &name
                                                                               : nullptr;
                if (wanted)
                    *wanted = xml.readElementText(QXmlStreamReader::SkipChildElements);
                else
                    xml.skipCurrentElement();
            }
            names.insert(id, name);
        });
    });
    return !xml.hasError();
}

} // namespace servicenames

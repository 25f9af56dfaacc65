#include "DestinationXml.h"

#include "DestinationDrives.h"
#include "KRXXml.h"

#include <QComboBox>

namespace {

QString sectionName()
{
    return QStringLiteral("outputDetail");
}

} // namespace

QDomElement DestinationXml::write(QDomDocument& doc, QDomElement& activity, const DestinationDrives& drives)
{
    QDomElement output = doc.createElement(sectionName());
    activity.appendChild(output);
    KRXXml::appendTextElement(doc, output, drives.videoBox()->objectName(), drives.videoVolume());
    KRXXml::appendTextElement(doc, output, drives.audioBox()->objectName(), drives.audioVolume());
    return output;
}

void DestinationXml::read(const QDomElement& activity, DestinationDrives& drives)
{
    QComboBox* const boxes[] = {drives.videoBox(), drives.audioBox()};
    for (const QDomElement& element : KRXXml::childElements(KRXXml::firstElement(activity, sectionName()))) {
        for (QComboBox* box : boxes) {
            if (element.tagName() == box->objectName())
                drives.selectVolume(box, element.text());
        }
    }
}

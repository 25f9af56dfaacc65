#include "ActivityTables.h"

#include "CompressionXml.h"
#include "CopyToPathWidget.h"
#include "DestinationDrives.h"

#include <QComboBox>

namespace ActivityTables {

namespace {

using KRXFields::Field;

QString path(const CopyToPathWidget* folder, const Field&)
{
    return folder->path();
}

void setPath(CopyToPathWidget* folder, const Field&, const QString& text)
{
    folder->setPath(text);
}

/// The drives that a box belongs to.
DestinationDrives* drivesOf(const QComboBox* box)
{
    return qobject_cast<DestinationDrives*>(box->parentWidget());
}

QString volume(const QComboBox* box, const Field&)
{
    const DestinationDrives* drives = drivesOf(box);
    return box == drives->videoBox() ? drives->videoVolume() : drives->audioVolume();
}

void setVolume(QComboBox* box, const Field&, const QString& text)
{
    drivesOf(box)->selectVolume(box, text);
}

QString compression(const QComboBox* codec, const Field&)
{
    return QString::number(codec->currentData().toUInt());
}

void setCompression(QComboBox* codec, const Field&, const QString& text)
{
    KRXFields::selectNumber(codec, text);
}

void addName(const QWidget* root, const Field& field, QDomElement& element)
{
    element.setAttribute(QLatin1String(kCompressionName),
                         KRXFields::objectOf<QComboBox>(root, field.element)->currentText());
}

void addNameAndDescriptor(const QWidget* root, const Field& field, QDomElement& element)
{
    addName(root, field, element);
    const auto* codec = KRXFields::objectOf<QComboBox>(root, field.element);
    CompressionXml::writeDescriptor(element, codec->currentData().toUInt());
}

} // namespace

const KRXFields::Kind kPath = KRXFields::bind<CopyToPathWidget, path, setPath>();
const KRXFields::Kind kVolume = KRXFields::bind<QComboBox, volume, setVolume>();
const KRXFields::Kind kCompression = KRXFields::bind<QComboBox, compression, setCompression>(addName);
const KRXFields::Kind kCompressionWithDescriptor =
    KRXFields::bind<QComboBox, compression, setCompression>(addNameAndDescriptor);

} // namespace ActivityTables

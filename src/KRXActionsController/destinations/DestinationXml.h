#pragma once

#include <QDomDocument>
#include <QDomElement>

class DestinationDrives;

/// The volumes in the activities of transcode and consolidate actions.
namespace DestinationXml {

/// Appends "outputDetail" with the two volumes to \a activity. \return the new element.
QDomElement write(QDomDocument& doc, QDomElement& activity, const DestinationDrives& drives);
/// Selects the volumes that the first "outputDetail" below \a activity names.
void read(const QDomElement& activity, DestinationDrives& drives);

} // namespace DestinationXml

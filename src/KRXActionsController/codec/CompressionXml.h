#pragma once

#include <QDomElement>
#include <QString>

namespace HostMediaEngine {
struct AafUid;
}

/// What an activity says of a compression beyond its id and name; for the service, never read back.
namespace CompressionXml {

/// Sets the attributes with the descriptor of the compression; none when the host does not know the id.
void writeDescriptor(QDomElement& element, quint32 compressionId);

/// The identifier as text, lower-case hexadecimal, every one of the last eight bytes behind a dash of its
/// own.
QString uidText(const HostMediaEngine::AafUid& uid);

} // namespace CompressionXml

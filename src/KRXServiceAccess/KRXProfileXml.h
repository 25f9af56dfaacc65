#pragma once

#include <QDomDocument>
#include <QDomElement>

#include <memory>

class KRXProfile;
class KRXSettingsController;
class ProfileActionsController;

/// The documents that carry profiles to and from the service.
namespace KRXProfileXml {

/// The profile that \a document describes; null when it lacks a name or a GUID.
std::unique_ptr<KRXProfile> parseProfileDetail(const QDomDocument& document);
/// Reads the document that the profile \a profileId came with. \return false, with \a document as it was,
/// when there is no such profile, or its record has no document.
bool readDocumentOf(const QString& profileId, QDomDocument& document);
/// Appends the profile's element to \a parent, or to the document itself when \a parent is null.
/// \param settings, actions write their parts; each may be null, and its part is left out then.
void createXmlProfileElement(QDomDocument& document, QDomElement& parent, KRXSettingsController* settings,
                             ProfileActionsController* actions, const KRXProfile& profile);

} // namespace KRXProfileXml

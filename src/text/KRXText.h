#pragma once

#include <QString>

/// The texts of the module.
namespace KRXText {

/// The localised form of a user-visible English key text. The translation tools collect literal arguments of
/// this function; a key from elsewhere is marked where it stands (see docs/translating.md).
QString localised(const char* englishKey);

/// \a text for a tool tip that shows it letter for letter, also where it looks like markup.
QString plainToolTip(const QString& text);

} // namespace KRXText

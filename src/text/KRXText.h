#pragma once

#include <QString>

/// The texts of the module.
namespace KRXText {

/// The localised form of a user-visible English key text. The translation tools collect the arguments of this
/// function (see docs/translating.md), so it is only called with a literal.
QString localised(const char* englishKey);

} // namespace KRXText

#pragma once

#include <string>

namespace krxservice {

/// The C4 id of \a bytes: "c4" and their SHA-512 as a number of 88 digits in base 58; 90 characters.
std::string c4Id(const std::string& bytes);

} // namespace krxservice

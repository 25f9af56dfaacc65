#pragma once

#include "base/Outcome.h"

#include <pugixml.hpp>

#include <string>
#include <string_view>

/// What all documents of the service have in common.
namespace krxservice::xmltools {

/// Parses \a text after the guard has looked at it; a refusal (413 for the size, 400 for the rest) otherwise.
/// On success \a document holds exactly one root element.
std::optional<Refusal> parse(std::string_view text, pugi::xml_document& document);

/// The whole text of \a element: comments left out, CDATA included, nothing trimmed.
std::string textOf(const pugi::xml_node& element);

/// Appends <name>text</name>. What XML cannot carry in \a text is replaced.
pugi::xml_node append(pugi::xml_node parent, const char* name, std::string_view text);

/// Appends an empty element.
pugi::xml_node append(pugi::xml_node parent, const char* name);

/// The element alone, indented by one blank per level, without declaration.
std::string elementText(const pugi::xml_node& element);

/// The declaration followed by the only element of \a document, indented by one blank per level.
std::string documentText(const pugi::xml_document& document);

/// <?xml version="1.0" encoding="utf-8"?> and a line end.
std::string declaration();

} // namespace krxservice::xmltools

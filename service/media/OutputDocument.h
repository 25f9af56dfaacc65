#pragma once

#include "documents/ProfileDocument.h"
#include "media/Clip.h"

#include <string>

namespace krxservice {

/// All that one output document says.
struct OutputFacts
{
    std::string id;        ///< unique to this output
    std::string created;   ///< ISO 8601, UTC
    std::string ownerKind; ///< "folder" or "job"
    std::string ownerId;
    std::string ownerPath;
    Clip clip;
    ProfileRecipe profile;
};

/// The ".xel" document, which tells the editor how to link one finished clip.
namespace outputdocument {

/// The whole document.
std::string write(const OutputFacts& facts);

} // namespace outputdocument

} // namespace krxservice

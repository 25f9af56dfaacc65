#pragma once

/// The names of the dynamic properties that make up a folder record. Everyone who reads or writes a folder
/// record takes the names from here.
namespace KRXFolderProperties {

/// QString: the service's identifier of the folder. A record without it is not cached.
constexpr char kId[] = "folderId";
/// QString: the watched directory, as the service stores it.
constexpr char kPath[] = "folderPath";
/// QString: the identifier of the linked profile; may be empty.
constexpr char kProfileId[] = "folderProfileId";
/// QString: the service's enabled flag, kept as text ("true" or "false").
constexpr char kEnabled[] = "folderEnabled";
/// QStringList: the output files that the service reports for this folder.
constexpr char kOutputFiles[] = "outputXELFiles";

} // namespace KRXFolderProperties

#pragma once

/// The names of the dynamic properties that make up a profile record.
namespace KRXProfileProperties {

/// QString: the name that the user sees.
constexpr char kName[] = "profileName";
/// QString: the service's identifier of the profile, key of the cache.
constexpr char kGuid[] = "profileGUID";
/// QString: a free tag.
constexpr char kTag[] = "profileTag";
/// QString: a description.
constexpr char kDescription[] = "profileDescription";
/// QString: when the profile was made, ISO 8601.
constexpr char kTimestamp[] = "profileTimestamp";
/// QString: what to call the bin that clips go to; localised, but for a name that the user gave the bin.
constexpr char kBin[] = "profileBin";
/// QStringList: the folders that the profile's actions copy to.
constexpr char kCopyToFolder[] = "copyToFolder";
/// QString: the whole profile document.
constexpr char kXml[] = "profileXml";

} // namespace KRXProfileProperties

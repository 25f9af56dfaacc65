#include "documents/ProfileDocument.h"

#include "base/Text.h"
#include "documents/XmlTools.h"

namespace krxservice::profiledocument {

namespace {

constexpr std::size_t kLongestName = 8192; ///< bytes
/// Bytes of a stored profile. Indenting makes documents longer, and what is stored must fit a document again.
constexpr std::size_t kLargestProfile = std::size_t{512} * 1024;

ActivityRecipe readActivity(const pugi::xml_node& element)
{
    ActivityRecipe activity;
    activity.id = element.attribute("id").value();
    activity.name = element.attribute("name").value();
    activity.element = xmltools::elementText(element);
    for (const auto& child : element.child("destinationDetail").children()) {
        const std::string name = child.name();
        if (name == "filesystemPath")
            activity.destination = xmltools::textOf(child);
        else if (name == "relinkAfterCopy")
            activity.relinkAfterCopy = xmltools::textOf(child) == "true";
        else if (name == "autoCheckin")
            activity.autoCheckin = xmltools::textOf(child) == "true";
    }
    const auto output = element.child("outputDetail");
    activity.videoVolume = xmltools::textOf(output.child("filesystemVideoVolume"));
    activity.audioVolume = xmltools::textOf(output.child("filesystemAudioVolume"));
    return activity;
}

/// Puts the id into "profileDetail", behind the name, where readers of old expect it.
void setGuid(pugi::xml_node detail, const std::string& guid)
{
    while (detail.remove_child("profileGUID")) {
    }
    const auto name = detail.child("profileName");
    auto element =
        name ? detail.insert_child_after("profileGUID", name) : detail.prepend_child("profileGUID");
    element.append_child(pugi::node_pcdata).set_value(guid.c_str());
}

} // namespace

Outcome<ProfileRecord> fromRequest(std::string_view body, const std::string& guid)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(body, document))
        return *refusal;
    const auto root = document.document_element();
    if (std::string_view(root.name()) != "profileRequest")
        return Refusal{400, "the root element of this document is \"profileRequest\""};
    const auto profile = root.child("profile");
    auto detail = profile.child("profileDetail");
    if (!detail)
        return Refusal{400, "the request holds no \"profile\" with a \"profileDetail\""};
    std::string name;
    for (const auto& child : detail.children("profileName"))
        name = xmltools::textOf(child);
    if (name.empty())
        return Refusal{400, "a profile needs a \"profileName\""};
    if (name.size() > kLongestName)
        return Refusal{400, "the name of the profile is too long"};
    setGuid(detail, guid);
    ProfileRecord record{guid, name, xmltools::elementText(profile)};
    if (record.document.size() > kLargestProfile)
        return Refusal{413, "the profile is larger than 512 KB"};
    return record;
}

Outcome<ProfileRecipe> recipe(const ProfileRecord& profile)
{
    pugi::xml_document document;
    if (const auto refusal = xmltools::parse(profile.document, document))
        return *refusal;
    const auto root = document.document_element();
    ProfileRecipe recipe;
    recipe.id = profile.id;
    recipe.name = profile.name;
    if (const auto settings = root.child("profileSettings"))
        recipe.settings = xmltools::elementText(settings);
    for (const auto& element :
         root.child("processDefinition").child("package").child("activities").children("activity"))
        recipe.activities.push_back(readActivity(element));
    return recipe;
}

std::string mediaFolder(const std::string& volume)
{
    std::string path = volume;
    while (!path.empty() && path.back() == '/')
        path.pop_back();
    return path + "/KRX Media";
}

std::set<std::string> destinations(const ProfileRecipe& recipe)
{
    std::set<std::string> paths;
    for (const auto& activity : recipe.activities) {
        // A path from nowhere is the place of nothing.
        if (!activity.destination.empty() && activity.destination.front() == '/')
            paths.insert(activity.destination);
        for (const auto& volume : {activity.videoVolume, activity.audioVolume}) {
            if (!volume.empty())
                paths.insert(mediaFolder(volume));
        }
    }
    return paths;
}

std::string defaultRequest()
{
    std::string created = text::isoTime(text::now());
    created.resize(created.find('.'));
    return xmltools::declaration() + R"(<profileRequest>
 <profile>
  <version>200</version>
  <profileDetail>
   <profileName>Default Profile</profileName>
   <profileTag>#krx</profileTag>
   <profileShortDescription>Links new clips where they are</profileShortDescription>
   <profileCreatedTimestamp>)" +
           created + R"(</profileCreatedTimestamp>
   <profileCreatorApplication>FrameStitcher</profileCreatorApplication>
   <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>
  </profileDetail>
  <profileSettings>
   <binDetail>
    <binSelectionMethod>CREATENEW</binSelectionMethod>
    <binNamingMethod>VOLUME</binNamingMethod>
   </binDetail>
   <linkDetail>
    <xelPreferredPluginDetail>
     <xelPluginName>Autodetect Plug-in</xelPluginName>
     <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>
    </xelPreferredPluginDetail>
    <multichannelAudio>None</multichannelAudio>
    <xelAudioStartTimeOption>25</xelAudioStartTimeOption>
    <xelStillImageFPS>25</xelStillImageFPS>
   </linkDetail>
   <zorMetadata>
    <reelNamingMethod>FILENAME</reelNamingMethod>
    <reelFolderLevel>1</reelFolderLevel>
    <frameCountingMethod>ZERO</frameCountingMethod>
    <timecodeMethod>EMBEDDED</timecodeMethod>
    <defaultFPS>25</defaultFPS>
   </zorMetadata>
  </profileSettings>
  <processDefinition>
   <package>
    <activities/>
   </package>
  </processDefinition>
 </profile>
</profileRequest>
)";
}

} // namespace krxservice::profiledocument

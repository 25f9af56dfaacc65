#include "media/LinkSettings.h"

#include "documents/XmlTools.h"
#include "media/PictureKinds.h"
#include "media/Sequence.h"

#include "MediaCatalogue.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string_view>

namespace krxservice {

namespace {

constexpr char kNoPlugin[] = "00000000-0000-0000-0000-000000000000";
constexpr char kFolderMark[] = "Folder";
constexpr int kHighestLevel = 8;
constexpr double kClosest = 0.002; ///< between a rate as it is written and as it is
constexpr std::array<long long, 5> kTelevision = {24, 30, 48, 60, 120};

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

/// The words of \a text between any of \a dividers.
std::set<std::string> words(std::string_view text, std::string_view dividers)
{
    std::set<std::string> found;
    while (!text.empty()) {
        const auto end = std::min(text.find_first_of(dividers), text.size());
        if (end > 0)
            found.insert(lowerCase(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return found;
}

const KRXCatalogue::Plugin* inCatalogue(const std::string& guid)
{
    for (const auto& plugin : KRXCatalogue::builtInCatalogue().plugins) {
        const std::string braced = lowerCase(plugin.guid.toStdString());
        if (braced == '{' + lowerCase(guid) + '}')
            return &plugin;
    }
    return nullptr;
}

/// The plug-in's own list counts. A plug-in that only the host knows has its list in its shown name, which
/// ends in "(*.mxf *.mov )".
void readPlugin(const pugi::xml_node& detail, LinkSettings& settings)
{
    const std::string guid = xmltools::textOf(detail.child("xelPluginGUID"));
    std::string shown = xmltools::textOf(detail.child("xelPluginName"));
    if (guid.empty() || guid == kNoPlugin)
        return;
    std::string list;
    if (const auto* plugin = inCatalogue(guid)) {
        settings.pluginName = plugin->name.toStdString();
        list = plugin->extensions.toStdString();
        settings.extensions = words(list, ".");
    } else {
        const auto open = shown.rfind('(');
        const auto close = shown.rfind(')');
        if (open == std::string::npos || close == std::string::npos || close < open)
            return;
        list = shown.substr(open + 1, close - open - 1);
        settings.extensions = words(list, "*. ");
        shown.resize(open);
        while (!shown.empty() && shown.back() == ' ')
            shown.pop_back();
        settings.pluginName = shown;
    }
    if (list.find(kFolderMark) == std::string::npos)
        return;
    settings.extensions.clear();
    settings.takesSequencesOnly = true;
    settings.joinsAllPictures = true;
}

LinkSettings::FrameCounting countingOf(const std::string& word)
{
    if (word == "ONE")
        return LinkSettings::FrameCounting::One;
    if (word == "TIMECODE")
        return LinkSettings::FrameCounting::Timecode;
    if (word == "FILENAME")
        return LinkSettings::FrameCounting::FileName;
    return LinkSettings::FrameCounting::Zero;
}

} // namespace

std::string FrameRate::text() const
{
    return isKnown() ? std::to_string(numerator) + '/' + std::to_string(denominator) : std::string();
}

FrameRate FrameRate::from(const std::string& text)
{
    constexpr double kFastest = 1000;
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || !std::isfinite(value) || value <= 0)
        return {};
    if (*end == '/') {
        const long long numerator = std::atoll(text.c_str());
        const long long denominator = std::atoll(end + 1);
        const FrameRate rate{numerator, denominator};
        return rate.isKnown() && rate.value() <= kFastest ? rate : FrameRate();
    }
    if (*end != '\0' || value > kFastest)
        return {};
    for (const long long nominal : kTelevision) {
        const FrameRate rate{nominal * 1000, 1001};
        if (std::abs(rate.value() - value) < kClosest)
            return rate;
    }
    if (std::abs(value - std::round(value)) < kClosest)
        return {std::llround(value), 1};
    return {std::llround(value * 1000), 1000};
}

LinkSettings LinkSettings::read(const std::string& element)
{
    LinkSettings settings;
    settings.binNaming = "DEFAULT";
    settings.trackGroups = "None";
    pugi::xml_document document;
    if (element.empty() || xmltools::parse(element, document))
        return settings;
    const auto root = document.document_element();
    const auto bin = root.child("binDetail");
    settings.createsBin = xmltools::textOf(bin.child("binSelectionMethod")) == "CREATENEW";
    if (const auto naming = xmltools::textOf(bin.child("binNamingMethod"));
        naming == "VOLUME" || naming == "EXPLICIT")
        settings.binNaming = naming;
    settings.explicitBin = xmltools::textOf(bin.child("binExplicitName"));

    const auto link = root.child("linkDetail");
    readPlugin(link.child("xelPreferredPluginDetail"), settings);
    if (const auto groups = xmltools::textOf(link.child("multichannelAudio")); !groups.empty())
        settings.trackGroups = groups;
    settings.audioRate = FrameRate::from(xmltools::textOf(link.child("xelAudioStartTimeOption")));
    settings.stillRate = FrameRate::from(xmltools::textOf(link.child("xelStillImageFPS")));

    const auto quality = root.child("xelDetail");
    settings.videoMostCompressed = xmltools::textOf(quality.child("xelLinkPolicyVideo")) == "MOSTCOMPRESSED";
    settings.audioMostCompressed = xmltools::textOf(quality.child("xelLinkPolicyAudio")) == "MOSTCOMPRESSED";

    const auto trust =
        xmltools::textOf(root.child("volumeMountingDetail").child("doNotCheckPreviousForModifications"));
    settings.trustsKnownVolumes = trust == "TRUE" || trust == "true";

    const auto zor = root.child("zorMetadata");
    settings.reelFromFolder = xmltools::textOf(zor.child("reelNamingMethod")) == "FOLDERNAME";
    settings.reelLevel =
        std::clamp(std::atoi(xmltools::textOf(zor.child("reelFolderLevel")).c_str()), 1, kHighestLevel);
    settings.frameCounting = countingOf(xmltools::textOf(zor.child("frameCountingMethod")));
    settings.timecodeFromName = xmltools::textOf(zor.child("timecodeMethod")) == "FILENAME";
    settings.defaultRate = FrameRate::from(xmltools::textOf(zor.child("defaultFPS")));
    return settings;
}

bool LinkSettings::covers(const std::string& name) const
{
    if (pluginName.empty())
        return true;
    if (takesSequencesOnly)
        return picturekinds::isJoined(name, true) && sequence::parse(name).has_value();
    const auto dot = name.rfind('.');
    return dot != std::string::npos && extensions.count(lowerCase(name.substr(dot + 1))) > 0;
}

} // namespace krxservice

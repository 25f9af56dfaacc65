#include "media/OutputDocument.h"

#include "base/Text.h"
#include "documents/XmlTools.h"
#include "media/LinkRules.h"
#include "media/LinkSettings.h"
#include "media/Sequence.h"

#include "ChannelGroups.h"

#include <algorithm>

namespace krxservice::outputdocument {

namespace {

void addChecksum(pugi::xml_node element, const std::string& whole)
{
    auto checksum = xmltools::append(element, "checksum", whole.substr(whole.find(':') + 1));
    checksum.append_attribute("method") = whole.substr(0, whole.find(':')).c_str();
}

void addFile(pugi::xml_node element, const FileFacts& file)
{
    xmltools::append(element, "path", file.path);
    xmltools::append(element, "size", std::to_string(file.stamp.size));
    xmltools::append(element, "modified", text::isoTime(file.stamp.modified));
    addChecksum(element, file.checksum);
}

constexpr std::size_t kMostRanges = 1000; ///< of missing numbers

void addText(pugi::xml_node parent, const char* name, const std::string& text)
{
    if (!text.empty())
        xmltools::append(parent, name, text);
}

void addNumber(pugi::xml_node parent, const char* name, int number)
{
    if (number > 0)
        xmltools::append(parent, name, std::to_string(number));
}

void addBin(pugi::xml_node clip, const LinkSettings& settings)
{
    const bool isNamed = settings.createsBin && settings.binNaming == "EXPLICIT";
    auto bin = xmltools::append(clip, "bin", isNamed ? settings.explicitBin : std::string());
    bin.append_attribute("method") = settings.createsBin ? settings.binNaming.c_str() : "ACTIVE";
}

/// The groups of tracks that the clip has.
void addTrackGroups(pugi::xml_node clip, const LinkSettings& settings, const MediaFacts& media)
{
    const QString text = QString::fromStdString(settings.trackGroups);
    QList<KRXCatalogue::ChannelGroup> groups;
    // A grouping in a form that only the host knows is handed on as it is.
    if (KRXCatalogue::parseChannelGroups(text, groups) && groups.isEmpty())
        return;
    int tracks = 0;
    for (const auto& stream : media.streams)
        tracks += stream.type == "audio" ? stream.channels : 0;
    groups.erase(std::remove_if(groups.begin(), groups.end(),
                                [&](const auto& group) { return group.last() > tracks; }),
                 groups.end());
    auto element = xmltools::append(clip, "trackGroups");
    element.append_attribute("text") = text::xmlClean(settings.trackGroups).c_str();
    for (const auto& group : qAsConst(groups)) {
        auto child = xmltools::append(element, "group");
        child.append_attribute("first") = group.first;
        child.append_attribute("last") = group.last();
        child.append_attribute("layout") = group.layout.toStdString().c_str();
    }
}

void addLink(pugi::xml_node element, const Clip& clip, const LinkSettings& settings)
{
    const LinkFacts& link = clip.link;
    addBin(element, settings);
    addText(element, "plugin", link.plugin);
    addText(element, "reelName", link.reelName);
    if (link.frameCount > 0)
        xmltools::append(element, "startFrame", std::to_string(link.startFrame));
    if (!link.startTimecode.empty())
        xmltools::append(element, "startTimecode", link.startTimecode).append_attribute("method") =
            link.timecodeIsFromName ? "FILENAME" : "EMBEDDED";
    addText(element, "frameRate", link.frameRate);
    if (link.frameCount > 0)
        xmltools::append(element, "frameCount", std::to_string(link.frameCount));
    if (link.audioStart)
        xmltools::append(element, "audioStart", std::to_string(*link.audioStart))
            .append_attribute("sampleRate") = link.audioStartRate;
    addTrackGroups(element, settings, clip.media);
}

void addSequence(pugi::xml_node clip, const SequenceFacts& facts)
{
    auto element = xmltools::append(clip, "sequence");
    xmltools::append(element, "firstNumber", std::to_string(facts.firstNumber));
    xmltools::append(element, "lastNumber", std::to_string(facts.lastNumber));
    const auto missing = sequence::missing(facts);
    if (!missing.empty())
        xmltools::append(element, "missingNumbers", sequence::text(missing, kMostRanges));
}

/// What is known of the file to be linked: what the action that made it says.
std::string checkOf(const Clip& clip)
{
    std::string check;
    for (const auto& note : clip.activities) {
        const bool madeIt = std::any_of(note.made.begin(), note.made.end(),
                                        [&](const FileFacts& file) { return file.path == clip.linked.path; });
        if (madeIt && !note.check.empty())
            check = note.check;
    }
    return check;
}

void addActivity(pugi::xml_node clip, const ActivityNote& note)
{
    auto element = xmltools::append(clip, "activity");
    element.append_attribute("id") = text::xmlClean(note.id).c_str();
    element.append_attribute("name") = text::xmlClean(note.name).c_str();
    if (!note.check.empty())
        element.append_attribute("check") = note.check.c_str();
    for (const auto& file : note.made)
        addFile(xmltools::append(element, "file"), file);
    for (const auto& sentence : note.notes)
        xmltools::append(element, "note", sentence);
}

void addClip(pugi::xml_node root, const Clip& facts, const LinkSettings& settings)
{
    auto clip = xmltools::append(root, "clip");
    xmltools::append(clip, "name", linkrules::clipName(facts.linked.path, facts.sequence));
    addFile(clip, facts.linked);
    addLink(clip, facts, settings);
    if (facts.sequence)
        addSequence(clip, *facts.sequence);
    for (const auto& part : facts.parts) {
        auto element = xmltools::append(clip, "part");
        element.append_attribute("kind") = part.kind.c_str();
        addFile(element, part.file);
    }
    for (const auto& sidecar : facts.sidecars) {
        auto element = xmltools::append(clip, "sidecar");
        xmltools::append(element, "path", sidecar.path);
        addChecksum(element, sidecar.checksum);
    }
    addText(clip, "check", checkOf(facts));
    for (const auto& note : facts.activities)
        addActivity(clip, note);
}

void addMedia(pugi::xml_node parent, const MediaFacts& media, const LinkSettings& settings)
{
    const int video = linkrules::preferredStream(media, "video", settings.videoMostCompressed);
    const int audio = linkrules::preferredStream(media, "audio", settings.audioMostCompressed);
    auto element = xmltools::append(parent, "media");
    addText(element, "kind", media.kind);
    addText(element, "format", media.format);
    addText(element, "duration", media.duration);
    addText(element, "timecode", media.timecode);
    for (const auto& facts : media.streams) {
        auto stream = xmltools::append(element, "stream");
        stream.append_attribute("index") = facts.index;
        stream.append_attribute("type") = text::xmlClean(facts.type).c_str();
        if (facts.index == video || facts.index == audio)
            stream.append_attribute("preferred") = true;
        addText(stream, "codec", facts.codec);
        addNumber(stream, "width", facts.width);
        addNumber(stream, "height", facts.height);
        addText(stream, "frameRate", facts.frameRate);
        addText(stream, "pixelFormat", facts.pixelFormat);
        addNumber(stream, "sampleRate", facts.sampleRate);
        addNumber(stream, "channels", facts.channels);
        addText(stream, "duration", facts.duration);
        addText(stream, "timecode", facts.timecode);
    }
}

void addProfile(pugi::xml_node parent, const ProfileRecipe& profile)
{
    auto element = xmltools::append(parent, "profile");
    xmltools::append(element, "profileName", profile.name);
    xmltools::append(element, "profileGUID", profile.id);
    pugi::xml_document settings;
    if (!profile.settings.empty() && !xmltools::parse(profile.settings, settings))
        element.append_copy(settings.document_element());
    auto checkin = false;
    for (const auto& activity : profile.activities)
        checkin = checkin || activity.autoCheckin;
    if (checkin)
        xmltools::append(element, "autoCheckin", "true");
}

} // namespace

std::string write(const OutputFacts& facts)
{
    pugi::xml_document document;
    auto root = xmltools::append(document, "xel");
    const LinkSettings settings = LinkSettings::read(facts.profile.settings);
    xmltools::append(root, "version", "2");
    xmltools::append(root, "id", facts.id);
    xmltools::append(root, "created", facts.created);
    auto owner = xmltools::append(root, facts.ownerKind.c_str(), facts.ownerPath);
    owner.append_attribute("id") = facts.ownerId.c_str();
    addClip(root, facts.clip, settings);
    addFile(xmltools::append(root, "source"), facts.clip.source);
    addMedia(root, facts.clip.media, settings);
    addProfile(root, facts.profile);
    return xmltools::documentText(document);
}

} // namespace krxservice::outputdocument

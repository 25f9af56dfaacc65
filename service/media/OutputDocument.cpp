#include "media/OutputDocument.h"

#include "base/Text.h"
#include "documents/XmlTools.h"

namespace krxservice::outputdocument {

namespace {

void addFile(pugi::xml_node element, const FileFacts& file)
{
    xmltools::append(element, "path", file.path);
    xmltools::append(element, "size", std::to_string(file.stamp.size));
    xmltools::append(element, "modified", text::isoTime(file.stamp.modified));
    auto checksum = xmltools::append(element, "checksum", file.checksum.substr(file.checksum.find(':') + 1));
    checksum.append_attribute("method") = file.checksum.substr(0, file.checksum.find(':')).c_str();
}

/// The file's name without its last extension.
std::string clipName(const std::string& path)
{
    std::string name = text::baseName(path);
    const auto dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.resize(dot);
    return name;
}

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

void addMedia(pugi::xml_node parent, const MediaFacts& media)
{
    auto element = xmltools::append(parent, "media");
    addText(element, "kind", media.kind);
    addText(element, "format", media.format);
    addText(element, "duration", media.duration);
    addText(element, "timecode", media.timecode);
    for (const auto& facts : media.streams) {
        auto stream = xmltools::append(element, "stream");
        stream.append_attribute("index") = facts.index;
        stream.append_attribute("type") = text::xmlClean(facts.type).c_str();
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
    xmltools::append(root, "version", "1");
    xmltools::append(root, "id", facts.id);
    xmltools::append(root, "created", facts.created);
    auto owner = xmltools::append(root, facts.ownerKind.c_str(), facts.ownerPath);
    owner.append_attribute("id") = facts.ownerId.c_str();
    auto clip = xmltools::append(root, "clip");
    xmltools::append(clip, "name", clipName(facts.clip.linked.path));
    addFile(clip, facts.clip.linked);
    addFile(xmltools::append(root, "source"), facts.clip.source);
    addMedia(root, facts.clip.media);
    addProfile(root, facts.profile);
    return xmltools::documentText(document);
}

} // namespace krxservice::outputdocument

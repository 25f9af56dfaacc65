#include "media/ClipMemory.h"

#include "base/Text.h"

#include <pugixml.hpp>

#include <sstream>

namespace krxservice::clipmemory {

namespace {

void put(pugi::xml_node element, const char* name, const std::string& value)
{
    if (!value.empty())
        element.append_attribute(name) = text::xmlClean(value).c_str();
}

void put(pugi::xml_node element, const char* name, std::int64_t value)
{
    if (value != 0)
        element.append_attribute(name) = static_cast<long long>(value);
}

std::string textAt(const pugi::xml_node& element, const char* name)
{
    return element.attribute(name).value();
}

std::int64_t numberAt(const pugi::xml_node& element, const char* name)
{
    return element.attribute(name).as_llong();
}

int smallAt(const pugi::xml_node& element, const char* name)
{
    return element.attribute(name).as_int();
}

void putFile(pugi::xml_node parent, const char* name, const FileFacts& file, const std::string& kind = {})
{
    auto element = parent.append_child(name);
    put(element, "kind", kind);
    put(element, "path", file.path);
    put(element, "size", file.stamp.size);
    put(element, "modified", file.stamp.modified);
    put(element, "changed", file.stamp.changed);
    put(element, "inode", file.stamp.inode);
    put(element, "checksum", file.checksum);
}

FileFacts fileOf(const pugi::xml_node& element)
{
    FileFacts file;
    file.path = textAt(element, "path");
    file.stamp = {numberAt(element, "size"), numberAt(element, "modified"), numberAt(element, "changed"),
                  numberAt(element, "inode")};
    file.checksum = textAt(element, "checksum");
    return file;
}

void putMedia(pugi::xml_node parent, const MediaFacts& media)
{
    auto element = parent.append_child("media");
    put(element, "kind", media.kind);
    put(element, "format", media.format);
    put(element, "duration", media.duration);
    put(element, "timecode", media.timecode);
    put(element, "reelName", media.reelName);
    put(element, "created", media.created);
    put(element, "timeReference", media.timeReference);
    for (const auto& facts : media.streams) {
        auto stream = element.append_child("stream");
        put(stream, "index", facts.index);
        put(stream, "type", facts.type);
        put(stream, "codec", facts.codec);
        put(stream, "width", facts.width);
        put(stream, "height", facts.height);
        put(stream, "frameRate", facts.frameRate);
        put(stream, "averageRate", facts.averageRate);
        put(stream, "frames", facts.frames);
        put(stream, "bitRate", facts.bitRate);
        put(stream, "pixelFormat", facts.pixelFormat);
        put(stream, "sampleRate", facts.sampleRate);
        put(stream, "channels", facts.channels);
        put(stream, "duration", facts.duration);
        put(stream, "timecode", facts.timecode);
        put(stream, "reelName", facts.reelName);
        put(stream, "sampleAspect", facts.sampleAspect);
        put(stream, "fieldOrder", facts.fieldOrder);
        put(stream, "colorRange", facts.colorRange);
        put(stream, "colorSpace", facts.colorSpace);
        put(stream, "colorPrimaries", facts.colorPrimaries);
        put(stream, "colorTransfer", facts.colorTransfer);
        put(stream, "turn", facts.turn);
        put(stream, "isCover", facts.isCover ? 1 : 0);
        put(stream, "bits", facts.bits);
    }
}

MediaFacts mediaOf(const pugi::xml_node& element)
{
    MediaFacts media;
    media.kind = textAt(element, "kind");
    media.format = textAt(element, "format");
    media.duration = textAt(element, "duration");
    media.timecode = textAt(element, "timecode");
    media.reelName = textAt(element, "reelName");
    media.created = textAt(element, "created");
    media.timeReference = textAt(element, "timeReference");
    for (const auto& stream : element.children("stream")) {
        StreamFacts facts;
        facts.index = smallAt(stream, "index");
        facts.type = textAt(stream, "type");
        facts.codec = textAt(stream, "codec");
        facts.width = smallAt(stream, "width");
        facts.height = smallAt(stream, "height");
        facts.frameRate = textAt(stream, "frameRate");
        facts.averageRate = textAt(stream, "averageRate");
        facts.frames = numberAt(stream, "frames");
        facts.bitRate = numberAt(stream, "bitRate");
        facts.pixelFormat = textAt(stream, "pixelFormat");
        facts.sampleRate = smallAt(stream, "sampleRate");
        facts.channels = smallAt(stream, "channels");
        facts.duration = textAt(stream, "duration");
        facts.timecode = textAt(stream, "timecode");
        facts.reelName = textAt(stream, "reelName");
        facts.sampleAspect = textAt(stream, "sampleAspect");
        facts.fieldOrder = textAt(stream, "fieldOrder");
        facts.colorRange = textAt(stream, "colorRange");
        facts.colorSpace = textAt(stream, "colorSpace");
        facts.colorPrimaries = textAt(stream, "colorPrimaries");
        facts.colorTransfer = textAt(stream, "colorTransfer");
        facts.turn = smallAt(stream, "turn");
        facts.isCover = numberAt(stream, "isCover") != 0;
        facts.bits = smallAt(stream, "bits");
        media.streams.push_back(std::move(facts));
    }
    return media;
}

void putSequence(pugi::xml_node parent, const SequenceFacts& facts)
{
    auto element = parent.append_child("sequence");
    put(element, "directory", facts.directory);
    put(element, "stem", facts.stem);
    put(element, "extension", facts.extension);
    put(element, "padding", facts.padding);
    for (const auto& range : facts.present) {
        auto numbers = element.append_child("numbers");
        put(numbers, "first", range.first);
        put(numbers, "last", range.last);
    }
}

SequenceFacts sequenceOf(const pugi::xml_node& element)
{
    SequenceFacts facts;
    facts.directory = textAt(element, "directory");
    facts.stem = textAt(element, "stem");
    facts.extension = textAt(element, "extension");
    facts.padding = smallAt(element, "padding");
    for (const auto& numbers : element.children("numbers"))
        facts.present.push_back({numberAt(numbers, "first"), numberAt(numbers, "last")});
    if (!facts.present.empty()) {
        facts.firstNumber = facts.present.front().first;
        facts.lastNumber = facts.present.back().last;
    }
    return facts;
}

void putLink(pugi::xml_node parent, const LinkFacts& link)
{
    auto element = parent.append_child("link");
    put(element, "plugin", link.plugin);
    put(element, "reelName", link.reelName);
    put(element, "startTimecode", link.startTimecode);
    put(element, "timecodeIsFromName", link.timecodeIsFromName ? 1 : 0);
    put(element, "frameRate", link.frameRate);
    put(element, "startFrame", link.startFrame);
    put(element, "frameCount", link.frameCount);
    if (link.audioStart)
        element.append_attribute("audioStart") = static_cast<long long>(*link.audioStart);
    put(element, "audioStartRate", link.audioStartRate);
}

LinkFacts linkOf(const pugi::xml_node& element)
{
    LinkFacts link;
    link.plugin = textAt(element, "plugin");
    link.reelName = textAt(element, "reelName");
    link.startTimecode = textAt(element, "startTimecode");
    link.timecodeIsFromName = numberAt(element, "timecodeIsFromName") != 0;
    link.frameRate = textAt(element, "frameRate");
    link.startFrame = numberAt(element, "startFrame");
    link.frameCount = numberAt(element, "frameCount");
    if (element.attribute("audioStart"))
        link.audioStart = numberAt(element, "audioStart");
    link.audioStartRate = smallAt(element, "audioStartRate");
    return link;
}

void putActivity(pugi::xml_node parent, const ActivityNote& note)
{
    auto element = parent.append_child("activity");
    put(element, "id", note.id);
    put(element, "name", note.name);
    put(element, "check", note.check);
    for (const auto& file : note.made)
        putFile(element, "file", file);
    for (const auto& sentence : note.notes)
        put(element.append_child("note"), "text", sentence);
}

ActivityNote activityOf(const pugi::xml_node& element)
{
    ActivityNote note;
    note.id = textAt(element, "id");
    note.name = textAt(element, "name");
    note.check = textAt(element, "check");
    for (const auto& file : element.children("file"))
        note.made.push_back(fileOf(file));
    for (const auto& sentence : element.children("note"))
        note.notes.push_back(textAt(sentence, "text"));
    return note;
}

} // namespace

std::string write(const Clip& clip)
{
    pugi::xml_document document;
    auto root = document.append_child("made");
    putFile(root, "source", clip.source);
    putMedia(root, clip.media);
    if (clip.sequence)
        putSequence(root, *clip.sequence);
    for (const auto& sidecar : clip.sidecars)
        putFile(root, "sidecar", sidecar);
    for (const auto& part : clip.parts)
        putFile(root, "part", part.file, part.kind);
    putLink(root, clip.link);
    for (const auto& note : clip.activities)
        putActivity(root, note);
    std::ostringstream text;
    document.save(text, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
    return text.str();
}

bool read(std::string_view text, Clip& clip)
{
    pugi::xml_document document;
    const auto parsed =
        document.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
    const auto root = document.child("made");
    if (!parsed || !root.child("source"))
        return false;
    clip.source = fileOf(root.child("source"));
    clip.media = mediaOf(root.child("media"));
    clip.sequence.reset();
    if (const auto sequence = root.child("sequence"))
        clip.sequence = sequenceOf(sequence);
    clip.sidecars.clear();
    for (const auto& sidecar : root.children("sidecar"))
        clip.sidecars.push_back(fileOf(sidecar));
    clip.parts.clear();
    for (const auto& part : root.children("part"))
        clip.parts.push_back({textAt(part, "kind"), fileOf(part)});
    clip.link = linkOf(root.child("link"));
    clip.activities.clear();
    for (const auto& note : root.children("activity"))
        clip.activities.push_back(activityOf(note));
    return true;
}

} // namespace krxservice::clipmemory

#include "media/ClipMemory.h"

#include "base/Text.h"

#include <pugixml.hpp>

#include <sstream>
#include <utility>

namespace krxservice::clipmemory {

namespace {

/// Puts values into an element's attributes; a text without a letter, 0 and false are left out.
class Writer
{
public:
    explicit Writer(pugi::xml_node element)
        : m_element(element)
    {
    }

    void operator()(const char* name, const std::string& value)
    {
        if (!value.empty())
            m_element.append_attribute(name) = text::xmlClean(value).c_str();
    }
    void operator()(const char* name, std::int64_t value)
    {
        if (value != 0)
            m_element.append_attribute(name) = static_cast<long long>(value);
    }
    void operator()(const char* name, int value) { (*this)(name, std::int64_t{value}); }
    void operator()(const char* name, bool value) { (*this)(name, std::int64_t{value ? 1 : 0}); }
    /// One that is there is written even when it is 0.
    void operator()(const char* name, const std::optional<std::int64_t>& value)
    {
        if (value)
            m_element.append_attribute(name) = static_cast<long long>(*value);
    }

private:
    pugi::xml_node m_element;
};

/// Takes them out again.
class Reader
{
public:
    explicit Reader(pugi::xml_node element)
        : m_element(element)
    {
    }

    void operator()(const char* name, std::string& value) { value = m_element.attribute(name).value(); }
    void operator()(const char* name, std::int64_t& value) { value = m_element.attribute(name).as_llong(); }
    void operator()(const char* name, int& value) { value = m_element.attribute(name).as_int(); }
    void operator()(const char* name, bool& value) { value = m_element.attribute(name).as_llong() != 0; }
    void operator()(const char* name, std::optional<std::int64_t>& value)
    {
        value.reset();
        if (const auto attribute = m_element.attribute(name))
            value = attribute.as_llong();
    }

private:
    pugi::xml_node m_element;
};

// What is kept of each kind of facts: one list for both ways.

template <class Visit, class File>
void visitFile(Visit visit, File& file)
{
    visit("path", file.path);
    visit("size", file.stamp.size);
    visit("modified", file.stamp.modified);
    visit("changed", file.stamp.changed);
    visit("inode", file.stamp.inode);
    visit("checksum", file.checksum);
}

template <class Visit, class Media>
void visitMedia(Visit visit, Media& media)
{
    visit("kind", media.kind);
    visit("format", media.format);
    visit("duration", media.duration);
    visit("timecode", media.timecode);
    visit("reelName", media.reelName);
    visit("created", media.created);
    visit("timeReference", media.timeReference);
}

template <class Visit, class Stream>
void visitStream(Visit visit, Stream& stream)
{
    visit("index", stream.index);
    visit("type", stream.type);
    visit("codec", stream.codec);
    visit("width", stream.width);
    visit("height", stream.height);
    visit("frameRate", stream.frameRate);
    visit("averageRate", stream.averageRate);
    visit("frames", stream.frames);
    visit("bitRate", stream.bitRate);
    visit("pixelFormat", stream.pixelFormat);
    visit("sampleRate", stream.sampleRate);
    visit("channels", stream.channels);
    visit("duration", stream.duration);
    visit("timecode", stream.timecode);
    visit("reelName", stream.reelName);
    visit("sampleAspect", stream.sampleAspect);
    visit("fieldOrder", stream.fieldOrder);
    visit("colorRange", stream.colorRange);
    visit("colorSpace", stream.colorSpace);
    visit("colorPrimaries", stream.colorPrimaries);
    visit("colorTransfer", stream.colorTransfer);
    visit("turn", stream.turn);
    visit("isCover", stream.isCover);
    visit("bits", stream.bits);
    visit("tag", stream.tag);
}

template <class Visit, class Sequence>
void visitSequence(Visit visit, Sequence& sequence)
{
    visit("directory", sequence.directory);
    visit("stem", sequence.stem);
    visit("extension", sequence.extension);
    visit("padding", sequence.padding);
}

template <class Visit, class Range>
void visitRange(Visit visit, Range& range)
{
    visit("first", range.first);
    visit("last", range.last);
}

template <class Visit, class Link>
void visitLink(Visit visit, Link& link)
{
    visit("plugin", link.plugin);
    visit("reelName", link.reelName);
    visit("startTimecode", link.startTimecode);
    visit("timecodeIsFromName", link.timecodeIsFromName);
    visit("frameRate", link.frameRate);
    visit("startFrame", link.startFrame);
    visit("frameCount", link.frameCount);
    visit("audioStart", link.audioStart);
    visit("audioStartRate", link.audioStartRate);
}

template <class Visit, class Note>
void visitActivity(Visit visit, Note& note)
{
    visit("id", note.id);
    visit("name", note.name);
    visit("check", note.check);
}

void putFile(pugi::xml_node parent, const char* name, const FileFacts& file, const std::string& kind = {})
{
    const auto element = parent.append_child(name);
    Writer{element}("kind", kind);
    visitFile(Writer(element), file);
}

FileFacts fileOf(const pugi::xml_node& element)
{
    FileFacts file;
    visitFile(Reader(element), file);
    return file;
}

void putMedia(pugi::xml_node parent, const MediaFacts& media)
{
    auto element = parent.append_child("media");
    visitMedia(Writer(element), media);
    for (const auto& stream : media.streams)
        visitStream(Writer(element.append_child("stream")), stream);
}

MediaFacts mediaOf(const pugi::xml_node& element)
{
    MediaFacts media;
    visitMedia(Reader(element), media);
    for (const auto& stream : element.children("stream"))
        visitStream(Reader(stream), media.streams.emplace_back());
    return media;
}

void putSequence(pugi::xml_node parent, const SequenceFacts& sequence)
{
    auto element = parent.append_child("sequence");
    visitSequence(Writer(element), sequence);
    for (const auto& range : sequence.present)
        visitRange(Writer(element.append_child("numbers")), range);
}

SequenceFacts sequenceOf(const pugi::xml_node& element)
{
    SequenceFacts sequence;
    visitSequence(Reader(element), sequence);
    for (const auto& numbers : element.children("numbers"))
        visitRange(Reader(numbers), sequence.present.emplace_back());
    if (!sequence.present.empty()) {
        sequence.firstNumber = sequence.present.front().first;
        sequence.lastNumber = sequence.present.back().last;
    }
    return sequence;
}

void putActivity(pugi::xml_node parent, const ActivityNote& note)
{
    auto element = parent.append_child("activity");
    visitActivity(Writer(element), note);
    for (const auto& file : note.made)
        putFile(element, "file", file);
    for (const auto& sentence : note.notes)
        Writer{element.append_child("note")}("text", sentence);
}

ActivityNote activityOf(const pugi::xml_node& element)
{
    ActivityNote note;
    visitActivity(Reader(element), note);
    for (const auto& file : element.children("file"))
        note.made.push_back(fileOf(file));
    for (const auto& sentence : element.children("note"))
        Reader{sentence}("text", note.notes.emplace_back());
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
    visitLink(Writer(root.append_child("link")), clip.link);
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
        clip.parts.push_back({part.attribute("kind").value(), fileOf(part)});
    clip.link = {};
    visitLink(Reader(root.child("link")), clip.link);
    clip.activities.clear();
    for (const auto& note : root.children("activity"))
        clip.activities.push_back(activityOf(note));
    return true;
}

} // namespace krxservice::clipmemory

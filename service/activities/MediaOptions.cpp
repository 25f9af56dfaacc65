#include "activities/MediaOptions.h"

#include "base/Text.h"
#include "documents/XmlTools.h"

#include <array>
#include <cstdlib>

namespace krxservice {

namespace {

struct TextField
{
    const char* element;
    std::string VideoOptions::*member;
};

constexpr std::array<TextField, 4> kTexts = {{
    {"encodingProfile", &VideoOptions::encodingProfile},
    {"videoProjectType", &VideoOptions::projectType},
    {"videoColorSpace", &VideoOptions::colorSpace},
    {"videoRaster", &VideoOptions::raster},
}};

std::string textOf(const pugi::xml_node& parent, const char* name)
{
    return xmltools::textOf(parent.child(name));
}

/// Exactly "true", as whoever writes it reads it.
bool isTrue(const std::string& text)
{
    return text == "true";
}

int numberOf(const std::string& text)
{
    return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}

VideoOptions readVideo(const pugi::xml_node& element)
{
    VideoOptions video;
    for (const auto& field : kTexts)
        video.*field.member = textOf(element, field.element);
    const auto compression = element.child("videoCompressionType");
    video.compressionId = xmltools::textOf(compression);
    video.compressionName = compression.attribute("name").value();
    video.debayer = numberOf(textOf(element, "videoDebayerSetting"));
    video.reformats = isTrue(textOf(element, "videoIncludeReformattedContent"));
    video.transformsColors = isTrue(textOf(element, "applyColorTransformations"));
    return video;
}

AudioOptions readAudio(const pugi::xml_node& element)
{
    AudioOptions audio;
    const auto isEnabled = [&](const char* name) {
        return isTrue(element.child(name).attribute("enabled").value());
    };
    audio.convertsRate = isEnabled("audioSampleRate");
    audio.rate = numberOf(textOf(element, "audioSampleRate"));
    audio.convertsBits = isEnabled("audioSampleWidth");
    audio.bits = numberOf(textOf(element, "audioSampleWidth"));
    audio.convertsFormat = isEnabled("audioFormat");
    audio.format = textOf(element, "audioFormat");
    return audio;
}

/// Without the slash that the path of a volume ends in.
std::string volumeOf(const pugi::xml_node& parent, const char* name)
{
    std::string path = textOf(parent, name);
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

} // namespace

MediaOptions MediaOptions::read(const std::string& element)
{
    pugi::xml_document document;
    MediaOptions options;
    if (xmltools::parse(element, document))
        return options;
    const auto detail = document.document_element().child("outputDetail");
    options.videoVolume = volumeOf(detail, "filesystemVideoVolume");
    options.audioVolume = volumeOf(detail, "filesystemAudioVolume");
    // One of them alone is meant for both.
    if (options.audioVolume.empty())
        options.audioVolume = options.videoVolume;
    if (options.videoVolume.empty())
        options.videoVolume = options.audioVolume;
    options.audio = readAudio(detail.child("outputAudioProfile"));
    if (const auto video = detail.child("outputTranscodeVideoProfile"))
        options.video = readVideo(video);
    if (const auto video = detail.child("outputConsolidateVideoProfile")) {
        options.skipsOnTarget = isTrue(textOf(video, "videoSkipOnTarget"));
        options.relinksSkipped = isTrue(textOf(video, "videoRelinkSkippedToTarget"));
        options.transcodesOtherwise = isTrue(textOf(video, "performTranscodeIfConsolidateFails"));
        options.video = readVideo(video.child("transcodeOptions"));
    }
    return options;
}

} // namespace krxservice

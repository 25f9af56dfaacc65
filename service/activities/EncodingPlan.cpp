#include "activities/EncodingPlan.h"

#include "MediaCatalogue.h"
#include "base/Text.h"
#include "engines/Ffmpeg.h"
#include "media/Timecode.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace krxservice {

namespace {

using KRXCatalogue::Compression;
using KRXCatalogue::EncodingProfile;
using KRXCatalogue::MediaCatalogue;

constexpr int kMxfRate = 48000; ///< Hz, the only one that MXF takes
constexpr int kUsualBits = 24;  ///< for sound whose source has no size of samples
constexpr int kMostMp2Channels = 2;
constexpr double kNominalPixels = 1920.0 * 1080 * 30000 / 1001; ///< per second, of the catalogue's bit rates

std::string quoted(const QString& text)
{
    return '"' + text.toStdString() + '"';
}

struct Muxer
{
    const char* extension;
    const char* name;
};
constexpr std::array<Muxer, 4> kMuxers = {
    {{"mov", "mov"}, {"mxf", "mxf"}, {"mkv", "matroska"}, {"mp4", "mp4"}}};

const StreamFacts* pictureOf(const MediaFacts& media)
{
    for (const auto& stream : media.streams) {
        if (stream.type == "video" && !stream.isCover && stream.width > 0 && stream.height > 0)
            return &stream;
    }
    return nullptr;
}

std::vector<const StreamFacts*> soundOf(const MediaFacts& media)
{
    std::vector<const StreamFacts*> sounds;
    for (const auto& stream : media.streams) {
        if (stream.type == "audio" && stream.sampleRate > 0 && stream.channels > 0)
            sounds.push_back(&stream);
    }
    return sounds;
}

std::vector<std::string> toStrings(const QStringList& list)
{
    std::vector<std::string> strings;
    for (const QString& text : list)
        strings.push_back(text.toStdString());
    return strings;
}

/// Makes one plan, step by step.
class Planner
{
public:
    Planner(const MediaOptions& options, const Clip& clip, const MediaFacts& media,
            const MediaCatalogue& catalogue)
        : m_options(options)
        , m_clip(clip)
        , m_media(media)
        , m_catalogue(catalogue)
        , m_picture(pictureOf(media))
        , m_sounds(soundOf(media))
    {
    }

    Outcome<EncodingPlan> plan()
    {
        if (const auto refusal = findCodec())
            return *refusal;
        if (m_picture) {
            if (const auto refusal = findTarget())
                return *refusal;
            planPicture();
        }
        if (!m_picture && m_sounds.empty())
            return Refusal{500, "it holds neither pictures nor sound"};
        m_plan.hasPicture = m_picture != nullptr;
        m_plan.isSoundApart = !m_sounds.empty() && (!m_picture || m_options.isApart());
        planSound();
        planTags();
        return m_plan;
    }

private:
    void note(const std::string& text) { m_plan.notes.push_back(text); }

    std::optional<Refusal> findCodec()
    {
        const VideoOptions& video = m_options.video;
        bool isNumber = false;
        const auto id = QString::fromStdString(video.compressionId).toUInt(&isNumber);
        const QString name = QString::fromStdString(video.compressionName);
        m_codec = isNumber ? m_catalogue.findCompression(id) : nullptr;
        if (!m_codec && !name.isEmpty() && (m_codec = m_catalogue.findCompression(name)))
            note("The codec was found by its name, " + quoted(m_codec->name) + ", and not by its id");
        if (!m_codec)
            return Refusal{500, "the codec " + quoted(name) + " (" + text::oneLine(video.compressionId) +
                                    ") is not in the catalogue"};
        if (video.encodingProfile.empty())
            return std::nullopt;
        const QString wanted = QString::fromStdString(video.encodingProfile);
        const auto profileId = wanted.toUInt(&isNumber);
        m_profile = isNumber ? m_codec->findProfile(profileId) : nullptr;
        if (!m_profile)
            m_profile = m_codec->findProfile(wanted);
        if (!m_profile)
            return Refusal{500, "the codec " + quoted(m_codec->name) + " has no encoding profile " +
                                    quoted(wanted)};
        return std::nullopt;
    }

    std::optional<Refusal> findTarget()
    {
        const VideoOptions& video = m_options.video;
        const QString name = QString::fromStdString(video.projectType);
        const auto* type = m_catalogue.findProjectType(name);
        const auto* format = m_catalogue.findFormat(name);
        const FrameRate own = sourceRate();
        const bool isSideways = m_picture->turn % 180 != 0;
        m_target.width = isSideways ? m_picture->height : m_picture->width;
        m_target.height = isSideways ? m_picture->width : m_picture->height;
        m_target.rate = own.isKnown() ? own : FrameRate{25, 1};
        m_target.fields = "progressive";
        if (type && !type->frame.isEmpty()) {
            m_target.width = type->frame.width();
            m_target.height = type->frame.height();
            m_target.rate = {type->rate.numerator, type->rate.denominator};
            using KRXCatalogue::Fields;
            m_target.fields = type->fields == Fields::TopFirst      ? "top"
                              : type->fields == Fields::BottomFirst ? "bottom"
                                                                    : "progressive";
        } else if (format) {
            m_target.width = format->frame.width();
            m_target.height = format->frame.height();
            m_target.rate = {format->rate.numerator, format->rate.denominator};
        } else if (!name.isEmpty() && !type) {
            return Refusal{500, "the project type " + quoted(name) + " is not in the catalogue"};
        } else {
            // Sizes that every codec takes.
            m_target.width = std::max(2, m_target.width / 2 * 2);
            m_target.height = std::max(2, m_target.height / 2 * 2);
        }
        setAspect(type && type->sd);
        setRaster();
        m_target.colorSpace = video.colorSpace;
        m_target.debayer = video.debayer;
        m_target.reformats = video.reformats;
        m_target.transformsColors = video.transformsColors;
        const QStringList& arguments = m_codec->ffmpegArguments;
        const int format1 = arguments.indexOf(QStringLiteral("-pix_fmt")) + 1;
        const QString pixels = format1 > 0 ? arguments.value(format1) : QString();
        m_target.isRgb = pixels.startsWith(QLatin1String("rgb")) || pixels.startsWith(QLatin1String("gbr"));
        settleFields();
        return std::nullopt;
    }

    /// Standard definition is shown as 4:3 or 16:9, whatever its pixels are; all else has square ones in its
    /// full raster.
    void setAspect(bool isSd)
    {
        m_target.aspectWidth = m_target.width;
        m_target.aspectHeight = m_target.height;
        if (!isSd)
            return;
        const FrameRate pixel = FrameRate::from(m_picture->sampleAspect);
        const double stretch = pixel.isKnown() ? pixel.value() : 1;
        const double shown = stretch * m_picture->width / m_picture->height;
        const bool isWide = shown > 1.5;
        m_target.aspectWidth = isWide ? 16 : 4;
        m_target.aspectHeight = isWide ? 9 : 3;
    }

    void setRaster()
    {
        const std::string& raster = m_options.video.raster;
        char* end = nullptr;
        const long width = std::strtol(raster.c_str(), &end, 10);
        const long height = *end == 'x' ? std::strtol(end + 1, &end, 10) : 0;
        constexpr long kMost = 16384;
        if (width < 2 || width > kMost || height != m_target.height)
            return;
        m_target.width = static_cast<int>(width);
    }

    /// DV has its fields in one order only, and some codecs have none.
    void settleFields()
    {
        const QStringList& arguments = m_codec->ffmpegArguments;
        if (m_target.fields == "top" && arguments.contains(QStringLiteral("dvvideo"))) {
            m_target.fields = "bottom";
            note("DV begins with the bottom field");
        }
    }

    FrameRate sourceRate() const
    {
        if (m_clip.sequence || m_media.kind == "image") {
            const FrameRate linked = FrameRate::from(m_clip.link.frameRate);
            return linked;
        }
        const FrameRate average = FrameRate::from(m_picture->averageRate);
        return average.isKnown() && average.value() < 1000 ? average : FrameRate::from(m_picture->frameRate);
    }

    /// A movie that is over with its first picture: nobody says how long the last one stands.
    bool isOnePicture() const
    {
        return m_picture->frames == 1 &&
               std::strtod(m_media.duration.c_str(), nullptr) * m_target.rate.value() < 1.5;
    }

    void planPicture()
    {
        m_plan.extension = m_codec->container.toStdString();
        m_plan.rate = m_target.rate;
        FrameRate own = sourceRate();
        if (!own.isKnown())
            own = m_target.rate;
        const bool isSingle = !m_clip.sequence && (m_media.kind == "image" || isOnePicture());
        auto& video = m_plan.video;
        video = {"-map", "0:v:0", "-vf", pictureFilter(*m_picture, own, m_target, isSingle)};
        video.insert(video.end(), {"-vsync", "cfr", "-r", m_target.rate.text()});
        for (const auto& argument : toStrings(m_codec->ffmpegArguments))
            video.push_back(argument);
        if (m_profile) {
            for (const auto& argument : toStrings(m_profile->ffmpegArguments))
                video.push_back(argument);
        }
        const auto tags = pictureTags(m_target);
        video.insert(video.end(), tags.begin(), tags.end());
        m_plan.bytesPerSecond = pictureBytes();
    }

    std::int64_t pictureBytes() const
    {
        const double pixels = double(m_target.width) * m_target.height * m_target.rate.value();
        const auto& descriptor = m_codec->descriptor;
        const auto nominal = double(std::max(descriptor.maxBitrate, descriptor.avgBitrate));
        if (nominal > 0 && descriptor.maxBitrate > 0)
            return static_cast<std::int64_t>(nominal / 8);
        if (nominal > 0)
            return static_cast<std::int64_t>(nominal / 8 * pixels / kNominalPixels);
        constexpr std::array<double, 4> kSamples = {3, 1.5, 1.5, 2}; // of a pixel, by the sampling's code
        const double samples = kSamples.at(std::min<std::size_t>(std::size_t(descriptor.chromaSampling), 3));
        const double bits = descriptor.bitsPerComponent > 8 && descriptor.bitsPerComponent < 12
                                ? 10.7
                                : descriptor.bitsPerComponent;
        return static_cast<std::int64_t>(pixels * samples * bits / 8);
    }

    bool isMxf() const { return m_plan.extension == "mxf" && !m_plan.isSoundApart; }

    /// The rate that a track is to have.
    int soundRate(const StreamFacts& sound)
    {
        const AudioOptions& audio = m_options.audio;
        int rate = audio.convertsRate && audio.rate > 0 ? audio.rate : sound.sampleRate;
        if (isMxf() && rate != kMxfRate) {
            note("MXF holds sound of 48000 Hz only: " + std::to_string(rate) + " Hz became that");
            rate = kMxfRate;
        }
        return rate;
    }

    int soundBits(const StreamFacts& sound) const
    {
        const AudioOptions& audio = m_options.audio;
        if (audio.convertsBits && audio.bits > 0)
            return audio.bits > 24 ? 32 : audio.bits > 16 ? 24 : 16;
        return sound.bits <= 0 ? kUsualBits : sound.bits > 24 ? 32 : sound.bits > 16 ? 24 : 16;
    }

    bool wantsMp2(const StreamFacts& sound)
    {
        const AudioOptions& audio = m_options.audio;
        if (!audio.convertsFormat || audio.format.rfind("MP2", 0) != 0)
            return false;
        const bool isTooWide = sound.channels > kMostMp2Channels;
        const bool canHold = m_plan.extension == "mov" || m_plan.extension == "mkv";
        if (m_plan.isSoundApart || !canHold || isTooWide) {
            note(isTooWide ? "MP2 has two channels at the most: more of them became PCM"
                 : m_plan.isSoundApart
                     ? "Sound of its own is Broadcast Wave, which holds PCM and not MP2"
                     : "The " + m_plan.extension + " file cannot hold MP2: its sound became PCM");
            return false;
        }
        return true;
    }

    void planSound()
    {
        if (!m_picture) {
            m_plan.extension = "wav";
            m_plan.muxer = "wav";
        }
        for (const auto& muxer : kMuxers) {
            if (m_plan.extension == muxer.extension)
                m_plan.muxer = muxer.name;
        }
        if (m_sounds.empty())
            return;
        if (m_plan.isSoundApart)
            planSoundApart();
        else
            planTracks();
        std::sort(m_plan.notes.begin(), m_plan.notes.end());
        m_plan.notes.erase(std::unique(m_plan.notes.begin(), m_plan.notes.end()), m_plan.notes.end());
    }

    static std::string soundFilter(int rate)
    {
        return Ffmpeg::soundTrimming() + ",aresample=" + std::to_string(rate) + ":async=1:first_pts=0";
    }

    /// What encodes PCM of so many bits, in the byte order that the file wants.
    std::string pcm(int bits) const { return "pcm_s" + std::to_string(bits) + "le"; }

    void planTracks()
    {
        auto& sound = m_plan.sound;
        const std::string input = soundInput();
        for (std::size_t i = 0; i < m_sounds.size(); ++i) {
            const StreamFacts& from = *m_sounds[i];
            const int rate = soundRate(from);
            int bits = soundBits(from);
            if (isMxf() && bits > 24) {
                note("MXF holds sound of 16 or 24 bits: more became 24");
                bits = 24;
            }
            const std::string number = std::to_string(i);
            // MXF wants sound for each picture: the end is filled up with silence.
            sound.insert(sound.end(), {"-map", input + ":a:" + number, "-filter:a:" + number,
                                       soundFilter(rate) + (isMxf() ? ",apad" : "")});
            const bool isMp2 = wantsMp2(from);
            sound.insert(sound.end(), {"-c:a:" + number, isMp2 ? "mp2" : pcm(bits)});
            if (isMp2)
                sound.insert(sound.end(), {"-b:a:" + number, from.channels > 1 ? "384k" : "192k"});
            m_plan.bytesPerSecond += std::int64_t(rate) * from.channels * bits / 8;
        }
        if (isMxf())
            sound.emplace_back("-shortest");
        m_plan.tracks = static_cast<int>(m_sounds.size());
    }

    /// All tracks as channels of one Broadcast Wave, which holds a single stream.
    void planSoundApart()
    {
        const StreamFacts& first = *m_sounds.front();
        const int rate = soundRate(first);
        int bits = 0;
        int channels = 0;
        std::string graph;
        std::string merged;
        for (std::size_t i = 0; i < m_sounds.size(); ++i) {
            const std::string label = "[s" + std::to_string(i) + ']';
            graph += '[' + soundInput() + ":a:" + std::to_string(i) + ']' + soundFilter(rate) +
                     ",aformat=sample_fmts=s32:channel_layouts=" + std::to_string(m_sounds[i]->channels) +
                     'c' + label + ';';
            merged += label;
            bits = std::max(bits, soundBits(*m_sounds[i]));
            channels += m_sounds[i]->channels;
            wantsMp2(*m_sounds[i]);
        }
        if (m_options.audio.convertsFormat && m_options.audio.format.rfind("PCM", 0) == 0)
            note("Sound of its own cannot be in one MXF file of whole clips: it is Broadcast Wave");
        graph += merged +
                 (m_sounds.size() > 1 ? "amerge=inputs=" + std::to_string(m_sounds.size()) : "anull") +
                 "[sound]";
        m_plan.soundFilter = {"-filter_complex", graph};
        m_plan.soundApart = {"-map",        "[sound]", "-c:a",  pcm(bits), "-ar", std::to_string(rate),
                             "-write_bext", "1",       "-rf64", "auto"};
        const std::int64_t reference = timeReference(rate);
        if (reference >= 0)
            m_plan.soundApart.insert(m_plan.soundApart.end(),
                                     {"-metadata", "time_reference=" + std::to_string(reference)});
        m_plan.soundBytesPerSecond = std::int64_t(rate) * channels * bits / 8;
    }

    std::string soundInput() const { return m_clip.parts.size() > 1 ? "1" : "0"; }

    std::string startTimecode() const
    {
        return m_clip.link.startTimecode.empty() ? m_media.timecode : m_clip.link.startTimecode;
    }

    /// The start's timecode, counted at another rate; as it is when it is none.
    std::string timecodeAt(const FrameRate& rate) const
    {
        const FrameRate own = sourceRate();
        const std::string text = startTimecode();
        const auto frames = timecode::frames(text, own);
        if (!frames || std::abs(own.value() - rate.value()) < 0.001)
            return text;
        const bool isDrop = rate.denominator == 1001 && text.find(';') != std::string::npos;
        return timecode::text(std::llround(double(*frames) / own.value() * rate.value()), rate, isDrop);
    }

    /// Samples since midnight at \a rate; -1 when nobody knows.
    std::int64_t timeReference(int rate) const
    {
        const auto& link = m_clip.link;
        if (link.audioStart && link.audioStartRate > 0)
            return std::llround(double(*link.audioStart) * rate / link.audioStartRate);
        if (!m_media.timeReference.empty() && !m_sounds.empty())
            return std::llround(std::strtod(m_media.timeReference.c_str(), nullptr) * rate /
                                m_sounds.front()->sampleRate);
        const FrameRate own = m_picture ? sourceRate() : FrameRate();
        const auto frames = timecode::frames(startTimecode(), own);
        return frames ? std::llround(double(*frames) / own.value() * rate) : -1;
    }

    void planTags()
    {
        auto& tags = m_plan.tags;
        tags = {"-map_metadata", "-1", "-map_chapters", "-1"};
        const auto add = [&](const std::string& key, const std::string& value) {
            if (!value.empty())
                tags.insert(tags.end(), {"-metadata", key + '=' + value});
        };
        if (m_picture) {
            const std::string start = timecodeAt(m_plan.rate);
            add("timecode", start);
            if (start != startTimecode() && !startTimecode().empty())
                note("The timecode " + startTimecode() + " is " + start + " at the new rate");
        }
        const std::string reel = m_clip.link.reelName.empty() ? m_media.reelName : m_clip.link.reelName;
        add("reel_name", reel);
        if (!reel.empty() && m_picture)
            tags.insert(tags.end(), {"-metadata:s:v:0", "reel_name=" + reel});
        add("creation_time", m_media.created);
        if (m_media.created.size() >= 19) {
            add("origination_date", m_media.created.substr(0, 10));
            add("origination_time", m_media.created.substr(11, 8));
        }
    }

    const MediaOptions& m_options;
    const Clip& m_clip;
    const MediaFacts& m_media;
    const MediaCatalogue& m_catalogue;
    const StreamFacts* m_picture;
    const std::vector<const StreamFacts*> m_sounds;
    const Compression* m_codec = nullptr;
    const EncodingProfile* m_profile = nullptr;
    PictureTarget m_target;
    EncodingPlan m_plan;
};

} // namespace

Outcome<EncodingPlan> EncodingPlan::make(const MediaOptions& options, const Clip& clip,
                                         const MediaFacts& media, const MediaCatalogue& catalogue)
{
    return Planner(options, clip, media, catalogue).plan();
}

} // namespace krxservice

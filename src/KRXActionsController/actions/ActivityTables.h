#pragma once

#include "KRXFields.h"

/// What the activities of a profile hold: for the actions that write and read them and for whoever shows
/// them.
namespace ActivityTables {

/// A CopyToPathWidget: its path.
extern const KRXFields::Kind kPath;
/// A box of DestinationDrives: the volume that stands for it.
extern const KRXFields::Kind kVolume;
/// A CodecBox: the compression id; attribute "name" has the codec's display text.
extern const KRXFields::Kind kCompression;
/// As \ref kCompression, with what the host's media engine knows of the compression in further attributes.
extern const KRXFields::Kind kCompressionWithDescriptor;

/// The attribute with the codec's display text.
inline constexpr char kCompressionName[] = "name";

enum CopyField { CopyPath, RelinkAfterCopy, AutoCheckIn };
inline constexpr KRXFields::Field kCopyFields[] = {
    {"filesystemPath", &kPath},
    {"relinkAfterCopy", &KRXFields::kCheck},
    {"autoCheckin", &KRXFields::kCheck},
};
inline constexpr KRXFields::Section kCopy = {"destinationDetail", kCopyFields};

enum OutputField { VideoVolume, AudioVolume };
inline constexpr KRXFields::Field kOutputFields[] = {
    {"filesystemVideoVolume", &kVolume},
    {"filesystemAudioVolume", &kVolume},
};
/// The sections of video and audio stand inside this one.
inline constexpr KRXFields::Section kOutput = {"outputDetail", kOutputFields};

enum TranscodeField {
    TranscodeReformat,
    TranscodeColors,
    TranscodeProjectType,
    TranscodeColorSpace,
    TranscodeRaster,
    TranscodeEncodingProfile,
    TranscodeDebayer,
    TranscodeCompression
};
inline constexpr KRXFields::Field kTranscodeFields[] = {
    {"videoIncludeReformattedContent", &KRXFields::kCheck},
    {"applyColorTransformations", &KRXFields::kCheck},
    {"videoProjectType", &KRXFields::kComboText},
    {"videoColorSpace", &KRXFields::kComboText},
    {"videoRaster", &KRXFields::kComboText},
    {"encodingProfile", &KRXFields::kComboText},
    {"videoDebayerSetting", &KRXFields::kComboNumber},
    {"videoCompressionType", &kCompressionWithDescriptor},
};
inline constexpr KRXFields::Section kTranscode = {"outputTranscodeVideoProfile", kTranscodeFields};

enum ConsolidateField { SkipOnTarget, RelinkSkipped, TranscodeIfConsolidateFails };
inline constexpr KRXFields::Field kConsolidateFields[] = {
    {"videoSkipOnTarget", &KRXFields::kCheck},
    {"videoRelinkSkippedToTarget", &KRXFields::kCheck},
    {"performTranscodeIfConsolidateFails", &KRXFields::kCheck},
};
inline constexpr KRXFields::Section kConsolidate = {"outputConsolidateVideoProfile", kConsolidateFields};

/// What a consolidate action transcodes to when it must; in another order than a transcode action has it.
inline constexpr KRXFields::Field kFallbackFields[] = {
    {"videoCompressionType", &kCompression},
    {"videoProjectType", &KRXFields::kComboText},
    {"videoColorSpace", &KRXFields::kComboText},
    {"videoRaster", &KRXFields::kComboText},
    {"encodingProfile", &KRXFields::kComboText},
    {"videoDebayerSetting", &KRXFields::kComboNumber},
    {"videoIncludeReformattedContent", &KRXFields::kCheck},
    {"applyColorTransformations", &KRXFields::kCheck},
};
inline constexpr KRXFields::Section kFallback = {"transcodeOptions", kFallbackFields};

enum AudioField { AudioSampleRate, AudioSampleWidth, AudioFormatName, AudioFieldCount };
inline constexpr KRXFields::Field kAudioFields[AudioFieldCount] = {
    {"audioSampleRate", &KRXFields::kComboNumber, {}, "convertAudioSampleRate"},
    {"audioSampleWidth", &KRXFields::kComboNumber, {}, "convertAudioBitDepth"},
    {"audioFormat", &KRXFields::kComboText, {}, "convertAudioFormat"},
};
inline constexpr KRXFields::Section kAudio = {"outputAudioProfile", kAudioFields};

} // namespace ActivityTables

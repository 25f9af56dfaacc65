#pragma once

#include <set>
#include <string>

namespace krxservice {

/// Frames per second, as a fraction; no rate when the numerator is 0.
struct FrameRate
{
    long long numerator = 0;
    long long denominator = 1;

    bool isKnown() const { return numerator > 0 && denominator > 0; }
    double value() const
    {
        return isKnown() ? static_cast<double>(numerator) / static_cast<double>(denominator) : 0;
    }
    /// The rate by which a timecode counts: 30 for 29.97.
    long long nominal() const { return isKnown() ? (numerator + denominator / 2) / denominator : 0; }
    std::string text() const;

    /// Reads "25", "23.976", "30000/1001". What is written with three or five digits stands for the rates of
    /// television: 23.976 for 24000/1001. No rate for anything else.
    static FrameRate from(const std::string& text);
};

/// What the link settings of a profile say, with what holds for those that are missing.
struct LinkSettings
{
    enum class FrameCounting { Zero, One, Timecode, FileName };

    bool createsBin = false;
    std::string binNaming; ///< "DEFAULT", "VOLUME" or "EXPLICIT"
    std::string explicitBin;

    std::string pluginName;           ///< as people know it; empty when any plug-in will do
    std::set<std::string> extensions; ///< what it takes: lower case, without dots
    bool takesSequencesOnly = false;  ///< a plug-in for folders of pictures
    bool joinsAllPictures = false;    ///< numbered PNG and JPEG pictures are one clip, too

    std::string trackGroups; ///< as the host wrote it; "None" for none
    FrameRate audioRate;     ///< in which the start of a Broadcast Wave file is counted
    FrameRate stillRate;
    FrameRate defaultRate; ///< when the clip says none

    bool videoMostCompressed = false;
    bool audioMostCompressed = false;
    bool trustsKnownVolumes = false; ///< volumes that come back are not searched for changed files

    bool reelFromFolder = false;
    int reelLevel = 1; ///< 1 is the directory that holds the clip, up to 8
    FrameCounting frameCounting = FrameCounting::Zero;
    bool timecodeFromName = false;

    /// Reads a "profileSettings" element. A text that is none gives what holds without settings.
    static LinkSettings read(const std::string& element);

    /// True when the plug-in takes files with the extension of \a name. Of a plug-in for folders of pictures
    /// only the names of pictures.
    bool covers(const std::string& name) const;
};

} // namespace krxservice

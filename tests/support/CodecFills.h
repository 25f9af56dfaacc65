#pragma once

#include "CodecBox.h"
#include "StandInMedia.h"

#include <QComboBox>

/// The lists of a codec box as an editor has to fill them from the host's catalogue, in the plainest way.
/// What it is to choose among them, and whether it hears of the change, is up to the caller.
namespace CodecFills {

/// The compressions that fit the project type and the colour space of \a box.
inline void codecs(CodecBox* box)
{
    box->clear();
    for (const StandInHost::Compression& compression : StandInHost::compressionsFor(
             box->getProjectTypeBox()->currentData().toInt(), box->getColorSpaceBox()->currentData().toInt()))
        box->addItem(compression.name, compression.id);
}

/// The encoding profiles of the compression that \a box shows.
inline void encodingProfiles(const CodecBox* box)
{
    QComboBox* profiles = box->getEncodingProfileBox();
    profiles->clear();
    for (const StandInHost::Compression& compression : StandInHost::catalogue().compressions) {
        if (compression.id != box->currentData().toUInt())
            continue;
        for (const StandInHost::EncodingProfile& profile : compression.profiles)
            profiles->addItem(profile.name, profile.id);
    }
}

} // namespace CodecFills

#pragma once

#include <QString>

namespace Gallery {

/// Writes a picture of every page in both skins to \a directory, at the resolution that the program runs at:
/// gallery-settings-light.png, at twice the resolution gallery-settings-light@2x.png and so on.
/// \return false with a text in \a error when a picture could not be written.
bool writeShots(const QString& directory, QString& error);

/// Runs this program again for each resolution, because Qt takes it from the environment at start.
/// \return false with a text in \a error when one of the runs failed.
bool writeShotsAtAllResolutions(const QString& directory, QString& error);

} // namespace Gallery

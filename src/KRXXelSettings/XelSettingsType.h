#pragma once

/// The kinds of link-settings groups. The numbers are fixed.
enum XelSettingsType : int {
    PluginSettings = 0,
    BinsSettings = 1,
    QualitySettings = 2,
    LinkOptionsSettings = 3,
    VolumeMountingSettings = 4,
    ZorMetadataSettings = 5
};

#pragma once

#include "KRXFields.h"

#include <QtGlobal>

/// The tables of the link settings that are read in more than one place: by their group and by whoever shows
/// them. What only its group reads stands beside the group.
namespace XelTables {

enum BinSelection { UseActive, CreateNew };
inline constexpr KRXFields::Choice kBinSelections[] = {
    {QT_TRID_NOOP("Use Active Bin"), QT_TRID_NOOP("Use the Currently Active Bin to Store Linked Clips"),
     "USEACTIVE"},
    {QT_TRID_NOOP("Create New Bin"), QT_TRID_NOOP("Create New Bin to Store Linked Clips"), "CREATENEW"},
};

enum BinNaming { DefaultName, VolumeName, ExplicitName };
inline constexpr KRXFields::Choice kBinNamings[] = {
    {QT_TRID_NOOP("Default Bin Naming Convention"), QT_TRID_NOOP("Uses the Project Name for the Bin"),
     "DEFAULT"},
    {QT_TRID_NOOP("Volume Name"), QT_TRID_NOOP("Uses the Name or Label of the Volume"), "VOLUME"},
    {QT_TRID_NOOP("Specify bin name"), QT_TRID_NOOP("Lets You Enter a New Bin Name"), "EXPLICIT"},
};

/// Whether the bin gets a name of its own; \a bins is the widget of the bins group.
bool isBinNameExplicit(const QWidget* bins);

enum BinField { BinExplicitName, BinSelectionMethod, BinNamingMethod };
inline constexpr KRXFields::Field kBinFields[] = {
    {"binExplicitName", &KRXFields::kLineEdit, {}, nullptr, nullptr, isBinNameExplicit},
    {"binSelectionMethod", &KRXFields::kRadios, {kBinSelections, UseActive}},
    {"binNamingMethod", &KRXFields::kRadios, {kBinNamings}},
};
inline constexpr KRXFields::Section kBins = {"binDetail", kBinFields};

/// The label with the grouping of audio tracks.
extern const KRXFields::Kind kGrouping;
/// Stands for no grouping in documents.
inline constexpr char kNoGrouping[] = "None";

enum LinkField { MultichannelAudio, AudioStartTime, StillImageRate };
inline constexpr KRXFields::Field kLinkFields[] = {
    {"multichannelAudio", &kGrouping},
    {"xelAudioStartTimeOption", &KRXFields::kComboData},
    {"xelStillImageFPS", &KRXFields::kComboText},
};
/// The plug-in's section stands inside this one.
inline constexpr KRXFields::Section kLink = {"linkDetail", kLinkFields};

/// Object name of the box with the plug-ins, whose item gives both texts.
inline constexpr char kPluginBox[] = "xelPreferredPlugin";
enum PluginField { PluginName, PluginGuid };
inline constexpr KRXFields::Field kPluginFields[] = {
    {"xelPluginName", &KRXFields::kComboText, {}, nullptr, kPluginBox},
    {"xelPluginGUID", &KRXFields::kComboData, {}, nullptr, kPluginBox},
};
inline constexpr KRXFields::Section kPlugin = {"xelPreferredPluginDetail", kPluginFields};

/// The element of \ref kLink that the plug-in and the link options share: the first such child of \a parent
/// or a new one, moved to the end of the children in either case. The service expects it behind whatever was
/// written in between.
QDomElement linkDetailAtEnd(QDomDocument& doc, QDomElement& parent);

} // namespace XelTables

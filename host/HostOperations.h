#pragma once

#include "HostComponentFactory.h"
#include "HostCore.h"
#include "HostMediaEngine.h"
#include "HostQtShell.h"
#include "HostStatusShell.h"

#include <QtGlobal>

#include <cstdint>

/// Every operation of the four libraries, by library and name. The order is part of the binary interface: a
/// new operation goes to the end, and one that is no longer asked for stays where it is.
// clang-format off
#define KRX_HOST_OPERATIONS(KRX_OPERATION) \
    KRX_OPERATION(HostCore, translateText) \
    KRX_OPERATION(HostCore, unicodeFromMultibyte) \
    KRX_OPERATION(HostCore, localVolumeGroups) \
    KRX_OPERATION(HostCore, isVolumeUsable) \
    KRX_OPERATION(HostCore, volumeName) \
    KRX_OPERATION(HostCore, volumeIdentity) \
    KRX_OPERATION(HostCore, volumeInformation) \
    KRX_OPERATION(HostCore, isVolumeLocked) \
    KRX_OPERATION(HostMediaEngine, currentProjectType) \
    KRX_OPERATION(HostMediaEngine, compatibleProjectTypes) \
    KRX_OPERATION(HostMediaEngine, isProjectTypeEnabled) \
    KRX_OPERATION(HostMediaEngine, projectTypeName) \
    KRX_OPERATION(HostMediaEngine, hasSDVideoFormat) \
    KRX_OPERATION(HostMediaEngine, hasHDVideoFormat) \
    KRX_OPERATION(HostMediaEngine, frameDimensions) \
    KRX_OPERATION(HostMediaEngine, hasProjectUtilities) \
    KRX_OPERATION(HostMediaEngine, rasterOption) \
    KRX_OPERATION(HostMediaEngine, rasterWidths) \
    KRX_OPERATION(HostMediaEngine, currentRasterWidth) \
    KRX_OPERATION(HostMediaEngine, currentColorSpace) \
    KRX_OPERATION(HostMediaEngine, isValidColorSpace) \
    KRX_OPERATION(HostMediaEngine, rgbEncodeSupported) \
    KRX_OPERATION(HostMediaEngine, supportsRGB) \
    KRX_OPERATION(HostMediaEngine, currentTargetFormat) \
    KRX_OPERATION(HostMediaEngine, compatibleCustomFormats) \
    KRX_OPERATION(HostMediaEngine, isFormatDisabled) \
    KRX_OPERATION(HostMediaEngine, formatRate) \
    KRX_OPERATION(HostMediaEngine, formatShortDescription) \
    KRX_OPERATION(HostMediaEngine, findFormatByDescription) \
    KRX_OPERATION(HostMediaEngine, findFormat) \
    KRX_OPERATION(HostMediaEngine, findCompression) \
    KRX_OPERATION(HostMediaEngine, defaultCompressionId) \
    KRX_OPERATION(HostMediaEngine, audioFormatCount) \
    KRX_OPERATION(HostMediaEngine, nthAudioFormat) \
    KRX_OPERATION(HostMediaEngine, audioCreationType) \
    KRX_OPERATION(HostMediaEngine, sampleRateCount) \
    KRX_OPERATION(HostMediaEngine, nthSampleRate) \
    KRX_OPERATION(HostMediaEngine, sampleRateText) \
    KRX_OPERATION(HostMediaEngine, sampleSizeCount) \
    KRX_OPERATION(HostMediaEngine, nthSampleSize) \
    KRX_OPERATION(HostMediaEngine, projectSampleRate) \
    KRX_OPERATION(HostMediaEngine, projectAudioFileFormat) \
    KRX_OPERATION(HostMediaEngine, projectSampleSize) \
    KRX_OPERATION(HostMediaEngine, listLinkedMediaPlugins) \
    KRX_OPERATION(HostMediaEngine, channelGroupsFromText) \
    KRX_OPERATION(HostStatusShell, statusProgressReset) \
    KRX_OPERATION(HostStatusShell, statusProgressUpdate) \
    KRX_OPERATION(HostStatusShell, statusProgressClose) \
    KRX_OPERATION(HostStatusShell, showHelpTopic) \
    KRX_OPERATION(HostQtShell, showManagedMessageBox) \
    KRX_OPERATION(HostQtShell, chooseDirectory) \
    KRX_OPERATION(HostQtShell, paletteColor) \
    KRX_OPERATION(HostQtShell, highlightPaletteColor) \
    KRX_OPERATION(HostQtShell, paletteNumber) \
    KRX_OPERATION(HostQtShell, currentSkinIndex) \
    KRX_OPERATION(HostQtShell, iconTintColors) \
    KRX_OPERATION(HostQtShell, disabledAlpha) \
    KRX_OPERATION(HostQtShell, drawSkinnedIcon) \
    KRX_OPERATION(HostQtShell, drawSkinnedImage) \
    KRX_OPERATION(HostQtShell, skinnedIcon) \
    KRX_OPERATION(HostQtShell, skinnedPixmap) \
    KRX_OPERATION(HostQtShell, addDropShadowOverlay) \
    KRX_OPERATION(HostQtShell, holdNavigationPanes) \
    KRX_OPERATION(HostQtShell, releaseNavigationPanes)
// clang-format on

/// What a host implements, as one table of functions. The host hands it over once, at its start (see
/// krxTakeHost() in KRXHost.h), and so one build of the module serves every host: nothing of the host has to
/// be exported from a program, and an operation that a host lacks is told by its name before the first window
/// is there.
///
/// \a size says where a table ends. One that is longer than the module knows is taken, and its end left
/// alone. One that is shorter belongs to a host that was compiled before the operations behind its end were
/// added: the module answers those itself, as HostDefaults does. A null before the end is refused, because
/// the module asks for every operation.
struct HostOperations
{
    /// The size of the table in bytes, in the eyes of whoever made it.
    std::uint32_t size = sizeof(HostOperations);
    /// The major version of the Qt that texts, lists and widgets of this host are made of.
    std::uint32_t qtMajor = QT_VERSION_MAJOR;
    decltype(&::getComponentFactory) getComponentFactory = nullptr;
#define KRX_OPERATION(library, operation) decltype(&library::operation) library##_##operation = nullptr;
    KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
};

/// The table of everything that the program or library which calls this implements. An operation that it does
/// not implement is named by the linker.
inline HostOperations hostOperationsImplementedHere()
{
    HostOperations operations;
    operations.getComponentFactory = &::getComponentFactory;
#define KRX_OPERATION(library, operation) operations.library##_##operation = &library::operation;
    KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
    return operations;
}

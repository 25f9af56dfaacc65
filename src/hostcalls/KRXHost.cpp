#include "KRXHost.h"

#include "HostDefaults.h"

#include <QLoggingCategory>
#include <QStringList>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

Q_LOGGING_CATEGORY(logHost, "krx.host")

namespace {

struct Operation
{
    const char* name;
    /// Where its function stands in the table, in bytes.
    std::size_t place;
};

#define KRX_OPERATION(library, operation)                                                                    \
    {#library "::" #operation, offsetof(HostOperations, library##_##operation)},
constexpr Operation kOperations[] = {{"getComponentFactory", offsetof(HostOperations, getComponentFactory)},
                                     KRX_HOST_OPERATIONS(KRX_OPERATION)};
#undef KRX_OPERATION

constexpr std::size_t kFunctionSize = sizeof(void*);
static_assert(sizeof(&HostCore::translateText) == kFunctionSize);

/// Every table says at least its size and its Qt.
constexpr std::size_t kSmallestTable = offsetof(HostOperations, getComponentFactory);

/// What the host handed over. Constant at the start, so that it may be taken before any constructor ran.
HostOperations taken;
bool isTaken = false;

/// Whether a table says that its host has the same Qt, so that texts may cross. One that is none, or too
/// short to say, may be of any.
bool isOfThisQt(const HostOperations* operations)
{
    return operations && operations->size >= kSmallestTable && operations->qtMajor == QT_VERSION_MAJOR;
}

bool isBehindTheEnd(const Operation& operation, std::size_t size)
{
    return operation.place + kFunctionSize > size;
}

bool isNull(const HostOperations& table, const Operation& operation)
{
    constexpr char none[kFunctionSize] = {};
    return std::memcmp(reinterpret_cast<const char*>(&table) + operation.place, none, kFunctionSize) == 0;
}

/// What the module works with: all that the table has, and behind its end the answers of a host that has
/// nothing of its own. What a newer table has besides is nothing that this module knows.
HostOperations completed(const HostOperations& operations)
{
    HostOperations whole = HostDefaults::operations();
    for (const Operation& operation : kOperations) {
        if (!isBehindTheEnd(operation, operations.size))
            std::memcpy(reinterpret_cast<char*>(&whole) + operation.place,
                        reinterpret_cast<const char*>(&operations) + operation.place, kFunctionSize);
    }
    return whole;
}

QString nameList(const QStringList& names)
{
    return names.join(QLatin1String(", "));
}

/// \return what is wrong with the table, one sentence; empty when all is well.
QString refusal(const HostOperations* operations)
{
    if (!operations)
        return QStringLiteral("KRX Folders was given no table of host operations.");
    if (operations->size < kSmallestTable)
        return QStringLiteral("KRX Folders was given a table of host operations whose size is %1; begin with "
                              "\"HostOperations host;\" or HostDefaults::operations().")
            .arg(operations->size);
    if (operations->qtMajor != QT_VERSION_MAJOR) {
        return QStringLiteral("KRX Folders is built with Qt %1, and the host with Qt %2.")
            .arg(QT_VERSION_MAJOR)
            .arg(operations->qtMajor);
    }
    const HostOperations whole = completed(*operations);
    QStringList missing;
    for (const Operation& operation : kOperations) {
        if (isNull(whole, operation))
            missing.append(QLatin1String(operation.name));
    }
    if (!missing.isEmpty())
        return QStringLiteral("KRX Folders asks for what this host does not have: %1.")
            .arg(nameList(missing));
    if (isTaken && std::memcmp(reinterpret_cast<const char*>(&taken) + kSmallestTable,
                               reinterpret_cast<const char*>(&whole) + kSmallestTable,
                               sizeof taken - kSmallestTable) != 0)
        return QStringLiteral("KRX Folders has a host already.");
    return {};
}

[[noreturn]] void goWithout(std::size_t place)
{
    const auto* asked = std::find_if(std::begin(kOperations), std::end(kOperations),
                                     [place](const Operation& each) { return each.place == place; });
    qFatal("KRX Folders has no host: krxTakeHost() comes before everything else of the module. "
           "It was about to ask for %s.",
           asked->name);
    Q_UNREACHABLE();
}

/// The host's function that stands in a place of the table.
template <class Function>
Function ask(Function HostOperations::*member)
{
    if (Q_UNLIKELY(!isTaken)) {
        const auto* place = reinterpret_cast<const char*>(&(taken.*member));
        goWithout(std::size_t(place - reinterpret_cast<const char*>(&taken)));
    }
    return taken.*member;
}

} // namespace

extern "C" bool krxTakeHost(const HostOperations* operations, QString* why)
{
    const QString wrong = refusal(operations);
    if (!wrong.isEmpty()) {
        qCCritical(logHost).noquote() << wrong;
        // A text of another Qt is made otherwise inside.
        if (why && isOfThisQt(operations))
            *why = wrong;
        return false;
    }
    taken = completed(*operations);
    isTaken = true;
    QStringList younger;
    for (const Operation& operation : kOperations) {
        if (isBehindTheEnd(operation, operations->size))
            younger.append(QLatin1String(operation.name));
    }
    if (!younger.isEmpty()) {
        qCInfo(logHost).noquote()
            << QStringLiteral("This host is older than KRX Folders, which answers in its place: %1.")
                   .arg(nameList(younger));
    }
    return true;
}

// The module's side of host/: each operation goes to the host that was taken.

extern "C" HostStatus getComponentFactory(const HostIdentifier& factoryId, IHostComponentFactory** out)
{
    return ask(&HostOperations::getComponentFactory)(factoryId, out);
}

QString HostCore::translateText(const QString& english)
{
    return ask(&HostOperations::HostCore_translateText)(english);
}

QString HostCore::unicodeFromMultibyte(const char* text)
{
    return ask(&HostOperations::HostCore_unicodeFromMultibyte)(text);
}

bool HostCore::localVolumeGroups(QList<VolumeGroup>& groups)
{
    return ask(&HostOperations::HostCore_localVolumeGroups)(groups);
}

bool HostCore::isVolumeUsable(VolumeHandle volume)
{
    return ask(&HostOperations::HostCore_isVolumeUsable)(volume);
}

QString HostCore::volumeName(VolumeHandle volume, int maxLength)
{
    return ask(&HostOperations::HostCore_volumeName)(volume, maxLength);
}

bool HostCore::volumeIdentity(VolumeHandle volume, VolumeIdentity& identity)
{
    return ask(&HostOperations::HostCore_volumeIdentity)(volume, identity);
}

bool HostCore::volumeInformation(const VolumeIdentity& identity, VolumeInformation& information)
{
    return ask(&HostOperations::HostCore_volumeInformation)(identity, information);
}

bool HostCore::isVolumeLocked(VolumeHandle volume)
{
    return ask(&HostOperations::HostCore_isVolumeLocked)(volume);
}

int HostMediaEngine::currentProjectType()
{
    return ask(&HostOperations::HostMediaEngine_currentProjectType)();
}

QList<int> HostMediaEngine::compatibleProjectTypes(int current, int maxCount)
{
    return ask(&HostOperations::HostMediaEngine_compatibleProjectTypes)(current, maxCount);
}

bool HostMediaEngine::isProjectTypeEnabled(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_isProjectTypeEnabled)(projectType);
}

QString HostMediaEngine::projectTypeName(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_projectTypeName)(projectType);
}

bool HostMediaEngine::hasSDVideoFormat(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_hasSDVideoFormat)(projectType);
}

bool HostMediaEngine::hasHDVideoFormat(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_hasHDVideoFormat)(projectType);
}

QSize HostMediaEngine::frameDimensions(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_frameDimensions)(projectType);
}

bool HostMediaEngine::hasProjectUtilities()
{
    return ask(&HostOperations::HostMediaEngine_hasProjectUtilities)();
}

int HostMediaEngine::rasterOption()
{
    return ask(&HostOperations::HostMediaEngine_rasterOption)();
}

QList<int> HostMediaEngine::rasterWidths(int projectType, int option, int maxCount)
{
    return ask(&HostOperations::HostMediaEngine_rasterWidths)(projectType, option, maxCount);
}

int HostMediaEngine::currentRasterWidth()
{
    return ask(&HostOperations::HostMediaEngine_currentRasterWidth)();
}

int HostMediaEngine::currentColorSpace()
{
    return ask(&HostOperations::HostMediaEngine_currentColorSpace)();
}

bool HostMediaEngine::isValidColorSpace(int projectType, int colorSpace)
{
    return ask(&HostOperations::HostMediaEngine_isValidColorSpace)(projectType, colorSpace);
}

bool HostMediaEngine::rgbEncodeSupported()
{
    return ask(&HostOperations::HostMediaEngine_rgbEncodeSupported)();
}

bool HostMediaEngine::supportsRGB(int projectType)
{
    return ask(&HostOperations::HostMediaEngine_supportsRGB)(projectType);
}

quint32 HostMediaEngine::currentTargetFormat()
{
    return ask(&HostOperations::HostMediaEngine_currentTargetFormat)();
}

QList<HostMediaEngine::CustomFormat> HostMediaEngine::compatibleCustomFormats(quint32 targetFormat)
{
    return ask(&HostOperations::HostMediaEngine_compatibleCustomFormats)(targetFormat);
}

bool HostMediaEngine::isFormatDisabled(const CustomFormat& format)
{
    return ask(&HostOperations::HostMediaEngine_isFormatDisabled)(format);
}

HostMediaEngine::FrameRate HostMediaEngine::formatRate(const CustomFormat& format)
{
    return ask(&HostOperations::HostMediaEngine_formatRate)(format);
}

QString HostMediaEngine::formatShortDescription(const CustomFormat& format)
{
    return ask(&HostOperations::HostMediaEngine_formatShortDescription)(format);
}

bool HostMediaEngine::findFormatByDescription(const QString& description, CustomFormat& format)
{
    return ask(&HostOperations::HostMediaEngine_findFormatByDescription)(description, format);
}

bool HostMediaEngine::findFormat(quint32 identifier, CustomFormat& format)
{
    return ask(&HostOperations::HostMediaEngine_findFormat)(identifier, format);
}

bool HostMediaEngine::findCompression(quint32 id, CompressionDescriptor& descriptor)
{
    return ask(&HostOperations::HostMediaEngine_findCompression)(id, descriptor);
}

quint32 HostMediaEngine::defaultCompressionId()
{
    return ask(&HostOperations::HostMediaEngine_defaultCompressionId)();
}

int HostMediaEngine::audioFormatCount(int settingType)
{
    return ask(&HostOperations::HostMediaEngine_audioFormatCount)(settingType);
}

int HostMediaEngine::nthAudioFormat(int index, int settingType)
{
    return ask(&HostOperations::HostMediaEngine_nthAudioFormat)(index, settingType);
}

int HostMediaEngine::audioCreationType(int settingType)
{
    return ask(&HostOperations::HostMediaEngine_audioCreationType)(settingType);
}

int HostMediaEngine::sampleRateCount(int settingType)
{
    return ask(&HostOperations::HostMediaEngine_sampleRateCount)(settingType);
}

int HostMediaEngine::nthSampleRate(int index, int settingType)
{
    return ask(&HostOperations::HostMediaEngine_nthSampleRate)(index, settingType);
}

const char* HostMediaEngine::sampleRateText(int rate)
{
    return ask(&HostOperations::HostMediaEngine_sampleRateText)(rate);
}

int HostMediaEngine::sampleSizeCount(int settingType)
{
    return ask(&HostOperations::HostMediaEngine_sampleSizeCount)(settingType);
}

int HostMediaEngine::nthSampleSize(int index, int settingType)
{
    return ask(&HostOperations::HostMediaEngine_nthSampleSize)(index, settingType);
}

int HostMediaEngine::projectSampleRate()
{
    return ask(&HostOperations::HostMediaEngine_projectSampleRate)();
}

int HostMediaEngine::projectAudioFileFormat(int kind)
{
    return ask(&HostOperations::HostMediaEngine_projectAudioFileFormat)(kind);
}

int HostMediaEngine::projectSampleSize(int settingType)
{
    return ask(&HostOperations::HostMediaEngine_projectSampleSize)(settingType);
}

QList<HostMediaEngine::LinkedMediaPlugin> HostMediaEngine::listLinkedMediaPlugins()
{
    return ask(&HostOperations::HostMediaEngine_listLinkedMediaPlugins)();
}

HostMediaEngine::ChannelGroups HostMediaEngine::channelGroupsFromText(const QString& text)
{
    return ask(&HostOperations::HostMediaEngine_channelGroupsFromText)(text);
}

void HostStatusShell::statusProgressReset()
{
    return ask(&HostOperations::HostStatusShell_statusProgressReset)();
}

void HostStatusShell::statusProgressUpdate(const QString& text, int current, int total)
{
    return ask(&HostOperations::HostStatusShell_statusProgressUpdate)(text, current, total);
}

void HostStatusShell::statusProgressClose()
{
    return ask(&HostOperations::HostStatusShell_statusProgressClose)();
}

void HostStatusShell::showHelpTopic(const QString& topic, int flag)
{
    return ask(&HostOperations::HostStatusShell_showHelpTopic)(topic, flag);
}

QMessageBox::StandardButton HostQtShell::showManagedMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                                               const QString& title, const QString& text,
                                                               QMessageBox::StandardButtons buttons,
                                                               QMessageBox::StandardButton defaultButton)
{
    return ask(&HostOperations::HostQtShell_showManagedMessageBox)(parent, icon, title, text, buttons,
                                                                   defaultButton);
}

QString HostQtShell::chooseDirectory(QWidget* parent, const QString& caption, const QString& start)
{
    return ask(&HostOperations::HostQtShell_chooseDirectory)(parent, caption, start);
}

QColor HostQtShell::paletteColor(const QString& name)
{
    return ask(&HostOperations::HostQtShell_paletteColor)(name);
}

QColor HostQtShell::highlightPaletteColor(const QString& name)
{
    return ask(&HostOperations::HostQtShell_highlightPaletteColor)(name);
}

quint16 HostQtShell::paletteNumber(const QString& name)
{
    return ask(&HostOperations::HostQtShell_paletteNumber)(name);
}

int HostQtShell::currentSkinIndex()
{
    return ask(&HostOperations::HostQtShell_currentSkinIndex)();
}

HostQtShell::IconTintColors HostQtShell::iconTintColors()
{
    return ask(&HostOperations::HostQtShell_iconTintColors)();
}

int HostQtShell::disabledAlpha(bool isDisabled)
{
    return ask(&HostOperations::HostQtShell_disabledAlpha)(isDisabled);
}

void HostQtShell::drawSkinnedIcon(QPainter* painter, const QRect& rect, const QString& iconId,
                                  const QString& group, const IconTintColors& colors, int alpha,
                                  IconVariant variant)
{
    return ask(&HostOperations::HostQtShell_drawSkinnedIcon)(painter, rect, iconId, group, colors, alpha,
                                                             variant);
}

void HostQtShell::drawSkinnedImage(QPainter* painter, const QRect& rect, const QPixmap& image,
                                   const IconTintColors& colors, int alpha)
{
    return ask(&HostOperations::HostQtShell_drawSkinnedImage)(painter, rect, image, colors, alpha);
}

QIcon HostQtShell::skinnedIcon(const QString& iconId, const QString& group)
{
    return ask(&HostOperations::HostQtShell_skinnedIcon)(iconId, group);
}

QPixmap HostQtShell::skinnedPixmap(const QString& iconId, const QString& group)
{
    return ask(&HostOperations::HostQtShell_skinnedPixmap)(iconId, group);
}

QWidget* HostQtShell::addDropShadowOverlay(QAbstractScrollArea* area)
{
    return ask(&HostOperations::HostQtShell_addDropShadowOverlay)(area);
}

void HostQtShell::holdNavigationPanes()
{
    return ask(&HostOperations::HostQtShell_holdNavigationPanes)();
}

void HostQtShell::releaseNavigationPanes()
{
    return ask(&HostOperations::HostQtShell_releaseNavigationPanes)();
}

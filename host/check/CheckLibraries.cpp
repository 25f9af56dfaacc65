#include "HostCheck.h"

#include <QFileInfo>
#include <QSet>
#include <QUuid>

#include <thread>

namespace {

constexpr int kMost = 3;
constexpr quint32 kNoCompression = 0xFFFFFFFEu;

QString quoted(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

/// A list of the engine's that is read by its length and then one by one.
struct Counted
{
    const char* name;
    int (*count)(int);
    int (*nth)(int, int);
};

void checkFormats(const HostOperations& host, HostFindings& findings)
{
    using HostMediaEngine::CustomFormat;
    CustomFormat found;
    findings.expect(!host.HostMediaEngine_findFormat(0, found),
                    QStringLiteral("findFormat() finds the format 0, which is none"));
    findings.expect(
        !host.HostMediaEngine_findFormatByDescription(QStringLiteral("no format is called this"), found),
        QStringLiteral("findFormatByDescription() finds what there is not"));
    const quint32 target = host.HostMediaEngine_currentTargetFormat();
    const QList<CustomFormat> formats = host.HostMediaEngine_compatibleCustomFormats(target);
    if (formats.isEmpty())
        findings.none(QStringLiteral("custom formats"));
    for (const CustomFormat& format : formats) {
        const QString name = host.HostMediaEngine_formatShortDescription(format);
        const QString which = QStringLiteral("the format %1 (%2)").arg(format.identifier).arg(name);
        // Any answer will do.
        host.HostMediaEngine_isFormatDisabled(format);
        findings.expect(host.HostMediaEngine_formatRate(format).denominator != 0,
                        which + QStringLiteral(" has a rate that divides by 0"));
        findings.expect(host.HostMediaEngine_findFormat(format.identifier, found) &&
                            found.identifier == format.identifier,
                        which + QStringLiteral(" is not found by its identifier"));
        findings.expect(host.HostMediaEngine_findFormatByDescription(name, found) &&
                            found.identifier == format.identifier,
                        which + QStringLiteral(" is not found by its description"));
    }
}

void checkProjectType(const HostOperations& host, int type, HostFindings& findings)
{
    const QString which =
        QStringLiteral("the project type %1 (%2)").arg(type).arg(host.HostMediaEngine_projectTypeName(type));
    const int option = host.HostMediaEngine_hasProjectUtilities() ? host.HostMediaEngine_rasterOption() : 0;
    const QList<int> widths = host.HostMediaEngine_rasterWidths(type, option, kMost);
    findings.expect(widths.size() <= kMost, which + QStringLiteral(" offers more rasters than asked for"));
    for (int width : widths)
        findings.expect(width > 0, which + QStringLiteral(" offers a raster without a width"));
    const bool hasFormat =
        host.HostMediaEngine_hasSDVideoFormat(type) || host.HostMediaEngine_hasHDVideoFormat(type);
    findings.expect(!hasFormat || host.HostMediaEngine_frameDimensions(type).isValid(),
                    which + QStringLiteral(" has a video format and no frame"));
    // Asked for each type that is offered; any answer will do.
    host.HostMediaEngine_isValidColorSpace(type, 2);
    host.HostMediaEngine_supportsRGB(type);
}

void checkAudio(const HostOperations& host, HostFindings& findings)
{
    const Counted lists[] = {
        {"audio formats", host.HostMediaEngine_audioFormatCount, host.HostMediaEngine_nthAudioFormat},
        {"sample rates", host.HostMediaEngine_sampleRateCount, host.HostMediaEngine_nthSampleRate},
        {"sample sizes", host.HostMediaEngine_sampleSizeCount, host.HostMediaEngine_nthSampleSize},
    };
    for (const Counted& list : lists) {
        const int count = list.count(0);
        if (count == 0)
            findings.none(QLatin1String(list.name));
        findings.expect(count >= 0,
                        QStringLiteral("the number of %1 is negative").arg(QLatin1String(list.name)));
        QSet<int> seen;
        for (int index = 0; index < count; ++index)
            seen.insert(list.nth(index, 0));
        findings.expect(seen.size() == qMax(count, 0),
                        QStringLiteral("the list of %1 has one twice").arg(QLatin1String(list.name)));
    }
    for (int index = 0; index < host.HostMediaEngine_sampleRateCount(0); ++index) {
        const int rate = host.HostMediaEngine_nthSampleRate(index, 0);
        const QString text = host.HostCore_unicodeFromMultibyte(host.HostMediaEngine_sampleRateText(rate));
        findings.expect(!text.isEmpty(), QStringLiteral("the sample rate %1 has no text").arg(rate));
    }
    // An unknown rate has no text, and asking for it does no harm.
    host.HostMediaEngine_sampleRateText(-1);
    host.HostMediaEngine_audioCreationType(0);
    findings.expect(host.HostMediaEngine_projectSampleRate() >= 0,
                    QStringLiteral("projectSampleRate() is negative"));
    host.HostMediaEngine_projectAudioFileFormat(0);
    host.HostMediaEngine_projectSampleSize(0);
}

} // namespace

namespace HostCheck {

void checkTable(const HostOperations& host, HostFindings& findings)
{
    findings.expect(host.getComponentFactory != nullptr, QStringLiteral("getComponentFactory"));
#define KRX_OPERATION(library, operation)                                                                    \
    findings.expect(host.library##_##operation != nullptr, QStringLiteral(#library "::" #operation));
    KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
}

void checkTexts(const HostOperations& host, HostFindings& findings)
{
    const QString unknown = QStringLiteral("A text that nobody ever translated");
    findings.expect(host.HostCore_translateText(unknown) == unknown,
                    QStringLiteral("translateText() does not give an unknown text back as it is"));
    findings.expect(host.HostCore_translateText(QString()).isEmpty(),
                    QStringLiteral("translateText() makes something of an empty text"));
    // Any thread may ask.
    QString elsewhere;
    std::thread([&] { elsewhere = host.HostCore_translateText(unknown); }).join();
    findings.expect(elsewhere == unknown, QStringLiteral("translateText() differs from thread to thread"));
    findings.expect(host.HostCore_unicodeFromMultibyte(nullptr).isEmpty(),
                    QStringLiteral("unicodeFromMultibyte() makes something of null"));
    findings.expect(host.HostCore_unicodeFromMultibyte("48 kHz") == QLatin1String("48 kHz"),
                    QStringLiteral("unicodeFromMultibyte() changes plain text"));
}

void checkVolumes(const HostOperations& host, HostFindings& findings)
{
    QList<HostCore::VolumeGroup> groups;
    if (!host.HostCore_localVolumeGroups(groups) || groups.isEmpty()) {
        findings.none(QStringLiteral("volumes"));
        return;
    }
    for (const HostCore::VolumeGroup& group : qAsConst(groups)) {
        for (HostCore::VolumeHandle volume : group) {
            host.HostCore_isVolumeLocked(volume);
            if (!host.HostCore_isVolumeUsable(volume))
                continue;
            const QString name = host.HostCore_volumeName(volume, HostCore::kMaxVolumeNameLength);
            findings.expect(name.size() <= HostCore::kMaxVolumeNameLength,
                            QStringLiteral("volumeName() is longer than asked for: ") + name);
            findings.expect(host.HostCore_volumeName(volume, 1).size() <= 1,
                            QStringLiteral("volumeName() is not cut to one character: ") + name);
            HostCore::VolumeIdentity identity;
            HostCore::VolumeInformation information;
            if (!host.HostCore_volumeIdentity(volume, identity) ||
                !host.HostCore_volumeInformation(identity, information)) {
                findings.none(QStringLiteral("information on the volume ") + quoted(name));
                continue;
            }
            const QString& path = information.path;
            findings.expect(path == QLatin1String("/") || !path.endsWith(QLatin1Char('/')),
                            QStringLiteral("the path of a volume ends with a separator: ") + path);
            findings.expect(QFileInfo(path).isAbsolute(),
                            QStringLiteral("the path of a volume is not absolute: ") + quoted(path));
        }
    }
}

void checkMediaEngine(const HostOperations& host, HostFindings& findings)
{
    const int current = host.HostMediaEngine_currentProjectType();
    findings.expect(host.HostMediaEngine_compatibleProjectTypes(current, 1).size() <= 1,
                    QStringLiteral("compatibleProjectTypes() gives more than asked for"));
    QSet<QString> names;
    int offered = 0;
    for (int type : host.HostMediaEngine_compatibleProjectTypes(current, kMost)) {
        if (!host.HostMediaEngine_isProjectTypeEnabled(type))
            continue;
        ++offered;
        names.insert(host.HostMediaEngine_projectTypeName(type));
        checkProjectType(host, type, findings);
    }
    if (offered == 0)
        findings.none(QStringLiteral("project types"));
    findings.expect(names.size() == offered && !names.contains(QString()),
                    QStringLiteral("project types that are offered lack a name, or share one"));
    host.HostMediaEngine_currentRasterWidth();
    host.HostMediaEngine_currentColorSpace();
    host.HostMediaEngine_rgbEncodeSupported();
    checkFormats(host, findings);

    HostMediaEngine::CompressionDescriptor descriptor;
    if (!host.HostMediaEngine_findCompression(host.HostMediaEngine_defaultCompressionId(), descriptor))
        findings.none(QStringLiteral("a compression to start with"));
    findings.expect(!host.HostMediaEngine_findCompression(kNoCompression, descriptor),
                    QStringLiteral("findCompression() finds what there is not"));
    checkAudio(host, findings);

    const QList<HostMediaEngine::LinkedMediaPlugin> plugins = host.HostMediaEngine_listLinkedMediaPlugins();
    if (plugins.isEmpty())
        findings.none(QStringLiteral("plug-ins that link media"));
    for (const HostMediaEngine::LinkedMediaPlugin& plugin : plugins) {
        const bool isBraced =
            plugin.guid.startsWith(QLatin1Char('{')) && !QUuid::fromString(plugin.guid).isNull();
        findings.expect(isBraced,
                        QStringLiteral("the plug-in %1 has no GUID in braces").arg(quoted(plugin.name)));
    }
    const QString odd = QStringLiteral("no grouping that anybody can parse");
    const HostMediaEngine::ChannelGroups groups = host.HostMediaEngine_channelGroupsFromText(odd);
    findings.expect(groups.persistentText == odd,
                    QStringLiteral("channelGroupsFromText() does not keep a text that it cannot parse"));
    findings.expect(!groups.displayText.isEmpty(),
                    QStringLiteral("channelGroupsFromText() shows nothing for a text that it cannot parse"));
}

} // namespace HostCheck

#include "KRXSummaryRows.h"

#include "ActionType.h"
#include "ActivityTables.h"
#include "HostMediaEngine.h"
#include "KRXText.h"
#include "XelTables.h"

#include <iterator>

using namespace ActivityTables;
using namespace XelTables;
using KRXText::localised;

namespace {

/// What a person reads of the naming of bins, by the rows of the choices; a bin's own name stands for itself.
constexpr const char* kNamingTexts[] = {QT_TRID_NOOP("Default Bin Name"), QT_TRID_NOOP("Volume Name"), ""};
static_assert(std::size(kNamingTexts) == std::size(kBinNamings));

/// A labelled line. The label and the value go in together, so that a "%2" in the label stays as it is.
QString labelledLine(const QString& label, const QString& value)
{
    return QStringLiteral("%1 : %2\n").arg(label, value);
}

/// A line of \a text; nothing when \a text is empty.
QString optionalLine(const QString& text)
{
    return text.isEmpty() ? QString() : QStringLiteral("%1\n").arg(text);
}

} // namespace

KRXSummaryBinsRow::KRXSummaryBinsRow(const QDomDocument& doc)
{
    KRXFields::forEach(KRXFields::findSection(doc, kBins), kBinFields,
                       [this](int row, const QDomElement& child) {
                           const QString text = child.text();
                           const int choice = kBinFields[row].choices.rowOf(text);
                           switch (row) {
                           case BinSelectionMethod:
                               m_selection = choice == CreateNew ? localised("Create a new Bin : ")
                                                                 : localised("Use Active Bin");
                               break;
                           case BinNamingMethod:
                               if (choice != KRXFields::kKeepWhenUnknown)
                                   m_naming = choice;
                               break;
                           case BinExplicitName:
                               m_explicitName = text;
                               break;
                           }
                       });
}

QString KRXSummaryBinsRow::detail() const
{
    QString naming;
    if (m_naming == ExplicitName)
        naming = m_explicitName;
    else if (m_naming != KRXFields::kKeepWhenUnknown)
        naming = localised(kNamingTexts[m_naming]);
    // No separator, and the naming follows for the active bin too: users know these texts.
    return QStringLiteral("%1%2").arg(m_selection, naming);
}

KRXSummaryLinkRow::KRXSummaryLinkRow(const QDomDocument& doc)
{
    const QDomElement link = KRXFields::findSection(doc, kLink);
    KRXFields::forEach(link, kLinkFields, [this](int row, const QDomElement& child) {
        const QString text = child.text();
        if (row == MultichannelAudio) {
            m_grouping = text == QLatin1String(kNoGrouping)
                             ? text
                             : HostMediaEngine::channelGroupsFromText(text).displayText;
        } else if (row == AudioStartTime) {
            m_audioStartTime = text;
        }
    });
    m_plugin =
        KRXFields::textOf(link.lastChildElement(QLatin1String(kPlugin.element)), kPluginFields[PluginName]);
}

QString KRXSummaryLinkRow::detail() const
{
    const QString grouping = labelledLine(localised("Multichannel Audio"), m_grouping);
    const QString startTime = labelledLine(localised("Audio timecode rate"), m_audioStartTime);
    const QString plugin = labelledLine(localised("Link using"), m_plugin);
    return grouping + startTime + plugin;
}

KRXSummaryCopyRow::KRXSummaryCopyRow(const QDomElement& activity)
{
    KRXFields::forEach(KRXFields::findSection(activity, kCopy), kCopyFields,
                       [this](int row, const QDomElement& child) {
                           const QString text = child.text();
                           if (row == CopyPath)
                               m_path = text;
                           else if (row == RelinkAfterCopy && KRXFields::isTrue(text))
                               m_relink = localised("Auto Relink when complete");
                           else if (row == AutoCheckIn && KRXFields::isTrue(text))
                               m_checkIn = localised("Checkin to Ledgerhouse");
                       });
}

QString KRXSummaryCopyRow::detail() const
{
    return labelledLine(localised("Auto copy to"), m_path) + optionalLine(m_checkIn) + optionalLine(m_relink);
}

KRXSummaryAudio::KRXSummaryAudio(const QDomElement& activity)
{
    KRXFields::forEach(KRXFields::findSection(activity, kAudio), kAudioFields,
                       [this](int row, const QDomElement& child) {
                           if (KRXFields::isEnabled(child))
                               m_values[row] = child.text();
                       });
}

QString KRXSummaryAudio::lines() const
{
    // The first two labels end in a colon of their own and so show two; users know these texts.
    static constexpr const char* labels[AudioFieldCount] = {QT_TRID_NOOP("Convert Audio Sample Rate : "),
                                                            QT_TRID_NOOP("Convert Audio Bit Depth : "),
                                                            QT_TRID_NOOP("Convert Audio Format")};
    QString lines;
    for (int row = 0; row < AudioFieldCount; ++row) {
        if (!m_values[row].isEmpty())
            lines += labelledLine(localised(labels[row]), m_values[row]);
    }
    return lines;
}

KRXSummaryTranscodeRow::KRXSummaryTranscodeRow(const QDomElement& activity)
    : m_audio(activity)
{
    const QDomElement output = KRXFields::findSection(activity, kOutput);
    m_videoVolume = KRXFields::textOf(output, kOutputFields[VideoVolume]);
    m_audioVolume = KRXFields::textOf(output, kOutputFields[AudioVolume]);
    const QDomElement video = KRXFields::findSection(activity, kTranscode);
    KRXFields::forEach(video, kTranscodeFields, [this](int row, const QDomElement& child) {
        const bool isOn = KRXFields::isTrue(child.text());
        if (row == TranscodeReformat && isOn)
            m_reformat = localised("Apply Reformatting option (compatibility mode)");
        else if (row == TranscodeColors)
            m_colour = isOn ? localised("Apply color transformations (compatibility mode)") : QString();
        else if (row == TranscodeCompression)
            m_compression = child.attribute(QLatin1String(kCompressionName));
    });
}

QString KRXSummaryTranscodeRow::detail() const
{
    QString text = QStringLiteral("Video: %1\n").arg(m_compression);
    text += optionalLine(m_reformat);
    text += optionalLine(m_colour);
    text += m_audio.lines();
    text += localised("Video Volume : %1   Audio Volume : %2").arg(m_videoVolume, m_audioVolume);
    return text;
}

KRXSummaryConsolidateRow::KRXSummaryConsolidateRow(const QDomElement& activity)
    : m_audio(activity)
{
    const QDomElement video = KRXFields::findSection(activity, kConsolidate);
    KRXFields::forEach(video, kConsolidateFields, [this](int row, const QDomElement& child) {
        if (!KRXFields::isTrue(child.text()))
            return;
        if (row == SkipOnTarget)
            m_skip = localised("Skip Media Already On Target Drive");
        else if (row == RelinkSkipped)
            m_relinkSkipped = localised("Relink selected clips to target drive before skipping");
    });
}

QString KRXSummaryConsolidateRow::detail() const
{
    return optionalLine(m_skip) + optionalLine(m_relinkSkipped) + m_audio.lines();
}

std::unique_ptr<IKRXSummaryRow> makeSummaryRow(const QDomElement& activity)
{
    switch (actionTypeFromId(activity.attribute(QStringLiteral("id")))) {
    case ActionType::Copy:
        return std::make_unique<KRXSummaryCopyRow>(activity);
    case ActionType::Transcode:
        return std::make_unique<KRXSummaryTranscodeRow>(activity);
    case ActionType::Consolidate:
        return std::make_unique<KRXSummaryConsolidateRow>(activity);
    case ActionType::Unknown:
        break;
    }
    return nullptr;
}

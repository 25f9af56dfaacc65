#include "KRXSummaryRows.h"

#include "HostMediaEngine.h"
#include "KRXText.h"
#include "KRXXml.h"

using KRXText::localised;

namespace {

const QLatin1String kTrue("true");
/// Stands for "named by the user" until the text is put together.
const QLatin1String kExplicitNaming("EXPLICIT");

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
    for (const QDomElement& child :
         KRXXml::childElements(KRXXml::firstElement(doc, QStringLiteral("binDetail")))) {
        const QString tag = child.tagName();
        const QString text = child.text();
        if (tag == QLatin1String("binSelectionMethod")) {
            m_selection = text == QLatin1String("CREATENEW") ? localised("Create a new Bin : ")
                                                             : localised("Use Active Bin");
        } else if (tag == QLatin1String("binNamingMethod")) {
            if (text == QLatin1String("DEFAULT"))
                m_naming = localised("Default Bin Name");
            else if (text == QLatin1String("VOLUME"))
                m_naming = localised("Volume Name");
            else if (text == kExplicitNaming)
                m_naming = kExplicitNaming;
        } else if (tag == QLatin1String("binExplicitName")) {
            m_explicitName = text;
        }
    }
}

QString KRXSummaryBinsRow::detail() const
{
    // No separator, and the naming follows for the active bin too: users know these texts.
    return QStringLiteral("%1%2").arg(m_selection, m_naming == kExplicitNaming ? m_explicitName : m_naming);
}

KRXSummaryLinkRow::KRXSummaryLinkRow(const QDomDocument& doc)
{
    for (const QDomElement& child :
         KRXXml::childElements(KRXXml::firstElement(doc, QStringLiteral("linkDetail")))) {
        const QString tag = child.tagName();
        if (tag == QLatin1String("multichannelAudio")) {
            m_grouping = child.text();
            if (m_grouping != QLatin1String("None"))
                m_grouping = HostMediaEngine::channelGroupsFromText(m_grouping).displayText;
        } else if (tag == QLatin1String("xelAudioStartTimeOption")) {
            m_audioStartTime = child.text();
        } else if (tag == QLatin1String("xelPreferredPluginDetail")) {
            m_plugin = child.firstChildElement(QStringLiteral("xelPluginName")).text();
        }
    }
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
    const QDomElement destination = KRXXml::firstElement(activity, QStringLiteral("destinationDetail"));
    for (const QDomElement& child : KRXXml::childElements(destination)) {
        const QString tag = child.tagName();
        const QString text = child.text();
        if (tag == QLatin1String("filesystemPath"))
            m_path = text;
        else if (tag == QLatin1String("relinkAfterCopy") && text == kTrue)
            m_relink = localised("Auto Relink when complete");
        else if (tag == QLatin1String("autoCheckin") && text == kTrue)
            m_checkIn = localised("Checkin to Ledgerhouse");
    }
}

QString KRXSummaryCopyRow::detail() const
{
    return labelledLine(localised("Auto copy to"), m_path) + optionalLine(m_checkIn) + optionalLine(m_relink);
}

KRXSummaryAudio::KRXSummaryAudio(const QDomElement& activity)
{
    const QDomElement audio = KRXXml::firstElement(activity, QStringLiteral("outputAudioProfile"));
    for (const QDomElement& child : KRXXml::childElements(audio)) {
        if (child.attribute(QStringLiteral("enabled")) != kTrue)
            continue;
        const QString tag = child.tagName();
        if (tag == QLatin1String("audioSampleRate"))
            m_sampleRate = child.text();
        else if (tag == QLatin1String("audioSampleWidth"))
            m_sampleWidth = child.text();
        else if (tag == QLatin1String("audioFormat"))
            m_format = child.text();
    }
}

QString KRXSummaryAudio::lines() const
{
    QString lines;
    // The first two labels end in a colon of their own and so show two; users know these texts.
    if (!m_sampleRate.isEmpty())
        lines += labelledLine(localised("Convert Audio Sample Rate : "), m_sampleRate);
    if (!m_sampleWidth.isEmpty())
        lines += labelledLine(localised("Convert Audio Bit Depth : "), m_sampleWidth);
    if (!m_format.isEmpty())
        lines += labelledLine(localised("Convert Audio Format"), m_format);
    return lines;
}

KRXSummaryTranscodeRow::KRXSummaryTranscodeRow(const QDomElement& activity)
    : m_audio(activity)
{
    const QDomElement output = KRXXml::firstElement(activity, QStringLiteral("outputDetail"));
    m_videoVolume = output.firstChildElement(QStringLiteral("filesystemVideoVolume")).text();
    m_audioVolume = output.firstChildElement(QStringLiteral("filesystemAudioVolume")).text();
    const QDomElement video = KRXXml::firstElement(activity, QStringLiteral("outputTranscodeVideoProfile"));
    for (const QDomElement& child : KRXXml::childElements(video)) {
        const QString tag = child.tagName();
        if (tag == QLatin1String("videoIncludeReformattedContent")) {
            if (child.text() == kTrue)
                m_reformat = localised("Apply Reformatting option (compatibility mode)");
        } else if (tag == QLatin1String("applyColorTransformations")) {
            m_colour = child.text() == kTrue ? localised("Apply color transformations (compatibility mode)")
                                             : QString();
        } else if (tag == QLatin1String("videoCompressionType")) {
            m_compression = child.attribute(QStringLiteral("name"));
        }
    }
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
    const QDomElement video = KRXXml::firstElement(activity, QStringLiteral("outputConsolidateVideoProfile"));
    for (const QDomElement& child : KRXXml::childElements(video)) {
        if (child.text() != kTrue)
            continue;
        if (child.tagName() == QLatin1String("videoSkipOnTarget"))
            m_skip = localised("Skip Media Already On Target Drive");
        else if (child.tagName() == QLatin1String("videoRelinkSkippedToTarget"))
            m_relinkSkipped = localised("Relink selected clips to target drive before skipping");
    }
}

QString KRXSummaryConsolidateRow::detail() const
{
    return optionalLine(m_skip) + optionalLine(m_relinkSkipped) + m_audio.lines();
}

std::unique_ptr<IKRXSummaryRow> makeSummaryRow(const QDomElement& activity)
{
    const QString id = activity.attribute(QStringLiteral("id"));
    if (id == QLatin1String("copy"))
        return std::make_unique<KRXSummaryCopyRow>(activity);
    if (id == QLatin1String("transcode"))
        return std::make_unique<KRXSummaryTranscodeRow>(activity);
    if (id == QLatin1String("consolidate"))
        return std::make_unique<KRXSummaryConsolidateRow>(activity);
    return nullptr;
}

#include "TranscodeAction.h"

#include "DestinationDrives.h"
#include "DestinationXml.h"
#include "KRXText.h"
#include "KRXXml.h"
#include "OptionLayout.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {

constexpr int kBodyHeight = 360;
constexpr int kCodecWidth = 150;

constexpr VideoOptions::Look kLook = {QT_TRID_NOOP("Linked Source Scaling/Quality:"), 0, kCodecWidth, 0};

using OptionFields::ValueKind;

constexpr OptionFields::Field kVideoFields[] = {
    {"videoIncludeReformattedContent", ValueKind::Check},
    {"applyColorTransformations", ValueKind::Check},
    {"videoProjectType", ValueKind::ComboText},
    {"videoColorSpace", ValueKind::ComboText},
    {"videoRaster", ValueKind::ComboText},
    {"encodingProfile", ValueKind::ComboText},
    {"videoDebayerSetting", ValueKind::ComboData},
    {"videoCompressionType", ValueKind::CompressionWithDescriptor},
};

QString videoSectionName()
{
    return QStringLiteral("outputTranscodeVideoProfile");
}

} // namespace

TranscodeAction::TranscodeAction(int number)
    : IAction(ActionType::Transcode, number)
{
}

QWidget* TranscodeAction::createWidget()
{
    if (widget())
        return widget();
    QWidget* options = OptionLayout::makeOptions(kBodyHeight);
    m_drives = new DestinationDrives(options);

    QVBoxLayout* column = OptionLayout::columnOf(options);
    column->addWidget(new QLabel(KRXText::localised("Transcode Video Resolution:"), options));
    column->addLayout(m_video.build(options, kLook));
    column->addWidget(m_video.reformatCheck());
    column->addWidget(m_video.colorTransformCheck());
    column->addLayout(m_audio.build(options, AudioOptions::Widths::Natural));
    column->addWidget(m_drives);
    column->addStretch();
    OptionLayout::allowCompactLines(options);
    return setWidget(options);
}

void TranscodeAction::writeXml(QDomDocument& doc, QDomElement& parent)
{
    // This name is the service's, not a person's: it is not localised, and without a number it keeps its
    // blank.
    const QString numberText = number() != 0 ? QString::number(number()) : QString();
    QDomElement activity = doc.createElement(QStringLiteral("activity"));
    activity.setAttribute(QStringLiteral("id"), activityId(getType()));
    activity.setAttribute(QStringLiteral("name"), QStringLiteral("Transcode %1").arg(numberText));
    parent.appendChild(activity);

    QDomElement output = DestinationXml::write(doc, activity, *m_drives);
    QDomElement video = doc.createElement(videoSectionName());
    output.appendChild(video);
    OptionFields::write(doc, video, kVideoFields, widget());
    m_audio.write(doc, output);
}

quint32 TranscodeAction::readXml(const QDomElement& activity)
{
    m_audio.refill();
    m_drives->refresh();
    DestinationXml::read(activity, *m_drives);
    const quint32 notice = m_video.read(KRXXml::firstElement(activity, videoSectionName()), kVideoFields,
                                        VideoOptions::EncodingProfile::Restore);
    m_audio.read(activity);
    return notice;
}

void TranscodeAction::setDefaults()
{
    m_video.setDefaults();
    m_audio.setDefaults();
    m_video.reformatCheck()->setChecked(true);
}

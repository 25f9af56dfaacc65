#include "TranscodeAction.h"

#include "DestinationDrives.h"
#include "DestinationXml.h"
#include "KRXText.h"
#include "KRXXml.h"

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
    auto* options = new QWidget;
    options->setFixedHeight(kBodyHeight);
    m_drives = new DestinationDrives(options);

    auto* layout = new QVBoxLayout(options);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(new QLabel(KRXText::localised("Transcode Video Resolution:"), options));
    layout->addLayout(m_video.build(options, kLook));
    layout->addWidget(m_video.reformatCheck());
    layout->addWidget(m_video.colorTransformCheck());
    layout->addLayout(m_audio.build(options, AudioOptions::Widths::Natural));
    layout->addWidget(m_drives);
    return setWidget(options);
}

void TranscodeAction::writeXml(QDomDocument& doc, QDomElement& parent)
{
    // This name is the service's, not a person's: it is not localised, and without a number it keeps its blank.
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

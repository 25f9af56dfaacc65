#include "TranscodeAction.h"

#include "ActivityTables.h"
#include "DestinationDrives.h"
#include "KRXText.h"
#include "OptionLayout.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace ActivityTables;

namespace {

constexpr int kBodyHeight = 360;
constexpr int kCodecWidth = 150;

constexpr VideoOptions::Look kLook = {QT_TRID_NOOP("Linked Source Scaling/Quality:"), 0, kCodecWidth, 0};

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

    QDomElement output = KRXFields::appendSection(doc, activity, kOutput, widget());
    KRXFields::appendSection(doc, output, kTranscode, widget());
    m_audio.write(doc, output);
}

quint32 TranscodeAction::readXml(const QDomElement& activity)
{
    m_audio.refill();
    m_drives->refresh();
    KRXFields::readSection(activity, kOutput, widget());
    const quint32 notice = m_video.read(KRXFields::findSection(activity, kTranscode), kTranscodeFields,
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

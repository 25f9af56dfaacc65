#include "ConsolidateAction.h"

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

constexpr int kBodyHeight = 450;
constexpr int kProjectWidth = 100;
constexpr int kCodecWidth = 150;

// Rows of the transcode group's grid below those of the boxes.
enum GroupRow { ReformatRow = 6, ColorTransformRow = 7 };
constexpr int kGroupColumns = 2;

constexpr VideoOptions::Look kLook = {QT_TRID_NOOP("Source Quality (Debayer):"), kProjectWidth, kCodecWidth,
                                      kCodecWidth};

} // namespace

ConsolidateAction::ConsolidateAction(int number)
    : IAction(ActionType::Consolidate, number)
{
}

QWidget* ConsolidateAction::createWidget()
{
    if (widget())
        return widget();
    QWidget* options = OptionLayout::makeOptions(kBodyHeight);
    m_skip = OptionLayout::makeCheck(
        options, kConsolidateFields[SkipOnTarget].element,
        KRXText::localised("Skip Media Already On Target Drive"),
        KRXText::localised(
            "Select to Bypass Files if Some Related Media Files are Already Located on the Target Drives"));
    m_relinkSkipped = OptionLayout::makeCheck(
        options, kConsolidateFields[RelinkSkipped].element,
        KRXText::localised("Relink selected clips to target drive before skipping"),
        KRXText::localised(
            "Select to Ensure That all Selected Clips are Linked to Media on the Target Drive"));
    m_fallback = OptionLayout::makeCheck(options, kConsolidateFields[TranscodeIfConsolidateFails].element,
                                         KRXText::localised("If unable to consolidate then transcode"));
    m_drives = new DestinationDrives(options);

    QVBoxLayout* column = OptionLayout::columnOf(options);
    column->addWidget(m_skip);
    column->addWidget(m_relinkSkipped);
    column->addWidget(new QLabel(KRXText::localised("Audio:"), options));
    column->addLayout(m_audio.build(options, AudioOptions::Widths::Fixed));
    column->addWidget(m_fallback);
    column->addWidget(buildTranscodeGroup(options));
    column->addWidget(m_drives);
    column->addStretch();
    OptionLayout::allowCompactLines(options);
    return setWidget(options);
}

QWidget* ConsolidateAction::buildTranscodeGroup(QWidget* options)
{
    auto* group = new QWidget(options);
    QGridLayout* grid = m_video.build(group, kLook);
    grid->addWidget(m_video.reformatCheck(), ReformatRow, 0, 1, kGroupColumns);
    grid->addWidget(m_video.colorTransformCheck(), ColorTransformRow, 0, 1, kGroupColumns);
    group->setLayout(grid);
    group->setEnabled(m_fallback->isChecked());
    QObject::connect(m_fallback, &QCheckBox::toggled, group, &QWidget::setEnabled);
    return group;
}

void ConsolidateAction::writeXml(QDomDocument& doc, QDomElement& parent)
{
    QDomElement activity = doc.createElement(QStringLiteral("activity"));
    activity.setAttribute(QStringLiteral("id"), activityId(getType()));
    activity.setAttribute(QStringLiteral("name"), QStringLiteral("Consolidate"));
    parent.appendChild(activity);

    QDomElement output = KRXFields::appendSection(doc, activity, kOutput, widget());
    QDomElement video = KRXFields::appendSection(doc, output, kConsolidate, widget());
    KRXFields::appendSection(doc, video, kFallback, widget());
    m_audio.write(doc, output);
}

quint32 ConsolidateAction::readXml(const QDomElement& activity)
{
    m_audio.refill();
    m_drives->refresh();
    KRXFields::readSection(activity, kOutput, widget());
    KRXFields::readSection(activity, kConsolidate, widget());
    const quint32 notice = m_video.read(KRXFields::findSection(activity, kFallback), kFallbackFields,
                                        VideoOptions::EncodingProfile::Leave);
    m_audio.read(activity);
    return notice;
}

void ConsolidateAction::setDefaults()
{
    m_audio.setDefaults();
    m_skip->setChecked(true);
    m_fallback->setChecked(false);
    m_video.setDefaults();
    m_video.reformatCheck()->setChecked(false);
    m_video.colorTransformCheck()->setChecked(false);
}

#include "AudioOptions.h"

#include "ActivityTables.h"
#include "FittedComboBox.h"
#include "HostCore.h"
#include "HostMediaEngine.h"
#include "KRXText.h"
#include "OptionLayout.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>

using namespace ActivityTables;

namespace {

// The host keeps several sets of audio settings; the actions' options come from this one.
constexpr int kSettingType = 0;
constexpr int kCreationTypeOp1a = 1;
constexpr int kProjectFormatKind = 3;
constexpr int kBitsPerByte = 8;
constexpr int kLineSpacing = 1;
constexpr int kColumnSpacing = 7;
/// How far the target of a conversion stands in from its check box.
constexpr int kTargetIndent = 18;
/// Lines of a conversion: its check box, and its target below it.
constexpr int kLinesOfField = 2;
/// Label, box and the rest of the line.
constexpr int kColumns = 3;

// Kinds of list that show the short name of a format, as bits.
constexpr int kShortNameKinds = 0x1D4;
constexpr int kShortNameKindEnd = 9;
constexpr int kMxfKind = 9;

enum AudioFormat { AiffC = 1, Sdii = 2, Wave = 3, MxfPcm = 4, Pcm = 5, MxfMp2 = 6 };

/// What a person sees of a field; in the order of the audio fields.
struct FieldLook
{
    const char* checkText;
    const char* checkToolTip;
    const char* label;
    int fixedWidth;
};

constexpr FieldLook kLooks[AudioFieldCount] = {
    {QT_TRID_NOOP("Convert Audio Sample Rate"),
     QT_TRID_NOOP("Select This Option to Convert the Sample Rate to 32 kHz, 44.1kHz, or 48 kHz"),
     QT_TRID_NOOP("Target Audio Sample Rate:"), 60},
    {QT_TRID_NOOP("Convert Audio Bit Depth"),
     QT_TRID_NOOP("Select This Option to Convert the Bit Depth to 16 Bit or 24 Bit"),
     QT_TRID_NOOP("Target Audio Bit Depth:"), 60},
    {QT_TRID_NOOP("Convert Audio Format"),
     QT_TRID_NOOP("Select either OMF (WAVE), OMF(AIFF-C), or MXF (PCM) Audio Format"),
     QT_TRID_NOOP("Target Audio Wrapper Format:"), 100},
};

void fillWrapperFormats(QComboBox* box)
{
    box->clear();
    const int count = HostMediaEngine::audioFormatCount(kSettingType);
    for (int index = 0; index < count; ++index) {
        const int code = HostMediaEngine::nthAudioFormat(index, kSettingType);
        const QString name = audioFormatName(code);
        // Formats of other containers are left out on purpose.
        if (name.contains(QLatin1String("MXF")))
            box->addItem(name, code);
    }
}

void fillSampleRates(QComboBox* box)
{
    box->clear();
    const int count = HostMediaEngine::sampleRateCount(kSettingType);
    for (int index = 0; index < count; ++index) {
        const int rate = HostMediaEngine::nthSampleRate(index, kSettingType);
        const QString text = HostCore::unicodeFromMultibyte(HostMediaEngine::sampleRateText(rate));
        if (!text.isEmpty())
            box->addItem(text, rate);
    }
}

void fillBitDepths(QComboBox* box)
{
    box->clear();
    const int count = HostMediaEngine::sampleSizeCount(kSettingType);
    for (int index = 0; index < count; ++index) {
        const int code = HostMediaEngine::nthSampleSize(index, kSettingType);
        const QString name = sampleSizeName(code);
        if (!name.isEmpty())
            box->addItem(name, code * kBitsPerByte);
    }
}

/// \param fixedWidth in pixels; 0 for a box as wide as its contents, where there is room.
QComboBox* makeBox(QWidget* options, int fixedWidth)
{
    auto* box = new FittedComboBox(options);
    if (fixedWidth > 0)
        box->setFixedWidth(fixedWidth);
    return box;
}

void selectProjectSetting(QComboBox* box, int value)
{
    if (!KRXFields::selectNumberIfFound(box, value))
        box->setCurrentIndex(0);
}

} // namespace

QString audioFormatName(int code, int kind)
{
    const bool isShort = kind >= 0 && kind < kShortNameKindEnd && ((kShortNameKinds >> kind) & 1) != 0;
    const bool isOp1a = HostMediaEngine::audioCreationType(kSettingType) == kCreationTypeOp1a;
    switch (code) {
    case AiffC:
        return isShort ? QStringLiteral("AIFF-C") : QStringLiteral("AIFF-C  (OMF)");
    case Sdii:
        return QStringLiteral("SDII");
    case Wave:
        return isShort ? QStringLiteral("WAVE") : QStringLiteral("WAVE  (OMF)");
    case MxfPcm:
        if (kind == kMxfKind)
            return QStringLiteral("MXF");
        return isOp1a ? KRXText::localised("PCM  (MXF OP1a)") : KRXText::localised("PCM  (Velo OP-Atom)");
    case Pcm:
        return QStringLiteral("PCM");
    case MxfMp2:
        return isOp1a ? KRXText::localised("MP2  (MXF OP1a)") : KRXText::localised("MP2  (Velo OP-Atom)");
    default:
        return QString();
    }
}

QString sampleSizeName(int code)
{
    switch (code) {
    case 1:
    case 8:
        return KRXText::localised("8 Bit");
    case 2:
    case 16:
        return KRXText::localised("16 Bit");
    case 3:
    case 24:
        return KRXText::localised("24 Bit");
    case 4:
    case 32:
        return KRXText::localised("32 Bit Float");
    case -1:
        return KRXText::localised("Project");
    default:
        return QString();
    }
}

QGridLayout* AudioOptions::build(QWidget* options, Widths widths)
{
    m_options = options;
    auto* layout = new QGridLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setVerticalSpacing(kLineSpacing);
    layout->setHorizontalSpacing(kColumnSpacing);
    Pair* const pairs[] = {&m_sampleRate, &m_bitDepth, &m_wrapperFormat};
    int number = 0;
    for (const KRXFields::Field& field : kAudioFields) {
        const FieldLook& look = kLooks[number];
        QCheckBox* check =
            OptionLayout::makeCheck(options, field.enabledBy, KRXText::localised(look.checkText),
                                    KRXText::localised(look.checkToolTip));
        QComboBox* box = makeBox(options, widths == Widths::Fixed ? look.fixedWidth : 0);
        box->setObjectName(QLatin1String(field.element));
        auto* label = new QLabel(KRXText::localised(look.label), options);
        label->setIndent(kTargetIndent);
        // All three beside each other are wider than the editor.
        const int line = kLinesOfField * number;
        layout->addWidget(check, line, 0, 1, kColumns);
        layout->addWidget(label, line + 1, 0);
        layout->addWidget(box, line + 1, 1, widths == Widths::Fixed ? Qt::AlignLeft : Qt::Alignment());
        *pairs[number] = {check, box};
        ++number;
    }
    layout->setColumnStretch(kColumns - 1, 1);
    return layout;
}

void AudioOptions::refill()
{
    fillWrapperFormats(m_wrapperFormat.box);
    fillSampleRates(m_sampleRate.box);
    fillBitDepths(m_bitDepth.box);
}

void AudioOptions::setDefaults()
{
    refill();
    selectProjectSetting(m_sampleRate.box, HostMediaEngine::projectSampleRate());
    selectProjectSetting(m_wrapperFormat.box, HostMediaEngine::projectAudioFileFormat(kProjectFormatKind));
    selectProjectSetting(m_bitDepth.box, HostMediaEngine::projectSampleSize(kSettingType));
}

void AudioOptions::write(QDomDocument& doc, QDomElement& parent) const
{
    KRXFields::appendSection(doc, parent, kAudio, m_options);
}

void AudioOptions::read(const QDomElement& activity)
{
    KRXFields::readSection(activity, kAudio, m_options);
}

#include "CodecBox.h"

#include "ActionListLoad.h"
#include "HostMediaEngine.h"
#include "KRXFields.h"
#include "KRXText.h"

#include <QSignalBlocker>
#include <QSize>

namespace {

// How many answers are asked of the engine at most.
constexpr int kMaxProjectTypes = 37;
constexpr int kMaxRasterWidths = 19;

constexpr int kRasterOptionWithoutUtilities = 1;

enum ColorSpace { Mono = 1, Rgb709 = 2, YCbCr601 = 4, YCbCr709 = 8 };
constexpr int kColorSpaces[] = {Mono, Rgb709, YCbCr601, YCbCr709};

// Rates that a custom format can have but that are not offered, by their numerators.
constexpr int kRatesNotOffered[] = {30, 48, 60, 48000};

struct DebayerRow
{
    int code;
    const char* name;
};

constexpr DebayerRow kDebayerRows[] = {
    {0, QT_TRID_NOOP("Full")},
    {5, QT_TRID_NOOP("Half (Better Quality)")},
    {10, QT_TRID_NOOP("Half (Good Quality)")},
    {20, QT_TRID_NOOP("Quarter")},
    {30, QT_TRID_NOOP("Eighth")},
    {40, QT_TRID_NOOP("Sixteenth")},
};

bool isCustomFormatProject()
{
    return HostMediaEngine::currentProjectType() == customFormatProjectType;
}

bool isRateOffered(const HostMediaEngine::FrameRate& rate)
{
    for (int numerator : kRatesNotOffered) {
        if (rate.numerator == numerator)
            return false;
    }
    return true;
}

void fillOrdinaryProjectTypes(QComboBox* box)
{
    const int current = HostMediaEngine::currentProjectType();
    for (int code : HostMediaEngine::compatibleProjectTypes(current, kMaxProjectTypes)) {
        if (HostMediaEngine::isProjectTypeEnabled(code))
            box->addItem(HostMediaEngine::projectTypeName(code), code);
    }
}

void fillCustomFormats(QComboBox* box)
{
    const quint32 target = HostMediaEngine::currentTargetFormat();
    for (const HostMediaEngine::CustomFormat& format : HostMediaEngine::compatibleCustomFormats(target)) {
        if (HostMediaEngine::isFormatDisabled(format) || !isRateOffered(HostMediaEngine::formatRate(format)))
            continue;
        box->addItem(HostMediaEngine::formatShortDescription(format), format.identifier);
    }
}

void fillProjectTypes(QComboBox* box)
{
    box->clear();
    if (isCustomFormatProject())
        fillCustomFormats(box);
    else
        fillOrdinaryProjectTypes(box);
}

void addRaster(QComboBox* box, int width, int height)
{
    const QString text = QStringLiteral("%1x%2").arg(QString::number(width), QString::number(height));
    // The box's own ban on duplicates is only for what a person types.
    if (box->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive) < 0)
        box->addItem(text, width);
}

void fillOrdinaryRasters(QComboBox* box, int projectType)
{
    const int option = HostMediaEngine::hasProjectUtilities() ? HostMediaEngine::rasterOption()
                                                              : kRasterOptionWithoutUtilities;
    const int height = HostMediaEngine::frameDimensions(projectType).height();
    for (int width : HostMediaEngine::rasterWidths(projectType, option, kMaxRasterWidths))
        addRaster(box, width, height);
}

void addColorSpace(QComboBox* box, int code)
{
    box->addItem(colorSpaceName(code), code);
}

void fillOrdinaryColorSpaces(QComboBox* box, int projectType)
{
    if (HostMediaEngine::hasSDVideoFormat(projectType)) {
        addColorSpace(box, YCbCr601);
    } else if (HostMediaEngine::hasHDVideoFormat(projectType)) {
        addColorSpace(box, YCbCr709);
        if (HostMediaEngine::isValidColorSpace(projectType, Rgb709))
            addColorSpace(box, Rgb709);
    }
}

void fillCustomColorSpaces(QComboBox* box, const HostMediaEngine::CustomFormat& format)
{
    for (int code : kColorSpaces) {
        if (HostMediaEngine::isValidColorSpace(format.projectType, code))
            addColorSpace(box, code);
    }
    KRXFields::selectNumberIfFound(box, HostMediaEngine::currentColorSpace());
}

/// Fills raster and colour space for an entry of the project-type list: by its code, and in a custom-format
/// project by its text.
void fillRastersAndColorSpaces(QComboBox* raster, QComboBox* colorSpace, int projectType, const QString& text)
{
    raster->clear();
    colorSpace->clear();
    raster->setDuplicatesEnabled(false);
    if (!isCustomFormatProject()) {
        fillOrdinaryRasters(raster, projectType);
        fillOrdinaryColorSpaces(colorSpace, projectType);
        return;
    }
    HostMediaEngine::CustomFormat format;
    if (HostMediaEngine::findFormatByDescription(text, format)) {
        addRaster(raster, format.width, format.height);
        fillCustomColorSpaces(colorSpace, format);
    }
}

/// The text under which the current project stands in the list of project types.
QString currentProjectText()
{
    if (!isCustomFormatProject())
        return HostMediaEngine::projectTypeName(HostMediaEngine::currentProjectType());
    HostMediaEngine::CustomFormat format;
    if (!HostMediaEngine::findFormat(HostMediaEngine::currentTargetFormat(), format))
        return QString();
    return HostMediaEngine::formatShortDescription(format);
}

} // namespace

QString colorSpaceName(int code)
{
    switch (code) {
    case Mono:
        return KRXText::localised("Mono");
    case Rgb709:
        return KRXText::localised("RGB 709");
    case YCbCr601:
        return KRXText::localised("YCbCr 601");
    case YCbCr709:
        return KRXText::localised("YCbCr 709");
    default:
        return KRXText::localised("Unknown");
    }
}

QString debayerName(int code)
{
    for (const DebayerRow& row : kDebayerRows) {
        if (row.code == code)
            return KRXText::localised(row.name);
    }
    return QString();
}

void fillDebayerList(QComboBox* box)
{
    box->clear();
    for (const DebayerRow& row : kDebayerRows)
        box->addItem(debayerName(row.code), row.code);
}

CodecBox::CodecBox(QComboBox* projectType, QComboBox* raster, QComboBox* colorSpace, QWidget* parent)
    : FittedComboBox(parent)
    , m_projectTypeBox(projectType)
    , m_rasterBox(raster)
    , m_colorSpaceBox(colorSpace)
    , m_encodingProfileBox(new FittedComboBox(this))
{
    const auto indexChanged = QOverload<int>::of(&QComboBox::currentIndexChanged);
    connect(m_projectTypeBox, indexChanged, this, &CodecBox::projTypeChanged);
    connect(m_rasterBox, indexChanged, this, &CodecBox::rasterChanged);
    connect(m_colorSpaceBox, indexChanged, this, &CodecBox::colorSpaceChanged);
    connect(m_encodingProfileBox, indexChanged, this, &CodecBox::encodingProfileChanged);
    connect(this, indexChanged, this, &CodecBox::onIndexChanged);
}

void CodecBox::setupDefaults()
{
    {
        const QSignalBlocker projectTypeBlocker(m_projectTypeBox);
        const QSignalBlocker rasterBlocker(m_rasterBox);
        const QSignalBlocker colorSpaceBlocker(m_colorSpaceBox);

        fillProjectTypes(m_projectTypeBox);
        const QString projectText = currentProjectText();
        const int index = m_projectTypeBox->findText(projectText, Qt::MatchFixedString);
        if (index >= 0)
            m_projectTypeBox->setCurrentIndex(index);

        fillRastersAndColorSpaces(m_rasterBox, m_colorSpaceBox, HostMediaEngine::currentProjectType(),
                                  projectText);
        KRXFields::selectNumberIfFound(m_rasterBox, HostMediaEngine::currentRasterWidth());
        KRXFields::selectNumberIfFound(m_colorSpaceBox, HostMediaEngine::currentColorSpace());
    }
    updateVideoParams();
    askForRefill();
}

void CodecBox::projTypeChanged()
{
    {
        const QSignalBlocker rasterBlocker(m_rasterBox);
        const QSignalBlocker colorSpaceBlocker(m_colorSpaceBox);
        fillRastersAndColorSpaces(m_rasterBox, m_colorSpaceBox, m_projectTypeBox->currentData().toInt(),
                                  m_projectTypeBox->currentText());
    }
    updateVideoParams();
    askForRefill();
}

void CodecBox::rasterChanged()
{
    updateVideoParams();
    askForRefill();
}

void CodecBox::colorSpaceChanged()
{
    updateVideoParams();
    askForRefill();
}

void CodecBox::encodingProfileChanged() {}

void CodecBox::onIndexChanged()
{
    emit codecChanged(this);
}

void CodecBox::updateVideoParams()
{
    const int colorSpace = m_colorSpaceBox->currentData().toInt();
    int projectType = m_projectTypeBox->currentData().toInt();
    bool rasterEnabled = false;
    bool colorSpaceEnabled = HostMediaEngine::rgbEncodeSupported();
    if (isCustomFormatProject()) {
        HostMediaEngine::CustomFormat format;
        if (HostMediaEngine::findFormatByDescription(m_projectTypeBox->currentText(), format))
            projectType = format.projectType;
        colorSpaceEnabled = colorSpaceEnabled && HostMediaEngine::isValidColorSpace(projectType, Rgb709);
        rasterEnabled =
            HostMediaEngine::hasHDVideoFormat(projectType) || projectType == customFormatProjectType;
    } else {
        colorSpaceEnabled = colorSpaceEnabled && HostMediaEngine::supportsRGB(projectType);
        rasterEnabled = HostMediaEngine::hasHDVideoFormat(projectType);
    }
    m_rasterBox->setEnabled(rasterEnabled && colorSpace != Rgb709);
    m_colorSpaceBox->setEnabled(colorSpaceEnabled);
}

void CodecBox::showEvent(QShowEvent* event)
{
    updateVideoParams();
    FittedComboBox::showEvent(event);
}

void CodecBox::askForRefill()
{
    // The row of a list that is loaded shows its own settings before long, and only their codecs matter.
    const bool isNewInLoad = ActionListLoad::isRunning() && !m_everFilled;
    if (m_refillHolds > 0 || isNewInLoad)
        m_refillPending = true;
    else
        sendRefill();
}

void CodecBox::sendRefill()
{
    m_refillPending = false;
    m_everFilled = true;
    emit updateRezList(this);
}

CodecBox::RefillHold::RefillHold(CodecBox* box)
    : m_box(box)
{
    ++m_box->m_refillHolds;
}

CodecBox::RefillHold::~RefillHold()
{
    if (--m_box->m_refillHolds == 0 && m_box->m_refillPending)
        m_box->sendRefill();
}

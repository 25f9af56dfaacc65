#include "VideoOptions.h"

#include "CodecBox.h"
#include "FittedComboBox.h"
#include "HostMediaEngine.h"
#include "KRXText.h"
#include "OptionLayout.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>

namespace {

constexpr quint32 kNoNotice = 0;
constexpr quint32 kProjectTypeNotice = 1;
constexpr int kLineSpacing = 1;
constexpr int kColumnSpacing = 7;

QComboBox* nameBox(QComboBox* box, const char* name, int minimumWidth)
{
    box->setObjectName(QLatin1String(name));
    if (minimumWidth > 0)
        box->setMinimumWidth(minimumWidth);
    return box;
}

} // namespace

QGridLayout* VideoOptions::build(QWidget* options, const Look& look)
{
    m_options = options;
    m_projectType = nameBox(new FittedComboBox(options), "videoProjectType", look.projectWidth);
    m_colorSpace = nameBox(new FittedComboBox(options), "videoColorSpace", look.projectWidth);
    m_raster = nameBox(new FittedComboBox(options), "videoRaster", look.projectWidth);
    m_codec = new CodecBox(m_projectType, m_raster, m_colorSpace, options);
    nameBox(m_codec, "videoCompressionType", look.codecWidth);
    QComboBox* encodingProfile =
        nameBox(m_codec->getEncodingProfileBox(), "encodingProfile", look.codecWidth);
    m_debayer = nameBox(new FittedComboBox(options), "videoDebayerSetting", look.debayerWidth);
    m_reformat =
        OptionLayout::makeCheck(options, "videoIncludeReformattedContent",
                                KRXText::localised("Apply Reformatting option (compatibility mode)"));
    m_colorTransform =
        OptionLayout::makeCheck(options, "applyColorTransformations",
                                KRXText::localised("Apply color transformations (compatibility mode)"));

    const struct
    {
        QString label;
        QComboBox* box;
    } rows[] = {
        {KRXText::localised("Project Type:"), m_projectType},
        {KRXText::localised("Color Space:"), m_colorSpace},
        {KRXText::localised("Raster:"), m_raster},
        {KRXText::localised("Codec:"), m_codec},
        {KRXText::localised("Encoding Profiles:"), encodingProfile},
        {KRXText::localised(look.debayerLabel), m_debayer},
    };
    auto* layout = new QGridLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setVerticalSpacing(kLineSpacing);
    layout->setHorizontalSpacing(kColumnSpacing);
    int number = 0;
    for (const auto& row : rows) {
        layout->addWidget(new QLabel(row.label, options), number, 0);
        layout->addWidget(row.box, number, 1);
        ++number;
    }
    layout->setColumnStretch(2, 1);
    return layout;
}

void VideoOptions::setDefaults()
{
    m_codec->setupDefaults();
    selectDefaultCodec();
    // The first of them is the default.
    fillDebayerList(m_debayer);
}

void VideoOptions::selectDefaultCodec()
{
    KRXFields::selectNumber(m_codec, HostMediaEngine::defaultCompressionId());
}

quint32 VideoOptions::read(const QDomElement& section, KRXFields::Fields fields,
                           EncodingProfile encodingProfile)
{
    quint32 notice = kNoNotice;
    Stored stored;
    // A new row of a list that is loaded has no codecs yet, and so no default among them.
    const bool hadCodecs = m_codec->count() > 0;
    {
        const CodecBox::RefillHold hold(m_codec);
        fillDebayerList(m_debayer);
        m_codec->setupDefaults();
        stored = collect(section, fields);
        KRXFields::selectNumber(m_debayer, stored.debayer);
        if (stored.isComplete()) {
            notice = restoreProjectType(stored.projectType);
            restoreColorSpaceAndRaster(stored);
        }
    }
    if (!stored.isComplete()) {
        if (!hadCodecs)
            selectDefaultCodec();
        return notice;
    }
    KRXFields::selectNumber(m_codec, stored.compression);
    // The profile stands in the document as display text and is looked up as a number nevertheless.
    if (encodingProfile == EncodingProfile::Restore && !stored.encodingProfile.isEmpty())
        KRXFields::selectNumber(m_codec->getEncodingProfileBox(), stored.encodingProfile);
    return notice;
}

bool VideoOptions::Stored::isComplete() const
{
    return !projectType.isEmpty() && !colorSpace.isEmpty() && !raster.isEmpty() && !compression.isEmpty();
}

/// Check boxes are set at once; the other texts are only taken, because their boxes depend on one another.
VideoOptions::Stored VideoOptions::collect(const QDomElement& section, KRXFields::Fields fields)
{
    Stored stored;
    const struct
    {
        const QWidget* box;
        QString* text;
    } places[] = {
        {m_codec, &stored.compression},       {m_codec->getEncodingProfileBox(), &stored.encodingProfile},
        {m_projectType, &stored.projectType}, {m_colorSpace, &stored.colorSpace},
        {m_raster, &stored.raster},           {m_debayer, &stored.debayer},
    };
    KRXFields::forEach(section, fields, [&](int row, const QDomElement& element) {
        const KRXFields::Field& field = fields.begin()[row];
        if (field.kind == &KRXFields::kCheck)
            KRXFields::readField(element, field, m_options);
        for (const auto& place : places) {
            if (place.box->objectName() == QLatin1String(field.element))
                *place.text = element.text();
        }
    });
    return stored;
}

quint32 VideoOptions::restoreProjectType(const QString& text)
{
    const int index = m_projectType->findText(text, Qt::MatchFixedString);
    if (index < 0)
        return kProjectTypeNotice;
    {
        const QSignalBlocker blocker(m_projectType);
        m_projectType->setCurrentIndex(index);
    }
    m_codec->projTypeChanged();
    return kNoNotice;
}

/// Only as a pair: a raster with another colour space is not what was stored.
void VideoOptions::restoreColorSpaceAndRaster(const Stored& stored)
{
    const int colorSpace = m_colorSpace->findText(stored.colorSpace, Qt::MatchFixedString);
    const int raster = m_raster->findText(stored.raster, Qt::MatchFixedString);
    if (colorSpace < 0 || raster < 0)
        return;
    {
        const QSignalBlocker colorSpaceBlocker(m_colorSpace);
        const QSignalBlocker rasterBlocker(m_raster);
        m_colorSpace->setCurrentIndex(colorSpace);
        m_raster->setCurrentIndex(raster);
    }
    m_codec->rasterChanged();
}

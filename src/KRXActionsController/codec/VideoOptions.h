#pragma once

#include "KRXFields.h"

#include <QDomElement>
#include <QString>
#include <QtGlobal>

class CodecBox;
class QCheckBox;
class QComboBox;
class QGridLayout;
class QWidget;

/// The video part of the options of a transcode action and of the fallback of a consolidate action: what is
/// encoded, and how.
class VideoOptions
{
public:
    /// Where the two actions' grids differ.
    struct Look
    {
        /// English key of the last row's label.
        const char* debayerLabel;
        /// Minimum widths in pixels; 0 leaves it to the boxes.
        int projectWidth;
        int codecWidth;
        int debayerWidth;
    };

    /// Whether the stored encoding profile is selected when options are restored.
    enum class EncodingProfile { Restore, Leave };

    /// Builds the rows of labels and boxes as a layout for \a options, which owns the widgets. The two check
    /// boxes are built too; whoever builds puts them into a layout.
    QGridLayout* build(QWidget* options, const Look& look);
    QCheckBox* reformatCheck() const { return m_reformat; }
    QCheckBox* colorTransformCheck() const { return m_colorTransform; }

    /// Resets the codec box with its companions and selects the codec and the debayer setting that a new
    /// action starts with.
    void setDefaults();
    /// Resets and restores the options from the elements below \a section that \a fields names.
    /// \return a notice code, see noticeText().
    quint32 read(const QDomElement& section, KRXFields::Fields fields, EncodingProfile encodingProfile);

private:
    /// The texts that restore the boxes which depend on one another.
    struct Stored
    {
        QString compression;
        QString encodingProfile;
        QString projectType;
        QString colorSpace;
        QString raster;
        QString debayer;

        bool isComplete() const;
    };

    void selectDefaultCodec();
    Stored collect(const QDomElement& section, KRXFields::Fields fields);
    quint32 restoreProjectType(const QString& text);
    void restoreColorSpaceAndRaster(const Stored& stored);

    QWidget* m_options = nullptr;
    QComboBox* m_projectType = nullptr;
    QComboBox* m_colorSpace = nullptr;
    QComboBox* m_raster = nullptr;
    CodecBox* m_codec = nullptr;
    QComboBox* m_debayer = nullptr;
    QCheckBox* m_reformat = nullptr;
    QCheckBox* m_colorTransform = nullptr;
};

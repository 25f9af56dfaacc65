#pragma once

#include "KRXExport.h"

#include <QDomDocument>
#include <QDomElement>
#include <QString>

class QCheckBox;
class QComboBox;
class QGridLayout;
class QWidget;

/// The name of an audio file format code, localised as far as names are; empty for a code that is none.
/// \param kind selects between variants of a name; the options of actions use 0.
KRX_EXPORT QString audioFormatName(int code, int kind = 0);
/// The localised name of a sample size code (bytes or bits, -1 for the project's); empty for a code that is
/// none.
KRX_EXPORT QString sampleSizeName(int code);

/// The audio part of the options of a transcode and of a consolidate action: three conversions, each with a
/// check box that switches it on and a box for its target.
class AudioOptions
{
public:
    /// The combo boxes' widths.
    enum class Widths {
        /// As wide as their contents.
        Natural,
        /// The narrow, fixed widths of the consolidate action.
        Fixed
    };

    /// Builds the block as a layout for \a options, which owns the widgets.
    QGridLayout* build(QWidget* options, Widths widths);
    /// Refills the three lists from the host.
    void refill();
    /// Refills the lists and selects the project's own settings; the check boxes are left alone.
    void setDefaults();

    /// Appends "outputAudioProfile" to \a parent.
    void write(QDomDocument& doc, QDomElement& parent) const;
    /// Sets the block from the first "outputAudioProfile" below \a activity.
    void read(const QDomElement& activity);

private:
    /// One conversion.
    struct Pair
    {
        QCheckBox* check = nullptr;
        QComboBox* box = nullptr;
    };

    QWidget* m_options = nullptr;
    Pair m_sampleRate;
    Pair m_bitDepth;
    Pair m_wrapperFormat;
};

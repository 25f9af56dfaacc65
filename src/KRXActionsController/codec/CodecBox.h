#pragma once

#include "FittedComboBox.h"
#include "KRXExport.h"

#include <QComboBox>
#include <QString>

/// The project type whose raster and colour space come from a custom target format.
constexpr int customFormatProjectType = 26;

/// The localised name of a colour-space code; "Unknown" for a code that is none.
KRX_EXPORT QString colorSpaceName(int code);
/// The localised name of a debayer code; empty for a code that is none.
KRX_EXPORT QString debayerName(int code);
/// Refills \a box with the debayer settings: text = name, data = code.
KRX_EXPORT void fillDebayerList(QComboBox* box);

/// The codec combo box, and the coordinator of the four boxes that depend on one another with it: project
/// type, raster, colour space and encoding profile. The lists of codecs and of encoding profiles are filled
/// by whoever answers its two signals; item data of a codec is its compression id (unsigned).
class KRX_EXPORT CodecBox : public FittedComboBox
{
    Q_OBJECT

public:
    /// \param projectType, raster, colorSpace the companion boxes; not owned, and they must live as long as
    /// signals or calls can reach this box.
    CodecBox(QComboBox* projectType, QComboBox* raster, QComboBox* colorSpace, QWidget* parent);

    QComboBox* getProjectTypeBox() const { return m_projectTypeBox; }
    QComboBox* getRasterBox() const { return m_rasterBox; }
    QComboBox* getColorSpaceBox() const { return m_colorSpaceBox; }
    /// Made by this box; whoever lays it out becomes its parent.
    QComboBox* getEncodingProfileBox() const { return m_encodingProfileBox; }

    /// Fills the lists for the current project and selects the project's own settings. Emits updateRezList()
    /// once.
    virtual void setupDefaults();

    /// While one of these lives, the refills that its box asks for are kept back; the last one to go asks
    /// once for all of them. While a whole list of actions is loaded, what a new box asks for is kept back
    /// until its first hold goes.
    class KRX_EXPORT RefillHold
    {
    public:
        explicit RefillHold(CodecBox* box);
        ~RefillHold();
        RefillHold(const RefillHold&) = delete;
        RefillHold& operator=(const RefillHold&) = delete;

    private:
        CodecBox* m_box;
    };

public Q_SLOTS:
    void projTypeChanged();
    void rasterChanged();
    void colorSpaceChanged();
    /// Does nothing: no list depends on the encoding profile.
    void encodingProfileChanged();
    void onIndexChanged();

Q_SIGNALS:
    /// Project type, raster or colour space changed: the list of codecs is to be filled anew.
    void updateRezList(CodecBox* box);
    /// Another codec is selected: the list of encoding profiles is to be filled anew.
    void codecChanged(CodecBox* box);

protected:
    /// Enables or disables the raster and colour-space boxes, as project type and colour space allow.
    void updateVideoParams();
    void showEvent(QShowEvent* event) override;

private:
    void askForRefill();
    void sendRefill();

    QComboBox* m_projectTypeBox;
    QComboBox* m_rasterBox;
    QComboBox* m_colorSpaceBox;
    QComboBox* m_encodingProfileBox;
    int m_refillHolds = 0;
    bool m_refillPending = false;
    bool m_everFilled = false;
};

#pragma once

#include "IKRXXelSettings.h"

class KRXProfilesWindow;
class QComboBox;
class QVBoxLayout;

/// Where the reel name, frame count, start timecode and frame rate of image sequences come from.
class KRX_EXPORT KRXZorMetadata : public IKRXXelSettings
{
public:
    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return ZorMetadataSettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;

    /// The frame rates to assume when none is known, for a host's profile editor to fill; empty at first,
    /// null before createWidget(). A profile stores the data of an item and is read by the text, so both must
    /// agree.
    virtual QComboBox* getDefaultFPSBox() const;
    /// Keeps \a window for a host's subclass; nothing here uses it. Not owned.
    virtual void setProfilesWindow(KRXProfilesWindow* window);

protected:
    KRXProfilesWindow* m_profilesWindow = nullptr;

private:
    void addReelPanel(QVBoxLayout* column);
    void addFrameCountPanel(QVBoxLayout* column);
    void addTimecodePanel(QVBoxLayout* column);
    void addDefaultFPSPanel(QVBoxLayout* column);

    QComboBox* m_defaultFPSBox = nullptr;
};

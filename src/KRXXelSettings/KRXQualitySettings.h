#pragma once

#include "IKRXXelSettings.h"

/// Which quality of media a link prefers, for video and for audio.
class KRXQualitySettings : public IKRXXelSettings
{
public:
    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return QualitySettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;
};

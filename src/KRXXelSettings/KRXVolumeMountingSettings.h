#pragma once

#include "IKRXXelSettings.h"

/// What is done with volumes that were mounted before.
class KRXVolumeMountingSettings : public IKRXXelSettings
{
public:
    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return VolumeMountingSettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;
};

#pragma once

#include "IKRXXelSettings.h"

class QLineEdit;

/// The bin that linked clips are stored in.
class KRXBinsSettings : public IKRXXelSettings
{
public:
    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return BinsSettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;

private:
    QLineEdit* m_binName = nullptr;
};

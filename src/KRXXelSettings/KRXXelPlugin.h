#pragma once

#include "IKRXXelSettings.h"

class QComboBox;
class QString;

/// Which plug-in links the media.
class KRXXelPlugin : public IKRXXelSettings
{
public:
    QWidget* createWidget() override;
    XelSettingsType settingsType() const override { return PluginSettings; }
    void writeXml(QDomDocument* doc, QDomElement& parent) override;
    void readXml(const QDomElement& root) override;

private:
    void fillPlugins();
    void selectPlugin(const QString& name, const QString& guid);

    QComboBox* m_pluginBox = nullptr;
};

#include "SettingsTWidget.h"

#include "KRXBinsSettings.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXQualitySettings.h"
#include "KRXVolumeMountingSettings.h"
#include "KRXXelPlugin.h"
#include "KRXZorMetadata.h"

namespace {

std::unique_ptr<IKRXXelSettings> makeSettings(XelSettingsType type)
{
    switch (type) {
    case PluginSettings:
        return std::make_unique<KRXXelPlugin>();
    case BinsSettings:
        return std::make_unique<KRXBinsSettings>();
    case QualitySettings:
        return std::make_unique<KRXQualitySettings>();
    case LinkOptionsSettings:
        return std::make_unique<KRXLinkOptionsSettings>();
    case VolumeMountingSettings:
        return std::make_unique<KRXVolumeMountingSettings>();
    case ZorMetadataSettings:
        return std::make_unique<KRXZorMetadata>();
    }
    return nullptr;
}

} // namespace

SettingsTWidget::SettingsTWidget(XelSettingsType type, const QString& title, QWidget* parent)
    : KRXTwistWidget(parent, title)
    , m_settings(makeSettings(type))
{
    if (m_settings)
        addWidgetToBody(m_settings->createWidget(), 0);
}

SettingsTWidget::~SettingsTWidget() = default;

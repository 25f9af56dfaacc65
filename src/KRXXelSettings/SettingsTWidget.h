#pragma once

#include "KRXTwistWidget.h"
#include "XelSettingsType.h"

#include <memory>

class IKRXXelSettings;

/// A section with one group of link settings in its body. It owns the group.
class KRX_EXPORT SettingsTWidget : public KRXTwistWidget
{
    Q_OBJECT

public:
    /// \param type which group; a number that is none of XelSettingsType gives a section without a group.
    /// \param title already localised.
    SettingsTWidget(XelSettingsType type, const QString& title, QWidget* parent);
    ~SettingsTWidget() override;

    /// The group; null when the type was none.
    IKRXXelSettings* getKRXXelSettings() const { return m_settings.get(); }

private:
    std::unique_ptr<IKRXXelSettings> m_settings;
};

#pragma once

#include "KRXExport.h"
#include "XelSettingsType.h"

#include <QDomDocument>
#include <QDomElement>
#include <QList>
#include <QObject>
#include <QString>

class IKRXXelSettings;
class KRXProfilesWindow;
class KRXTwistWidget;

/// The link settings of the profile editor: makes their sections, keeps their order, writes them into a
/// profile document and sets them from one.
class KRX_EXPORT KRXSettingsController : public QObject
{
    Q_OBJECT

public:
    /// \param section receives the sections of the groups; it is the controller's parent.
    /// \param window hears of every change that the user makes; may be null.
    KRXSettingsController(KRXTwistWidget* section, KRXProfilesWindow* window);

    /// Appends the section of one group.
    void addNewSetting(XelSettingsType type);
    /// The first group of that type; null when none was added. It lives as long as the section.
    IKRXXelSettings* getSettingsByType(XelSettingsType type) const;

    /// Appends "profileSettings" with the elements of all groups to \a parent.
    /// \param doc the document that \a parent belongs to; not null.
    void getSettingsDefXMLElement(QDomDocument* doc, QDomElement& parent) const;
    /// Sets all groups from the first "profileSettings" element of \a doc. Without one they stay as they are,
    /// except that the name of the bin is cleared.
    void updateUI(QDomDocument& doc);

    /// Whether everything that the user entered can be saved: a document can't carry control characters, for
    /// example, nor a name of nothing but blanks. To be asked before a profile is saved.
    /// \param error receives a localised text for the user when the answer is no.
    bool validate(QString& error) const;

protected:
    /// The localised title of a group; "Error!!!" for an unknown one.
    QString getSettingNameByType(XelSettingsType type) const;

private:
    void reportChangesOf(KRXTwistWidget* section) const;

    QList<IKRXXelSettings*> m_settings;
    KRXTwistWidget* m_section = nullptr;
    KRXProfilesWindow* m_window = nullptr;
};

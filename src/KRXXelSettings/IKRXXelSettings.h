#pragma once

#include "KRXExport.h"
#include "XelSettingsType.h"

class QDomDocument;
class QDomElement;
class QWidget;

/// One group of a profile's link settings: its editing widgets and its part of the profile document.
///
/// A group never deletes its widgets. Whoever asked for the group's widget gives it a parent, and the group
/// must not be used once that widget is gone. Writing and reading need the widget.
class KRX_EXPORT IKRXXelSettings
{
public:
    IKRXXelSettings() = default;
    virtual ~IKRXXelSettings() = default;
    IKRXXelSettings(const IKRXXelSettings&) = delete;
    IKRXXelSettings& operator=(const IKRXXelSettings&) = delete;

    /// Builds the widgets on the first call. \return the group's widget, always the same one; it has no
    /// parent until the caller gives it one.
    virtual QWidget* createWidget() = 0;
    virtual XelSettingsType settingsType() const = 0;
    /// Appends the group's elements to \a parent ("profileSettings").
    /// \param doc the document that \a parent belongs to; not null.
    virtual void writeXml(QDomDocument* doc, QDomElement& parent) = 0;
    /// Sets the widgets from the first matching element anywhere below \a root. Never fails: what is missing
    /// or unknown leaves a widget as it is or selects its first item. \a root may be null.
    virtual void readXml(const QDomElement& root) = 0;

protected:
    QWidget* m_widget = nullptr;
};

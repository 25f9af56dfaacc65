#pragma once

#include "ActionType.h"
#include "KRXExport.h"

#include <QPointer>
#include <QString>
#include <QWidget>

class QDomDocument;
class QDomElement;

/// One action of a profile: it owns the widget that shows its options, writes itself into the profile's
/// document as one "activity" and restores its widget from one.
class KRX_EXPORT IAction
{
public:
    /// Deletes the option widget, unless the widget it was put into did so before.
    virtual ~IAction();
    IAction(const IAction&) = delete;
    IAction& operator=(const IAction&) = delete;

    /// Builds the option widget and returns it; called again, it returns the widget that it built. The widget
    /// has no parent at first. Everything below but getType() needs it built.
    virtual QWidget* createWidget() = 0;
    /// Appends one "activity" for this action to \a parent.
    virtual void writeXml(QDomDocument& doc, QDomElement& parent) = 0;
    virtual ActionType getType() const;
    /// Sets the widgets from a stored activity. What matches no item selects the first one.
    /// \return a notice code, see noticeText(): 0 when everything was restored, 1 when the stored project
    /// type is not available.
    virtual quint32 readXml(const QDomElement& activity) = 0;
    /// Puts the widgets to the defaults of a new action.
    virtual void setDefaults() = 0;
    /// Whether the action can be saved. \param error receives a localised text when it cannot.
    virtual bool validate(QString& error);

    /// The number in the activity's name; 0 is none.
    int number() const { return m_number; }
    void setNumber(int number) { m_number = number; } ///< \param number from 1; 0 takes it away.
    /// The option widget; null until createWidget() and after its parent deleted it.
    QWidget* widget() const { return m_widget; }

protected:
    IAction(ActionType type, int number);

    /// Takes the widget that createWidget() built. \return the same widget.
    QWidget* setWidget(QWidget* widget);

private:
    ActionType m_type;
    qint32 m_number;
    QPointer<QWidget> m_widget;
};

/// The localised text of a notice that reading an activity gave; empty for a code that has none.
KRX_EXPORT QString noticeText(unsigned code);

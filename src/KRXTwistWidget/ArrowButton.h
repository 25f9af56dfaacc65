#pragma once

#include "KRXExport.h"

#include <QString>
#include <QWidget>

/// The small button in the title bar of a section: an arrow that shows whether the body is open.
class KRX_EXPORT ArrowButton : public QWidget
{
    Q_OBJECT

public:
    /// What the arrow shows. The numbers are fixed; derived buttons give them meanings of their own.
    enum ArrowButtonnState : int { Open = 0, Closed = 1 };
    Q_ENUM(ArrowButtonnState)

    /// A closed button.
    explicit ArrowButton(QWidget* parent);

    /// The icon group that the picture comes from.
    virtual QString getResGroup() const;
    /// The name of the picture for the present state.
    virtual QString getResID() const;

    ArrowButtonnState getButtonState() const { return m_state; }
    /// Sets the state without repainting.
    void setState(ArrowButtonnState state) { m_state = state; }

Q_SIGNALS:
    /// The left button was pressed on the arrow; the state is already the new one.
    void clicked();

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    ArrowButtonnState m_state = Closed;
    // Part of the layout of the class that hosts were built with; nothing reads them.
    QString m_resGroup;
    QString m_resID;
};

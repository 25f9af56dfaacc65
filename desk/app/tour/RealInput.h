#pragma once

#include <QElapsedTimer>
#include <QPoint>
#include <QString>

#include <memory>

/// A hand on the mouse and the keyboard: events go to the display server and come back to our windows the way
/// a person's do. X11 only.
class RealInput
{
public:
    RealInput();
    ~RealInput();

    /// Whether the display takes such events; \a error tells why not.
    bool isUsable(QString& error) const;
    /// Whether enough time has passed since the last click that another one is no double click.
    bool isSettled() const;

    /// Moves the pointer to a place on the screen (as Qt counts it).
    void moveTo(const QPoint& place);
    /// Moves there and clicks the left button.
    void clickAt(const QPoint& place);
    /// Moves there and clicks the right button.
    void rightClickAt(const QPoint& place);
    /// Types a text of printable ASCII characters.
    void type(const QString& text);
    /// Presses and releases one key, perhaps with Control held.
    void pressKey(Qt::Key key, bool control = false);

private:
    class Display;

    void click(const QPoint& place, unsigned button);

    std::unique_ptr<Display> m_display;
    QElapsedTimer m_sinceClick;
};

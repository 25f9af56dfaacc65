#include "RealInput.h"

#include <QApplication>
#include <QScreen>
#include <QStyleHints>

// The X headers define plain words as macros, so they come last and nothing of Qt follows them.
#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {

constexpr unsigned kLeftButton = 1;
constexpr unsigned kRightButton = 3;
constexpr int kClickPause = 60;

struct KeyName
{
    Qt::Key key;
    KeySym symbol;
};

constexpr KeyName kKeys[] = {
    {Qt::Key_Return, XK_Return}, {Qt::Key_Escape, XK_Escape}, {Qt::Key_Tab, XK_Tab},
    {Qt::Key_Delete, XK_Delete}, {Qt::Key_Down, XK_Down},     {Qt::Key_Up, XK_Up},
    {Qt::Key_Home, XK_Home},     {Qt::Key_End, XK_End},       {Qt::Key_Space, XK_space},
    {Qt::Key_A, XK_a},           {Qt::Key_Z, XK_z},           {Qt::Key_Y, XK_y},
};

} // namespace

/// A connection of its own to the display server.
class RealInput::Display
{
public:
    Display()
        : m_display(::XOpenDisplay(nullptr))
    {
    }
    ~Display()
    {
        if (m_display)
            ::XCloseDisplay(m_display);
    }
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    bool isOpen() const { return m_display; }
    bool takesEvents() const
    {
        int ignored = 0;
        return ::XTestQueryExtension(m_display, &ignored, &ignored, &ignored, &ignored);
    }
    void move(int x, int y)
    {
        ::XTestFakeMotionEvent(m_display, -1, x, y, CurrentTime);
        ::XFlush(m_display);
    }
    void click(unsigned button)
    {
        ::XTestFakeButtonEvent(m_display, button, True, CurrentTime);
        ::XTestFakeButtonEvent(m_display, button, False, CurrentTime);
        ::XFlush(m_display);
    }
    void key(KeySym symbol, bool control)
    {
        const KeyCode code = ::XKeysymToKeycode(m_display, symbol);
        const bool shift = ::XkbKeycodeToKeysym(m_display, code, 0, 0) != symbol;
        hold(XK_Control_L, control, true);
        hold(XK_Shift_L, shift, true);
        ::XTestFakeKeyEvent(m_display, code, True, CurrentTime);
        ::XTestFakeKeyEvent(m_display, code, False, CurrentTime);
        hold(XK_Shift_L, shift, false);
        hold(XK_Control_L, control, false);
        ::XFlush(m_display);
    }

private:
    void hold(KeySym symbol, bool wanted, bool down)
    {
        if (wanted)
            ::XTestFakeKeyEvent(m_display, ::XKeysymToKeycode(m_display, symbol), down ? True : False,
                                CurrentTime);
    }

    ::Display* m_display;
};

RealInput::RealInput()
    : m_display(std::make_unique<Display>())
{
}

RealInput::~RealInput() = default;

bool RealInput::isUsable(QString& error) const
{
    if (QGuiApplication::platformName() != QLatin1String("xcb") || !m_display->isOpen()) {
        error = QStringLiteral("The tour needs an X display, for example that of xvfb-run.");
        return false;
    }
    if (!m_display->takesEvents()) {
        error = QStringLiteral("The display does not offer the XTEST extension.");
        return false;
    }
    return true;
}

bool RealInput::isSettled() const
{
    return !m_sinceClick.isValid() ||
           m_sinceClick.hasExpired(QGuiApplication::styleHints()->mouseDoubleClickInterval() + kClickPause);
}

void RealInput::moveTo(const QPoint& place)
{
    const qreal ratio = QGuiApplication::primaryScreen()->devicePixelRatio();
    m_display->move(qRound(place.x() * ratio), qRound(place.y() * ratio));
}

void RealInput::clickAt(const QPoint& place)
{
    click(place, kLeftButton);
}

void RealInput::rightClickAt(const QPoint& place)
{
    click(place, kRightButton);
}

void RealInput::click(const QPoint& place, unsigned button)
{
    moveTo(place);
    m_display->click(button);
    m_sinceClick.start();
}

void RealInput::type(const QString& text)
{
    for (const QChar character : text)
        m_display->key(character.unicode(), false); // printable ASCII is its own key symbol
}

void RealInput::pressKey(Qt::Key key, bool control)
{
    for (const KeyName& name : kKeys) {
        if (name.key == key)
            m_display->key(name.symbol, control);
    }
}

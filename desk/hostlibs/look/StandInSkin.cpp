#include "HostQtShell.h"
#include "StandInHost.h"
#include "StandInRecords.h"
#include "StandInStyle.h"

#include <QApplication>
#include <QHash>
#include <QPalette>
#include <QToolTip>

#include <algorithm>
#include <iterator>

namespace {

/// One named colour with its value in either look; 0xRRGGBB.
struct NamedColor
{
    const char* name;
    QRgb light;
    QRgb dark;
    /// Gives way to the colour that the user chose for highlights.
    bool followsHighlight;
};

constexpr NamedColor kColors[] = {
    {"BackgroundOddRowActiveColor", 0xd6dbe2, 0x464c55, false},
    {"BackgroundEvenRowActiveColor", 0xe1e5eb, 0x3f454d, false},
    {"MenuSelectionColor", 0x2f6fd0, 0x5b9bff, true},
    {"WindowHighlightFrameColor", 0x2f6fd0, 0x5b9bff, true},
};

struct NamedNumber
{
    const char* name;
    quint16 light;
    quint16 dark;
};

constexpr NamedNumber kNumbers[] = {
    {"WindowHighlightFrameWidth", 2, 2},
    /// Percent.
    {"WindowHighlightFrameOpacity", 70, 80},
};

struct RoleColor
{
    QPalette::ColorRole role;
    QRgb light;
    QRgb dark;
};

constexpr RoleColor kRoles[] = {
    {QPalette::Window, 0xeceef1, 0x25282d},
    {QPalette::WindowText, 0x1d2126, 0xdfe3e8},
    {QPalette::Base, 0xffffff, 0x1c1f23},
    {QPalette::AlternateBase, 0xf4f5f7, 0x22262b},
    {QPalette::Text, 0x1d2126, 0xdfe3e8},
    {QPalette::Button, 0xe6e9ed, 0x343940},
    {QPalette::ButtonText, 0x1d2126, 0xdfe3e8},
    {QPalette::BrightText, 0xb3261e, 0xff8a80},
    {QPalette::ToolTipBase, 0xfffbe6, 0x3a3f47},
    {QPalette::ToolTipText, 0x1d2126, 0xeef1f4},
    {QPalette::PlaceholderText, 0x6b7280, 0x8a929c},
    {QPalette::Link, 0x1f5fbf, 0x7db1ff},
    {QPalette::LinkVisited, 0x6a4bb0, 0xb79cff},
    // Icons keep their colour in a selected row, so it must not be too near to that.
    {QPalette::Highlight, 0xa9c8f2, 0x2f6fd0},
    {QPalette::HighlightedText, 0x1d2126, 0xffffff},
};

constexpr QRgb kDisabledTextLight = 0x757c86;
constexpr QRgb kDisabledTextDark = 0x959ca5;
/// The colour that the icons are drawn in.
constexpr QRgb kIconInk = 0x4a5059;
constexpr QRgb kIconInkDark = 0xc8cdd4;
/// Grey values from here on take black text.
constexpr int kBrightFrom = 128;

int theSkin = StandInHost::kLightSkin;
QColor theHighlight;
QHash<QString, quint16> theNumbers;
bool theHostIsBare = false;

bool isDark()
{
    return theSkin >= HostQtShell::kFirstDarkSkin;
}

template <class Entry>
QRgb valueOf(const Entry& entry)
{
    return isDark() ? entry.dark : entry.light;
}

template <class Entry, std::size_t count>
const Entry* find(const Entry (&table)[count], const QString& name)
{
    const auto found = std::find_if(std::begin(table), std::end(table), [&name](const Entry& entry) {
        return name == QLatin1String(entry.name);
    });
    return found == std::end(table) ? nullptr : found;
}

QPalette skinPalette()
{
    QPalette palette;
    for (const RoleColor& role : kRoles)
        palette.setColor(role.role, QColor::fromRgb(valueOf(role)));
    if (theHighlight.isValid()) {
        const bool isBright = qGray(theHighlight.rgb()) >= kBrightFrom;
        palette.setColor(QPalette::Highlight, theHighlight);
        palette.setColor(QPalette::HighlightedText, isBright ? QColor(Qt::black) : QColor(Qt::white));
    }
    const QColor disabled = QColor::fromRgb(isDark() ? kDisabledTextDark : kDisabledTextLight);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, disabled);
    const QColor button = palette.color(QPalette::Button);
    palette.setColor(QPalette::Light, button.lighter(isDark() ? 140 : 110));
    palette.setColor(QPalette::Midlight, button.lighter(isDark() ? 120 : 105));
    palette.setColor(QPalette::Mid, button.darker(isDark() ? 130 : 120));
    palette.setColor(QPalette::Dark, button.darker(isDark() ? 160 : 150));
    palette.setColor(QPalette::Shadow, QColor::fromRgb(isDark() ? 0x0d0f11 : 0x6b7078));
    return palette;
}

void applyToApplication()
{
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    if (!dynamic_cast<StandInStyle*>(QApplication::style()))
        QApplication::setStyle(new StandInStyle);
    const QPalette palette = skinPalette();
    QApplication::setPalette(palette);
    QToolTip::setPalette(palette);
}

} // namespace

namespace HostQtShell {

QColor paletteColor(const QString& name)
{
    if (StandInHost::isBare())
        return QColor();
    const NamedColor* color = find(kColors, name);
    return color ? QColor::fromRgb(valueOf(*color)) : QColor();
}

QColor highlightPaletteColor(const QString& name)
{
    const NamedColor* color = find(kColors, name);
    if (color && color->followsHighlight && theHighlight.isValid())
        return theHighlight;
    return paletteColor(name);
}

quint16 paletteNumber(const QString& name)
{
    if (theNumbers.contains(name))
        return theNumbers.value(name);
    const NamedNumber* number = find(kNumbers, name);
    return number ? (isDark() ? number->dark : number->light) : quint16(0);
}

int currentSkinIndex()
{
    return theSkin;
}

IconTintColors iconTintColors()
{
    if (StandInHost::isBare())
        return {};
    const QColor ink = QColor::fromRgb(kIconInk);
    return {ink, isDark() ? QColor::fromRgb(kIconInkDark) : ink};
}

} // namespace HostQtShell

namespace StandInHost {

void setSkin(int index)
{
    theSkin = qMax(0, index);
    applyToApplication();
}

void setBare(bool bare)
{
    theHostIsBare = bare;
}

bool isBare()
{
    return theHostIsBare;
}

void setHighlightColor(const QColor& color)
{
    theHighlight = color.isValid() ? QColor::fromRgb(color.rgb()) : QColor();
    applyToApplication();
}

void setPaletteNumber(const QString& name, quint16 value)
{
    theNumbers.insert(name, value);
}

void resetPaletteNumbers()
{
    theNumbers.clear();
}

} // namespace StandInHost

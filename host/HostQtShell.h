#pragma once

#include "HostComponentFactory.h"

#include <QAbstractScrollArea>
#include <QColor>
#include <QIcon>
#include <QMessageBox>
#include <QPixmap>
#include <QRect>
#include <QString>
#include <QtGlobal>

class QPainter;

/// The host's windows, message boxes, skins and icons. GUI thread only.
namespace HostQtShell {

/// Runs a modal message box that the host manages.
/// \param parent the window to stay above; may be null. \param icon as in QMessageBox (0 none, 1 information,
/// 2 warning, 3 critical, 4 question). \param defaultButton what Enter presses.
/// \return the button that was chosen. A box that is closed otherwise counts as its rejecting button (No or
/// Cancel) where it has one, else as the default button.
/// Without it: (no button) questions count as refused.
KRX_HOST_API QMessageBox::StandardButton showManagedMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                                               const QString& title, const QString& text,
                                                               QMessageBox::StandardButtons buttons,
                                                               QMessageBox::StandardButton defaultButton);

/// Runs the modal directory chooser of the platform.
/// \param parent may be null. \param caption its title, localised. \param start where it starts; may be
/// empty. \return the chosen directory with "/" separators, empty when the user cancelled.
/// Without it: nothing was chosen.
KRX_HOST_API QString chooseDirectory(QWidget* parent, const QString& caption, const QString& start);

/// A colour of the current skin by its palette name, opaque. Unknown names give an invalid colour.
/// Without it: (invalid) the widget's own colour is taken.
KRX_HOST_API QColor paletteColor(const QString& name);
/// As paletteColor(), adjusted to the user's choice of highlight.
/// Without it: (invalid) the widget's own colour is taken.
KRX_HOST_API QColor highlightPaletteColor(const QString& name);
/// A number of the current skin by its palette name; 0 for an unknown name.
/// Without it: (0) the frame around the active panel cannot be seen.
KRX_HOST_API quint16 paletteNumber(const QString& name);
/// The index of the current skin; 0 to 3 are the light skins.
/// Without it: the skin counts as a light one.
KRX_HOST_API int currentSkinIndex();
/// The first index that is a dark skin.
constexpr int kFirstDarkSkin = 4;

/// The two colours used to tint skin icons: \a from in the icon is replaced by \a to.
struct IconTintColors
{
    QColor from;
    QColor to;
};

/// The tint of the current skin.
/// Without it: (invalid) icons keep their colours.
KRX_HOST_API IconTintColors iconTintColors();

/// How an icon is drawn that has variants.
enum class IconVariant { Normal, Pressed };

/// Opacity for icons, 0 to 255: less when disabled.
/// Without it: icons are not seen; 255 shows them as they are.
KRX_HOST_API int disabledAlpha(bool isDisabled);
/// Draws an icon of a skin group, scaled to fit \a rect with its aspect kept, centred.
/// \param painter active. \param iconId for example "open_arrow.png". \param group for example
/// "icons/Arrows/" (a closing slash does not matter). \param colors tint; invalid colours leave the icon as
/// it is. \param alpha opacity, 0 to 255.
/// Without it: nothing is drawn where skinnedPixmap() said that there is a picture.
KRX_HOST_API void drawSkinnedIcon(QPainter* painter, const QRect& rect, const QString& iconId,
                                  const QString& group, const IconTintColors& colors, int alpha,
                                  IconVariant variant = IconVariant::Normal);
/// Draws an image as drawSkinnedIcon() does, for pictures that the caller holds already.
/// Without it: a folder has no icon in the list.
KRX_HOST_API void drawSkinnedImage(QPainter* painter, const QRect& rect, const QPixmap& image,
                                   const IconTintColors& colors, int alpha);
/// An icon of a skin group; null when the skin has none of that name.
/// Without it: (null) a folder has no icon in the list.
KRX_HOST_API QIcon skinnedIcon(const QString& iconId, const QString& group);
/// An image of a skin group at the resolution of the screen; its device pixel ratio is set.
/// Without it: (null) the module draws a simple shape.
KRX_HOST_API QPixmap skinnedPixmap(const QString& iconId, const QString& group);

/// Lays the host's drop shadow over a scroll area's viewport: a child of the area that is transparent for
/// mouse events and keeps itself at the viewport's geometry. \return the overlay, owned by \a area.
/// Without it: (null) there is no shadow.
KRX_HOST_API QWidget* addDropShadowOverlay(QAbstractScrollArea* area);

/// The host's variant of a scrolling widget: the plain one with the host's drop shadow over its viewport.
template <class ScrollArea>
class VScrollWidget : public ScrollArea
{
public:
    explicit VScrollWidget(QWidget* parent = nullptr)
        : ScrollArea(parent)
    {
        addDropShadowOverlay(this);
    }
};

/// From now on the host leaves the focus of its panes alone, until releaseNavigationPanes() was called as
/// often.
/// Without it: nothing else happens.
KRX_HOST_API void holdNavigationPanes();
/// Ends what one holdNavigationPanes() began.
/// Without it: nothing else happens.
KRX_HOST_API void releaseNavigationPanes();

/// Holds the host's panes as long as it lives; held around modal dialogs.
class NavigationPaneGuard
{
public:
    NavigationPaneGuard() { holdNavigationPanes(); }
    ~NavigationPaneGuard() { releaseNavigationPanes(); }
    NavigationPaneGuard(const NavigationPaneGuard&) = delete;
    NavigationPaneGuard& operator=(const NavigationPaneGuard&) = delete;
};

/// A window that the host manages and that can be shut off while a modal window of the module is open.
class HostManagedWindow
{
public:
    virtual ~HostManagedWindow() = default;
    virtual void setWindowEnabled(bool enabled) = 0;
};

} // namespace HostQtShell

using HostQtShell::HostManagedWindow;

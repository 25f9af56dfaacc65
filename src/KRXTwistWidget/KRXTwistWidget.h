#pragma once

#include "KRXExport.h"

#include <QPointer>
#include <QString>
#include <QWidget>

class ArrowButton;
class KRXProfilesWindow;
class QFont;
class QLayout;
class QPainter;
class QVBoxLayout;

/// A collapsible section: a title bar with an arrow above a body that is shown while the section is open.
///
/// Sections nest. A section that changes its size says so with widgetWasResized(), which every section around
/// it passes on, so that the window that holds the outermost one can follow. The Tab key reaches a section,
/// and the space bar then opens and closes it.
class KRX_EXPORT KRXTwistWidget : public QWidget
{
    Q_OBJECT

public:
    /// A closed section.
    /// \param title shown beside the arrow, already localised; without one the title bar has the arrow alone.
    KRXTwistWidget(QWidget* parent, const QString& title);
    ~KRXTwistWidget() override;

    bool isOpen() const { return m_open; }
    /// Opens or closes the section. A disabled section only remembers \a open: body and arrow keep their
    /// look.
    void setOpen(bool open);

    bool isSelected() const { return m_selected; }
    /// Marks the section as selected without repainting.
    void setSelected(bool selected) { m_selected = selected; }

    bool isUseTransparentBackground() const { return m_useTransparentBackground; }
    /// A transparent section paints nothing of its own. Does not repaint.
    void setUseTransparentBackground(bool transparent) { m_useTransparentBackground = transparent; }

    /// Puts \a w into the body, which owns it from then on.
    /// \param index position in the body; 0 appends, so nothing can be inserted in front of the first item.
    void addWidgetToBody(QWidget* w, int index);
    /// Appends a layout to the body, which owns it from then on.
    void addLayoutToBody(QLayout* layout);
    /// Takes \a w out of the body; it has no parent then and belongs to the caller. A widget that is not an
    /// item of the body is left alone.
    void removeWidgetFromBody(QWidget* w);

    /// Appends a new section to the body. \return the new section, owned by the body.
    KRXTwistWidget* addSubTW(const QString& title);
    /// Puts an existing section into the body; \a index as in addWidgetToBody().
    void addSubTW(KRXTwistWidget* child, int index);

    /// The present height of the body in pixels.
    int getContentHeight() const;
    /// The profile editor around the section; null when there is none.
    KRXProfilesWindow* getProfilesWindow();
    /// Sets the font of the title bar.
    void setTitleFont(const QFont& font);
    /// Lays out the body, then the section around it.
    void updateTWLayout();

    /// Whether the line that shows where a dragged row would be dropped is to be painted.
    virtual bool showDropIndicator() const;

public Q_SLOTS:
    /// Closes an open section and opens a closed one, unless it is disabled.
    void DoExpandColapse();

Q_SIGNALS:
    /// The section, or one inside it, was opened or closed.
    void widgetWasResized();

protected:
    /// Where the drop indicator is painted.
    enum DropPosition { NoDrop = 0, DropAtTop = 1, DropAtBottom = 2 };

    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;

    /// The layout of the body.
    QVBoxLayout* bodyLayout() const;

    ArrowButton* m_arrow = nullptr;
    bool m_open = false;
    QWidget* m_titleWidget = nullptr;
    QWidget* m_bodyWidget = nullptr;
    bool m_useTransparentBackground = false;
    bool m_selected = false;
    /// One of DropPosition. Only derived classes set it.
    int m_dropPosition = NoDrop;

private:
    void createTitle(const QString& title);
    void createBody();
    void expand();
    void collapse();
    int indexInParentLayout() const;
    void paintDropIndicator(QPainter& painter) const;

    QPointer<KRXProfilesWindow> m_profilesWindow;
};

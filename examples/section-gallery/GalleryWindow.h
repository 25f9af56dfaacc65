#pragma once

#include <QWidget>

class QTabWidget;

namespace Gallery {

/// All pages on tabs, and a choice of skin.
class GalleryWindow : public QWidget
{
    Q_OBJECT

public:
    GalleryWindow();

private:
    void showSkin(int skin);

    QTabWidget* m_tabs;
};

} // namespace Gallery

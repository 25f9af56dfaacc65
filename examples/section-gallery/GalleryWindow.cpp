#include "GalleryWindow.h"

#include "GalleryPages.h"
#include "StandInHost.h"

#include <QComboBox>
#include <QScrollArea>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Gallery {

GalleryWindow::GalleryWindow()
    : m_tabs(new QTabWidget)
{
    setWindowTitle(QStringLiteral("Section gallery"));
    auto* skins = new QComboBox;
    skins->addItem(QStringLiteral("Light"), StandInHost::kLightSkin);
    skins->addItem(QStringLiteral("Dark"), StandInHost::kDarkSkin);
    connect(skins, qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this, skins] { showSkin(skins->currentData().toInt()); });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(skins, 0, Qt::AlignLeft);
    layout->addWidget(m_tabs);
    resize(640, 800);
    showSkin(StandInHost::kLightSkin);
}

void GalleryWindow::showSkin(int skin)
{
    StandInHost::setSkin(skin);
    const int current = m_tabs->currentIndex();
    while (m_tabs->count() > 0)
        delete m_tabs->widget(0);
    for (const Page& page : pages()) {
        auto* area = new QScrollArea;
        area->setWidgetResizable(true);
        area->setWidget(page.make());
        m_tabs->addTab(area, QString::fromUtf8(page.title));
    }
    m_tabs->setCurrentIndex(qMax(0, current));
}

} // namespace Gallery

// How the panel is put together, enabled and framed.

#include "HostQtShell.h"
#include "KRXFolderViewWidget.h"
#include "KRXSkin.h"
#include "KRXSummaryWidget.h"
#include "KRXText.h"
#include "KRXTextFitter.h"
#include "KRXTwistWidget.h"
#include "KRXWindow.h"

#include <QColor>
#include <QComboBox>
#include <QFont>
#include <QHBoxLayout>
#include <QLabel>
#include <QMargins>
#include <QPainter>
#include <QPen>
#include <QPushButton>
#include <QResizeEvent>
#include <QSizePolicy>
#include <QSpacerItem>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int kSmallButton = 20;
constexpr int kProfilesBoxWidth = 180;
constexpr int kEditorButtonWidth = 80;
constexpr QFont::Weight kMessageWeight = QFont::Bold;
constexpr int kOpaque = 255;

/// A message that wraps. Layouts ask a wrapping label for its height before they know its width, and then
/// squeeze its neighbours; this one insists on what its width needs.
class MessageLabel : public QLabel
{
public:
    MessageLabel(const QString& text, QWidget* parent)
        : QLabel(text, parent)
    {
        setWordWrap(true);
    }

protected:
    void resizeEvent(QResizeEvent* event) override
    {
        QLabel::resizeEvent(event);
        setMinimumHeight(heightForWidth(width()));
    }
};

QPushButton* smallButton(const QString& objectName, const QString& text, const QString& tooltip,
                         QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(objectName);
    button->setToolTip(tooltip);
    button->setFixedSize(kSmallButton, kSmallButton);
    return button;
}

} // namespace

void KRXWindow::initInterior()
{
    auto* main = new QVBoxLayout(this);
    main->setSizeConstraint(QLayout::SetMinAndMaxSize);
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Maximum);
    initFoldersView();
    initProfilesWidgets();
    initSummary();
    main->addStretch();

    m_offlineMessage =
        new MessageLabel(KRXText::localised("Velo Editor Services are not Running. "
                                            "Please start Services from the Velo Editor Services Manager..."),
                         this);
    m_offlineMessage->setObjectName(QStringLiteral("offlineMessage"));
    QFont bold = font();
    bold.setWeight(kMessageWeight);
    m_offlineMessage->setFont(bold);
    m_offlineMessage->hide();
    main->addWidget(m_offlineMessage);
    initTabOrder();
}

void KRXWindow::initFoldersView()
{
    m_addFolderBtn = smallButton(QStringLiteral("addFolderBtn"), KRXText::localised("+"),
                                 KRXText::localised("Add Folder to the KRX Folder List"), this);
    m_delFolderBtn = smallButton(QStringLiteral("delFolderBtn"), KRXText::localised("-"),
                                 KRXText::localised("Remove Selected Folder from KRX Folder List"), this);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_addFolderBtn);
    buttons->addWidget(m_delFolderBtn);
    buttons->addStretch();

    m_folderView = new HostQtShell::VScrollWidget<KRXFolderViewWidget>(this);
    m_folderView->setObjectName(QStringLiteral("folderViewWidget"));
    m_folderView->setToolTip(KRXText::localised("List of KRX Folders"));
    m_folderView->registerCallback(m_callback);

    auto* area = new QVBoxLayout;
    area->addWidget(m_folderView);
    area->addLayout(buttons);
    static_cast<QVBoxLayout*>(layout())->addLayout(area);

    connect(m_addFolderBtn, &QPushButton::clicked, this, &KRXWindow::addFolderBtnPressed);
    connect(m_delFolderBtn, &QPushButton::clicked, this, &KRXWindow::delFolderBtnPressed);
    connect(m_folderView, &QTreeWidget::itemChanged, this, &KRXWindow::folderItemChanged);
    connect(m_folderView, &QTreeWidget::currentItemChanged, this, &KRXWindow::folderCurrentItemChanged);
}

void KRXWindow::initProfilesWidgets()
{
    m_profilesBox = new QComboBox(this);
    m_profilesBox->setObjectName(QStringLiteral("profilesBox"));
    m_profilesBox->setFixedWidth(kProfilesBoxWidth);
    m_profilesBox->setToolTip(KRXText::localised("Choose Profile for Selected Folder"));

    m_profileEditBtn = new QPushButton(KRXText::localised("Profile Editor"), this);
    m_profileEditBtn->setObjectName(QStringLiteral("profileEditBtn"));
    m_profileEditBtn->setFixedSize(kEditorButtonWidth, m_profilesBox->sizeHint().height());
    m_profileEditBtn->setToolTip(KRXText::localised("Edit a Profile"));
    new KRXTextFitter(m_profileEditBtn);

    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(KRXText::localised("Profile:"), this));
    row->addWidget(m_profilesBox);
    row->addWidget(m_profileEditBtn);
    row->addItem(new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum));
    static_cast<QVBoxLayout*>(layout())->addLayout(row);

    connect(m_profileEditBtn, &QPushButton::clicked, this, &KRXWindow::openProfilesWindow);
    connect(m_profilesBox, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &KRXWindow::profileCurrentIndexChanged);
    if (m_profilesBox->count() > 0)
        m_profilesBox->setCurrentIndex(0);
    refreshStateAddFolderBtn();
}

void KRXWindow::initSummary()
{
    m_summarySection = new KRXTwistWidget(this, KRXText::localised("Summary"));
    m_summarySection->setObjectName(QStringLiteral("summaryTW"));
    m_summarySection->setToolTip(KRXText::localised("Summary of Selected Folder's Profile"));
    m_summarySection->setUseTransparentBackground(true);
    connect(m_summarySection, &KRXTwistWidget::widgetWasResized, this, &KRXWindow::updateWindowHeight);

    m_summaryWidget = new KRXSummaryWidget(m_summarySection);
    m_summaryWidget->setObjectName(QStringLiteral("summaryWidget"));
    m_summarySection->addWidgetToBody(m_summaryWidget, 0);
    layout()->addWidget(m_summarySection);
}

void KRXWindow::initTabOrder()
{
    setTabOrder(m_folderView, m_addFolderBtn);
    setTabOrder(m_addFolderBtn, m_delFolderBtn);
    setTabOrder(m_delFolderBtn, m_profilesBox);
    setTabOrder(m_profilesBox, m_profileEditBtn);
}

void KRXWindow::enableUI(bool on)
{
    for (QWidget* control : {static_cast<QWidget*>(m_folderView), static_cast<QWidget*>(m_addFolderBtn),
                             static_cast<QWidget*>(m_delFolderBtn), static_cast<QWidget*>(m_profileEditBtn),
                             static_cast<QWidget*>(m_summaryWidget), static_cast<QWidget*>(m_profilesBox),
                             static_cast<QWidget*>(m_summarySection)})
        control->setEnabled(on);
    // The message knows its width before it asks for a height.
    const QMargins margins = layout()->contentsMargins();
    m_offlineMessage->resize(width() - margins.left() - margins.right(), m_offlineMessage->height());
    m_offlineMessage->setVisible(!on);
}

void KRXWindow::refreshStateAddFolderBtn()
{
    m_addFolderBtn->setEnabled(m_profilesBox->count() > 0);
}

void KRXWindow::refreshStateDelFolderBtn()
{
    m_delFolderBtn->setEnabled(m_folderView->currentItem() != nullptr);
}

void KRXWindow::updateWindowHeight()
{
    setNewHeight(layout()->totalSizeHint().height());
}

void KRXWindow::setInHighlightState(bool highlighted)
{
    if (m_inHighlightState == highlighted)
        return;
    m_inHighlightState = highlighted;
    update();
}

void KRXWindow::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    if (!m_inHighlightState)
        return;
    // A width of 0 is a pen too: the thinnest line there is.
    // Host number WindowHighlightFrameWidth; without it: the frame is as thin as a line can be.
    // Host number WindowHighlightFrameOpacity; without it: the frame cannot be seen.
    const int width = HostQtShell::paletteNumber(QStringLiteral("WindowHighlightFrameWidth"));
    const int opacity = HostQtShell::paletteNumber(QStringLiteral("WindowHighlightFrameOpacity"));
    QColor color =
        KRXSkin::highlightColor(QStringLiteral("WindowHighlightFrameColor"), this, QPalette::Highlight);
    color.setAlpha(qMin(opacity * kOpaque / 100, kOpaque));

    // The pen is centred on the outline, so the outline goes in by half of it; odd widths have their larger
    // half at the right and at the bottom.
    const int near = width / 2;
    const int far = width - near;
    QPainter painter(this);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(rect().adjusted(near, near, -far, -far));
}

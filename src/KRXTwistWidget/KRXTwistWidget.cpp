#include "KRXTwistWidget.h"

#include "ArrowButton.h"
#include "HostQtShell.h"
#include "KRXProfilesWindow.h"
#include "KRXSkin.h"

#include <QEvent>
#include <QFont>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPen>
#include <QSpacerItem>
#include <QStyleOptionFocusRect>
#include <QStylePainter>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int kTitleHeight = 25;
constexpr int kArrowSize = 10;
constexpr int kSideMargin = 3;
constexpr int kTitleSpacing = 5;
/// In percent, as QColor::lighter() takes it.
constexpr int kSelectionFactor = 125;
constexpr int kDropIndicatorWidth = 3;
constexpr int kDropIndicatorInset = 3;
constexpr int kFocusInset = 1;

/// The title bar. It shows that the section has the keyboard's focus, on a transparent section too.
class TitleBar : public QWidget
{
public:
    using QWidget::QWidget;

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (!parentWidget()->hasFocus())
            return;
        QStylePainter painter(this);
        QStyleOptionFocusRect option;
        option.initFrom(this);
        option.rect = rect().adjusted(kFocusInset, kFocusInset, -kFocusInset, -kFocusInset);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, option);
    }
};

} // namespace

KRXTwistWidget::KRXTwistWidget(QWidget* parent, const QString& title)
    : QWidget(parent)
{
    setContentsMargins(0, 0, 0, 0);
    setFocusPolicy(Qt::TabFocus);
    auto* mainLayout = new QVBoxLayout(this);
    mainLayout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    mainLayout->setContentsMargins(0, 0, 0, 0);
    mainLayout->setSpacing(0);

    createTitle(title);
    mainLayout->addWidget(m_titleWidget);
    createBody();
    mainLayout->addWidget(m_bodyWidget);
}

KRXTwistWidget::~KRXTwistWidget()
{
    // While this is still a section: what the body holds may look for the sections around it when it goes.
    delete m_arrow;
    m_arrow = nullptr;
    delete m_titleWidget;
    m_titleWidget = nullptr;
    delete m_bodyWidget;
    m_bodyWidget = nullptr;
}

void KRXTwistWidget::createTitle(const QString& title)
{
    m_titleWidget = new TitleBar(this);
    m_titleWidget->setFixedHeight(kTitleHeight);

    m_arrow = new ArrowButton(m_titleWidget);
    connect(m_arrow, &ArrowButton::clicked, this, &KRXTwistWidget::DoExpandColapse);
    m_arrow->setFixedSize(kArrowSize, kArrowSize);
    m_arrow->setState(ArrowButton::Closed);

    auto* layout = new QHBoxLayout(m_titleWidget);
    layout->setContentsMargins(kSideMargin, 0, kSideMargin, 0);
    layout->setSpacing(0);
    layout->addWidget(m_arrow);
    if (title.isEmpty())
        return;
    layout->addWidget(new QLabel(title, m_titleWidget));
    layout->setSpacing(kTitleSpacing);
    layout->addItem(new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Expanding));
}

void KRXTwistWidget::createBody()
{
    m_bodyWidget = new QWidget(this);
    auto* layout = new QVBoxLayout(m_bodyWidget);
    layout->setSizeConstraint(QLayout::SetMinAndMaxSize);
    layout->setSpacing(0);
    layout->setContentsMargins(m_arrow->width(), 0, kSideMargin, kSideMargin);
    m_bodyWidget->hide();
}

QVBoxLayout* KRXTwistWidget::bodyLayout() const
{
    return static_cast<QVBoxLayout*>(m_bodyWidget->layout());
}

void KRXTwistWidget::setOpen(bool open)
{
    m_open = open;
    if (!isEnabled())
        return;
    if (open)
        expand();
    else
        collapse();
    emit widgetWasResized();
}

void KRXTwistWidget::DoExpandColapse()
{
    if (!isEnabled())
        return;
    if (m_open)
        collapse();
    else
        expand();
    emit widgetWasResized();
}

void KRXTwistWidget::expand()
{
    m_open = true;
    m_arrow->setState(ArrowButton::Open);
    m_arrow->update();
    m_bodyWidget->show();
    updateTWLayout();
}

void KRXTwistWidget::collapse()
{
    m_open = false;
    m_arrow->setState(ArrowButton::Closed);
    m_arrow->update();
    m_bodyWidget->hide();
    updateTWLayout();
    // The nearest section around this one is enough: those further out follow with their own layouts.
    for (QWidget* up = parentWidget(); up; up = up->parentWidget()) {
        if (auto* section = qobject_cast<KRXTwistWidget*>(up)) {
            section->updateTWLayout();
            break;
        }
    }
}

void KRXTwistWidget::updateTWLayout()
{
    m_bodyWidget->layout()->activate();
    layout()->activate();
}

void KRXTwistWidget::addWidgetToBody(QWidget* w, int index)
{
    if (!w)
        return;
    if (index != 0)
        bodyLayout()->insertWidget(qMin(index, bodyLayout()->count()), w);
    else
        bodyLayout()->addWidget(w);
    w->setParent(m_bodyWidget);
}

void KRXTwistWidget::addLayoutToBody(QLayout* layout)
{
    bodyLayout()->addLayout(layout);
}

void KRXTwistWidget::removeWidgetFromBody(QWidget* w)
{
    // A widget without a parent leaves the layout by itself.
    if (w && bodyLayout()->indexOf(w) >= 0)
        w->setParent(nullptr);
}

KRXTwistWidget* KRXTwistWidget::addSubTW(const QString& title)
{
    auto* child = new KRXTwistWidget(this, title);
    addSubTW(child, 0);
    return child;
}

void KRXTwistWidget::addSubTW(KRXTwistWidget* child, int index)
{
    if (!child)
        return;
    // A child that was taken out and comes back is still connected.
    connect(child, &KRXTwistWidget::widgetWasResized, this, &KRXTwistWidget::widgetWasResized,
            Qt::UniqueConnection);
    addWidgetToBody(child, index);
}

int KRXTwistWidget::getContentHeight() const
{
    return m_bodyWidget->height();
}

KRXProfilesWindow* KRXTwistWidget::getProfilesWindow()
{
    for (QWidget* up = parentWidget(); up && !m_profilesWindow; up = up->parentWidget())
        m_profilesWindow = qobject_cast<KRXProfilesWindow*>(up);
    return m_profilesWindow;
}

void KRXTwistWidget::setTitleFont(const QFont& font)
{
    m_titleWidget->setFont(font);
}

bool KRXTwistWidget::showDropIndicator() const
{
    return false;
}

void KRXTwistWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::EnabledChange && m_arrow)
        m_arrow->setEnabled(isEnabled());
    QWidget::changeEvent(event);
}

void KRXTwistWidget::keyPressEvent(QKeyEvent* event)
{
    // Only for the section itself: what its body did not want is nothing for its title.
    if (event->key() == Qt::Key_Space && hasFocus())
        DoExpandColapse();
    else
        QWidget::keyPressEvent(event);
}

void KRXTwistWidget::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    // Show events come from the inside out. Settled in that order, each section is laid out once; left to the
    // layout requests that follow, which go from the outside in, each one would have every section around it
    // laid out anew, and the work would grow with the square of the nesting.
    updateTWLayout();
}

int KRXTwistWidget::indexInParentLayout() const
{
    const QWidget* parent = parentWidget();
    if (!parent || !parent->layout())
        return 0;
    // A section in a layout inside the parent's layout is not found there and counts as the first.
    return std::max(parent->layout()->indexOf(const_cast<KRXTwistWidget*>(this)), 0);
}

void KRXTwistWidget::paintEvent(QPaintEvent*)
{
    if (m_useTransparentBackground)
        return;
    const bool isOdd = indexInParentLayout() % 2 != 0;
    QColor background =
        isOdd ? KRXSkin::color(QStringLiteral("BackgroundOddRowActiveColor"), this, QPalette::AlternateBase)
              : KRXSkin::color(QStringLiteral("BackgroundEvenRowActiveColor"), this, QPalette::Window);
    if (m_selected) {
        const bool isLightSkin = HostQtShell::currentSkinIndex() < HostQtShell::kFirstDarkSkin;
        background = isLightSkin ? background.lighter(kSelectionFactor) : background.darker(kSelectionFactor);
    }
    QPainter painter(this);
    painter.fillRect(rect(), background);
    if (showDropIndicator())
        paintDropIndicator(painter);
}

void KRXTwistWidget::paintDropIndicator(QPainter& painter) const
{
    const QColor color =
        KRXSkin::highlightColor(QStringLiteral("MenuSelectionColor"), this, QPalette::Highlight);
    const QRect line = rect().adjusted(0, kDropIndicatorInset, 0, -kDropIndicatorInset);
    painter.setPen(QPen(color, kDropIndicatorWidth, Qt::SolidLine));
    const int y = m_dropPosition == DropAtBottom ? line.bottom() : line.top();
    painter.drawLine(line.left(), y, line.right(), y);
}

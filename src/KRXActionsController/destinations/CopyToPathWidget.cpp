#include "CopyToPathWidget.h"

#include "KRXModal.h"
#include "KRXText.h"
#include "KRXTextFitter.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QStandardPaths>
#include <QToolTip>

namespace {

constexpr int kMargin = 3;
constexpr int kSpacing = 3;
constexpr int kSetButtonWidth = 25;
constexpr int kSetButtonHeight = 20;

/// Where the next chooser of any copy action starts.
QString& lastFolder()
{
    static QString folder = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    return folder;
}

} // namespace

CopyToPathWidget::CopyToPathWidget(QWidget* parent)
    : QWidget(parent)
    , m_setButton(new QPushButton(KRXText::localised("Set"), this))
{
    m_setButton->setFixedSize(kSetButtonWidth, kSetButtonHeight);
    new KRXTextFitter(m_setButton);
    auto* layout = new QHBoxLayout(this);
    layout->setSpacing(kSpacing);
    layout->setContentsMargins(kMargin, kMargin, kMargin, kMargin);
    layout->addWidget(m_setButton, 0, Qt::AlignRight);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    connect(m_setButton, &QPushButton::clicked, this, &CopyToPathWidget::showFileDialog);
}

void CopyToPathWidget::setPath(const QString& path)
{
    m_path = path;
    setToolTip(path);
    update();
}

void CopyToPathWidget::showFileDialog()
{
    // The row can be taken out while the chooser is open.
    const QPointer<CopyToPathWidget> self(this);
    const QString chosen =
        KRXModal::chooseDirectory(this, nullptr, KRXText::localised("Select Folder"), lastFolder());
    if (chosen.isEmpty())
        return;
    lastFolder() = chosen;
    if (!self)
        return;
    setPath(chosen);
    emit pathChosen();
}

bool CopyToPathWidget::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip || toolTip().isEmpty())
        return QWidget::event(event);
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), KRXText::plainToolTip(toolTip()), this);
    return true;
}

void CopyToPathWidget::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QFontMetrics metrics = painter.fontMetrics();
    const int room = width() - m_setButton->width() - kMargin;
    const QString text =
        metrics.elidedText(KRXText::localised("Copy To:  %1").arg(m_path), Qt::ElideMiddle, room);
    const int top = (height() - metrics.height()) / 2;
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(QRect(0, top, room, metrics.height()), Qt::AlignLeft | Qt::TextSingleLine, text);
}

#include "BinsPane.h"

#include "BinsModel.h"
#include "DeskProject.h"

#include <QHeaderView>
#include <QLabel>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

constexpr int kNameWidth = 260;
constexpr int kColumnWidth = 90;
constexpr int kHintMargin = 24;
constexpr int kRowPadding = 6;
constexpr int kScrollPause = 100; ///< milliseconds

/// Rows with some air, for a list that is read rather than worked in.
class RoomyDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kRowPadding);
    }
};

} // namespace

BinsPane::BinsPane(DeskProject& project, QWidget* parent)
    : QWidget(parent)
    , m_project(project)
    , m_model(new BinsModel(project, this))
    , m_view(new QTreeView(this))
    , m_hint(
          new QLabel(tr("Clips appear here when you click the icon of a folder that has some ready."), this))
{
    m_view->setObjectName(QStringLiteral("binsView"));
    m_view->setModel(m_model);
    m_view->setUniformRowHeights(true);
    m_view->setItemDelegate(new RoomyDelegate(m_view));
    m_view->setAlternatingRowColors(true);
    m_view->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->header()->setStretchLastSection(true);
    m_view->header()->resizeSection(BinsModel::NameColumn, kNameWidth);
    for (const int column : {BinsModel::KindColumn, BinsModel::DurationColumn, BinsModel::StartColumn,
                             BinsModel::ReelColumn, BinsModel::CheckedColumn})
        m_view->header()->resizeSection(column, kColumnWidth);

    m_hint->setAlignment(Qt::AlignCenter);
    m_hint->setWordWrap(true);
    m_hint->setMargin(kHintMargin);
    m_hint->setForegroundRole(QPalette::PlaceholderText);
    m_hint->setAttribute(Qt::WA_TransparentForMouseEvents);
    auto* over = new QVBoxLayout(m_view->viewport());
    over->addWidget(m_hint);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);

    m_scroll.setSingleShot(true);
    m_scroll.setInterval(kScrollPause);
    connect(&m_scroll, &QTimer::timeout, this, &BinsPane::scrollToLastClip);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) { m_project.setActiveBin(BinsModel::binOf(current)); });
    connect(&m_project, &DeskProject::wasReset, this, &BinsPane::projectReplaced);
    connect(&m_project, &DeskProject::clipAdded, this, &BinsPane::showLastClip);
    connect(&m_project, &DeskProject::binAdded, this, &BinsPane::updateEmptyHint);
    projectReplaced();
}

void BinsPane::showLastClip(int bin, int clip)
{
    m_view->expand(m_model->index(bin, 0));
    // All rows are laid out for it, so that is done once for clips that come together.
    m_lastBin = bin;
    m_lastClip = clip;
    if (!m_scroll.isActive())
        m_scroll.start();
}

void BinsPane::scrollToLastClip()
{
    const QModelIndex clip = m_model->index(m_lastClip, 0, m_model->index(m_lastBin, 0));
    if (clip.isValid())
        m_view->scrollTo(clip);
}

void BinsPane::projectReplaced()
{
    m_scroll.stop();
    m_view->expandAll();
    updateEmptyHint();
}

void BinsPane::updateEmptyHint()
{
    m_hint->setVisible(m_project.bins().isEmpty());
}

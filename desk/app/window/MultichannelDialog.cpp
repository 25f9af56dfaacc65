#include "MultichannelDialog.h"

#include "HostMediaEngine.h"
#include "StandInMedia.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

/// Enough for what editors link; a stored grouping of more tracks is shown whole all the same.
constexpr int kShownTracks = 16;
constexpr int kWidth = 320;
constexpr int kHeight = 420;

} // namespace

MultichannelDialog::MultichannelDialog(const QString& grouping, QWidget* parent)
    : QDialog(parent)
    , m_table(new QTableWidget(this))
    , m_outcome(new QLabel(this))
{
    setObjectName(QStringLiteral("multichannelDialog"));
    setWindowTitle(tr("Multichannel Audio"));
    m_table->setColumnCount(1);
    m_table->setHorizontalHeaderLabels({tr("What begins at this track")});
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setSelectionMode(QAbstractItemView::NoSelection);
    m_outcome->setObjectName(QStringLiteral("outcome"));
    m_outcome->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    QPushButton* none = buttons->addButton(tr("Ungroup All"), QDialogButtonBox::ResetRole);
    none->setObjectName(QStringLiteral("ungroupBtn"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_outcome);
    layout->addWidget(buttons);
    resize(kWidth, kHeight);

    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(none, &QPushButton::clicked, this, [this] {
        for (int track = 0; track < m_table->rowCount(); ++track)
            layoutBox(track)->setCurrentIndex(0);
    });
    fillRows(grouping);
}

QString MultichannelDialog::groupingText() const
{
    QList<StandInHost::ChannelGroup> groups;
    int track = 0;
    while (track < m_table->rowCount()) {
        const QString layout = layoutBox(track)->currentData().toString();
        const int count = StandInHost::channelLayoutTracks(layout);
        if (count > 0)
            groups.append({track + 1, count, layout});
        track += std::max(1, count);
    }
    return StandInHost::channelGroupsText(groups);
}

void MultichannelDialog::fillRows(const QString& grouping)
{
    QList<StandInHost::ChannelGroup> groups;
    StandInHost::parseChannelGroups(grouping, groups);
    const int last = groups.isEmpty() ? 0 : groups.last().last();
    const int tracks = std::max(kShownTracks, last);
    m_table->setRowCount(tracks);
    const QStringList layouts = StandInHost::channelLayouts();
    for (int track = 0; track < tracks; ++track) {
        auto* box = new QComboBox(m_table);
        box->setObjectName(QStringLiteral("track%1").arg(track + 1));
        box->addItem(tr("Mono"));
        for (const QString& layout : layouts) {
            if (track + StandInHost::channelLayoutTracks(layout) <= tracks)
                box->addItem(layout, layout);
        }
        m_table->setCellWidget(track, 0, box);
        connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, &MultichannelDialog::refresh);
    }
    for (const StandInHost::ChannelGroup& group : groups) {
        QComboBox* box = layoutBox(group.first - 1);
        const QSignalBlocker blocker(box);
        box->setCurrentIndex(std::max(0, box->findData(group.layout)));
    }
    refresh();
}

QComboBox* MultichannelDialog::layoutBox(int track) const
{
    return qobject_cast<QComboBox*>(m_table->cellWidget(track, 0));
}

void MultichannelDialog::refresh()
{
    int taken = 0;
    for (int track = 0; track < m_table->rowCount(); ++track) {
        QComboBox* box = layoutBox(track);
        const bool isFree = taken == 0;
        box->setEnabled(isFree);
        if (isFree)
            taken = std::max(1, StandInHost::channelLayoutTracks(box->currentData().toString()));
        --taken;
    }
    m_outcome->setText(HostMediaEngine::channelGroupsFromText(groupingText()).displayText);
}

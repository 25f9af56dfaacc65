#include "BinsModel.h"

#include "DeskProject.h"
#include "PlainText.h"

#include "HostQtShell.h"

#include <QFileInfo>
#include <QFont>
#include <QHash>
#include <QIcon>
#include <QPainter>
#include <QPixmap>

namespace {

/// What a bin carries as internal id; a clip carries its bin's position plus one.
constexpr quintptr kBinId = 0;
constexpr int kIconSize = 16;
/// Pixels per unit, enough for dense screens.
constexpr int kIconScale = 2;

/// The bin's icon in the colours of the skin.
QIcon binIcon()
{
    static QHash<int, QIcon> icons;
    QIcon& icon = icons[HostQtShell::currentSkinIndex()];
    if (icon.isNull()) {
        QPixmap picture(kIconSize * kIconScale, kIconSize * kIconScale);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        HostQtShell::drawSkinnedIcon(&painter, picture.rect(), QStringLiteral("folder_closed.png"),
                                     QStringLiteral("icons/ProjectBins"), HostQtShell::iconTintColors(),
                                     HostQtShell::disabledAlpha(false));
        painter.end();
        picture.setDevicePixelRatio(kIconScale);
        icon = QIcon(picture);
    }
    return icon;
}

QString kindText(const QString& kind)
{
    if (kind == QLatin1String("video"))
        return BinsModel::tr("Movie");
    if (kind == QLatin1String("audio"))
        return BinsModel::tr("Sound");
    if (kind == QLatin1String("image"))
        return BinsModel::tr("Still");
    if (kind == QLatin1String("sequence"))
        return BinsModel::tr("Sequence");
    return kind;
}

} // namespace

BinsModel::BinsModel(DeskProject& project, QObject* parent)
    : QAbstractItemModel(parent)
    , m_project(project)
{
    connect(&project, &DeskProject::aboutToReset, this, [this] { beginResetModel(); });
    connect(&project, &DeskProject::wasReset, this, [this] { endResetModel(); });
    connect(&project, &DeskProject::binAboutToBeAdded, this,
            [this](int bin) { beginInsertRows(QModelIndex(), bin, bin); });
    connect(&project, &DeskProject::binAdded, this, [this] { endInsertRows(); });
    connect(&project, &DeskProject::clipAboutToBeAdded, this,
            [this](int bin, int clip) { beginInsertRows(index(bin, 0), clip, clip); });
    connect(&project, &DeskProject::clipAdded, this, [this](int bin) {
        endInsertRows();
        // The bin's own row tells how many clips it holds.
        emit dataChanged(index(bin, 0), index(bin, ColumnCount - 1));
    });
}

int BinsModel::binOf(const QModelIndex& index)
{
    if (!index.isValid())
        return -1;
    return isClip(index) ? static_cast<int>(index.internalId()) - 1 : index.row();
}

bool BinsModel::isClip(const QModelIndex& index)
{
    return index.isValid() && index.internalId() != kBinId;
}

QModelIndex BinsModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    return createIndex(row, column, parent.isValid() ? static_cast<quintptr>(parent.row()) + 1 : kBinId);
}

QModelIndex BinsModel::parent(const QModelIndex& child) const
{
    return isClip(child) ? createIndex(binOf(child), 0, kBinId) : QModelIndex();
}

int BinsModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return m_project.bins().size();
    return isClip(parent) || parent.column() > 0 ? 0 : m_project.bins().at(parent.row()).clips.size();
}

int BinsModel::columnCount(const QModelIndex&) const
{
    return ColumnCount;
}

QVariant BinsModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    return isClip(index) ? clipData(binOf(index), index.row(), index.column(), role)
                         : binData(index.row(), index.column(), role);
}

QVariant BinsModel::binData(int bin, int column, int role) const
{
    const DeskBin& record = m_project.bins().at(bin);
    if (column == NameColumn && role == Qt::DisplayRole)
        return record.name;
    if (column == NameColumn && role == Qt::DecorationRole)
        return binIcon();
    if (column == NameColumn && role == Qt::FontRole) {
        QFont font;
        font.setBold(true);
        return font;
    }
    if (column == KindColumn && role == Qt::DisplayRole)
        return record.clips.size() == 1 ? tr("1 clip") : tr("%1 clips").arg(record.clips.size());
    return QVariant();
}

QVariant BinsModel::clipData(int bin, int clip, int column, int role) const
{
    const DeskClip& record = m_project.bins().at(bin).clips.at(clip);
    if (role == Qt::TextAlignmentRole && (column == DurationColumn || column == CheckedColumn))
        return QVariant(Qt::AlignVCenter | (column == CheckedColumn ? Qt::AlignHCenter : Qt::AlignRight));
    if (role == Qt::ToolTipRole) {
        if (column == CheckedColumn)
            return record.checked ? tr("The copy was compared with its source") : QString();
        if (column == SourceColumn)
            return plainToolTip(record.source);
        return plainToolTip(record.details.isEmpty() ? record.media : record.media + u'\n' + record.details);
    }
    if (role != Qt::DisplayRole)
        return QVariant();
    switch (column) {
    case NameColumn:
        return record.name;
    case KindColumn:
        return kindText(record.kind);
    case DurationColumn:
        return durationText(record.duration);
    case StartColumn:
        return record.start;
    case ReelColumn:
        return record.reel;
    case CheckedColumn:
        return record.checked ? QString(QChar(0x2713)) : QString();
    case SourceColumn:
        return QFileInfo(record.source).fileName();
    default:
        return QVariant();
    }
}

QVariant BinsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QVariant();
    switch (section) {
    case NameColumn:
        return tr("Name");
    case KindColumn:
        return tr("Kind");
    case DurationColumn:
        return tr("Duration");
    case StartColumn:
        return tr("Start");
    case ReelColumn:
        return tr("Reel");
    case CheckedColumn:
        return tr("Checked");
    case SourceColumn:
        return tr("Source");
    default:
        return QVariant();
    }
}

QString BinsModel::durationText(double seconds)
{
    if (seconds < 0)
        return QString();
    if (seconds < 60)
        return tr("%1 s").arg(seconds, 0, 'f', 2);
    const auto whole = static_cast<qint64>(seconds);
    const QString padded = QStringLiteral("%1:%2");
    const QLatin1Char zero('0');
    if (whole < 3600)
        return padded.arg(whole / 60).arg(whole % 60, 2, 10, zero);
    return QStringLiteral("%1:%2:%3")
        .arg(whole / 3600)
        .arg(whole / 60 % 60, 2, 10, zero)
        .arg(whole % 60, 2, 10, zero);
}

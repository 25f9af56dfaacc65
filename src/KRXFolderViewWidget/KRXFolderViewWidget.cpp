#include "KRXFolderViewWidget.h"

#include "DirectoryProbe.h"
#include "HostQtShell.h"
#include "KRXFolder.h"
#include "KRXFolderItemDelegate.h"
#include "KRXFolderManager.h"
#include "KRXFolderProperties.h"
#include "KRXFolderViewWidgetItem.h"
#include "KRXModal.h"
#include "KRXProfile.h"
#include "KRXProfileManager.h"
#include "KRXProfileProperties.h"
#include "KRXText.h"

#include <QDirIterator>
#include <QFileInfo>
#include <QHash>
#include <QHeaderView>
#include <QMessageBox>
#include <QPixmap>
#include <QPointer>
#include <QSet>
#include <QSignalBlocker>
#include <QStyle>
#include <QVariant>

#include <algorithm>
#include <utility>

namespace {

constexpr int kViewHeight = 180;
constexpr int kIndentation = 10;
/// The width that Qt gives a column by itself.
constexpr int kDefaultWidth = -1;

struct Column
{
    int index;
    const char* title;
    int width;
};

constexpr Column kColumns[] = {
    {KRXFolderViewWidget::kIdxIngestColumn, QT_TRID_NOOP("Acquire"), kDefaultWidth},
    {KRXFolderViewWidget::kIdxActiveColumn, QT_TRID_NOOP("Enable"), 42},
    {KRXFolderViewWidget::kIdxFolderColumn, QT_TRID_NOOP("Folder"), 130},
    {KRXFolderViewWidget::kIdxProfileColumn, QT_TRID_NOOP("Profile"), 180},
    {KRXFolderViewWidget::kIdxBinColumn, QT_TRID_NOOP("Target Bin"), 130},
    {KRXFolderViewWidget::kIdxPathColumn, QT_TRID_NOOP("Path"), kDefaultWidth},
};

const QLatin1String kTrue("true");
const QLatin1String kFalse("false");

/// Whether a directory is there and has anything in it. Stops at the first entry: watched directories are
/// large.
bool holdsEntries(const QString& path)
{
    return QFileInfo(path).isDir() && QDirIterator(path, QDir::AllEntries | QDir::NoDotAndDotDot).hasNext();
}

QString shownName(const QString& path)
{
    const QString name = QFileInfo(path).fileName();
    return name.isEmpty() ? path : name;
}

QString textOf(const QTreeWidgetItem* item, int column)
{
    return item ? item->text(column) : QString();
}

} // namespace

/// What a row shows of its profile.
struct KRXFolderViewWidget::ProfileTexts
{
    QString name;
    QString bin;
};

/// Profile texts by identifier, asked for once each: many folders share few profiles.
class KRXFolderViewWidget::ProfileLookup
{
public:
    const ProfileTexts& texts(const QString& profileId)
    {
        const auto known = m_texts.constFind(profileId);
        if (known != m_texts.constEnd())
            return *known;
        ProfileTexts texts;
        KRXProfile profile;
        if (KRXProfileManager::getInstance().getProfile(profileId, profile)) {
            texts.name = profile.property(KRXProfileProperties::kName).toString();
            texts.bin = profile.property(KRXProfileProperties::kBin).toString();
        }
        return *m_texts.insert(profileId, texts);
    }

private:
    QHash<QString, ProfileTexts> m_texts;
};

KRXFolderViewWidget::KRXFolderViewWidget(QWidget* parent)
    : QTreeWidget(parent)
    , m_folderIcon(
          // Host icon icons/ProjectBins/folder_closed.png; without it: the name stands alone.
          HostQtShell::skinnedIcon(QStringLiteral("folder_closed.png"), QStringLiteral("icons/ProjectBins")))
    , m_probe(new DirectoryProbe([](const QString& path) { return QFileInfo::exists(path); }, this))
{
    if (m_folderIcon.isNull())
        m_folderIcon = style()->standardIcon(QStyle::SP_DirIcon);
    setItemDelegate(new KRXFolderItemDelegate(parent ? parent : this));
    setFixedHeight(kViewHeight);
    setIndentation(kIndentation);
    setFrameShape(QFrame::StyledPanel);
    setFrameShadow(QFrame::Plain);
    setSortingEnabled(true);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setDragEnabled(false);
    setAllColumnsShowFocus(true);
    setMouseTracking(true);
    initHeader();
    sortByColumn(kIdxFolderColumn, Qt::AscendingOrder);

    // The clicked row may go in any way, also by the hand of the host.
    connect(model(), &QAbstractItemModel::modelAboutToBeReset, this, &KRXFolderViewWidget::forgetClickedItem);
    connect(model(), &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &KRXFolderViewWidget::forgetClickedItem);
    connect(this, &QTreeWidget::itemChanged, this, &KRXFolderViewWidget::itemChanged);
    connect(m_probe, &DirectoryProbe::seen, this, &KRXFolderViewWidget::showExistence);
}

KRXFolderViewWidget::~KRXFolderViewWidget()
{
    // The model outlives this part of the object, and empties itself as it goes.
    disconnect(model(), nullptr, this, nullptr);
}

void KRXFolderViewWidget::initHeader()
{
    QTreeWidgetItem* titles = headerItem();
    for (const Column& column : kColumns)
        titles->setText(column.index, KRXText::localised(column.title));
    titles->setTextAlignment(kIdxIngestColumn, Qt::AlignCenter);

    QHeaderView* bar = header();
    bar->setVisible(true);
    bar->setHighlightSections(false);
    bar->setSortIndicatorShown(true);
    bar->setSectionsMovable(false);
    for (const Column& column : kColumns) {
        if (column.width != kDefaultWidth)
            bar->resizeSection(column.index, column.width);
    }
}

void KRXFolderViewWidget::registerCallback(AcquireCallback callback)
{
    m_callback = callback;
}

// --- Rows ------------------------------------------------------------------------------------------------

void KRXFolderViewWidget::fillView()
{
    if (KRXFolderManager::getInstance().refreshFolders(true) &&
        KRXProfileManager::getInstance().refreshProfiles(true))
        fillRows();
}

void KRXFolderViewWidget::fillRows()
{
    const QSignalBlocker blocker(this);
    clear();
    const KRXFolderManager& folders = KRXFolderManager::getInstance();
    ProfileLookup profiles;
    std::vector<std::unique_ptr<KRXFolderViewWidgetItem>> rows;
    rows.reserve(static_cast<std::size_t>(folders.countFolders()));
    for (int i = 0; i < folders.countFolders(); ++i) {
        const KRXFolder* folder = folders.getFolder(i);
        if (!folder)
            continue;
        if (auto row = makeRow(*folder, profiles))
            rows.push_back(std::move(row));
    }
    putInRows(std::move(rows));
    // When the rows are on the screen.
    QMetaObject::invokeMethod(this, &KRXFolderViewWidget::lookForDirectories, Qt::QueuedConnection);
}

void KRXFolderViewWidget::updateRows()
{
    const QSignalBlocker blocker(this);
    ProfileLookup profiles;
    const QList<QTreeWidgetItem*> rows = allRows();
    for (QTreeWidgetItem* row : rows) {
        KRXFolder folder;
        if (!KRXFolderManager::getInstance().getFolder(getFolderId(row), folder))
            continue;
        const QString profileId = folder.property(KRXFolderProperties::kProfileId).toString();
        const bool isEnabled = folder.property(KRXFolderProperties::kEnabled).toString() == kTrue;
        const ProfileTexts& profile = profiles.texts(profileId);
        row->setCheckState(kIdxActiveColumn, isEnabled ? Qt::Checked : Qt::Unchecked);
        setProfileId(row, profileId);
        row->setText(kIdxProfileColumn, profile.name);
        setTargetBin(row, profile.bin);
    }
}

/// Puts rows in at one go, in order already when that is by a text: the view's own sort, which goes through
/// the items for every comparison, then has nothing to move.
void KRXFolderViewWidget::putInRows(std::vector<std::unique_ptr<KRXFolderViewWidgetItem>> rows)
{
    using Keyed = std::pair<QString, QTreeWidgetItem*>;
    const int column = sortColumn();
    std::vector<Keyed> keyed;
    keyed.reserve(rows.size());
    for (auto& row : rows) {
        const QString key = row->text(column);
        keyed.emplace_back(key, row.release());
    }
    const bool ascending = header()->sortIndicatorOrder() == Qt::AscendingOrder;
    std::stable_sort(keyed.begin(), keyed.end(), [ascending](const Keyed& a, const Keyed& b) {
        return ascending ? a.first < b.first : b.first < a.first;
    });
    QList<QTreeWidgetItem*> items;
    items.reserve(static_cast<int>(keyed.size()));
    for (const Keyed& row : keyed)
        items.append(row.second);
    setSortingEnabled(false);
    addTopLevelItems(items);
    setSortingEnabled(true);
}

std::unique_ptr<KRXFolderViewWidgetItem> KRXFolderViewWidget::makeRow(const KRXFolder& folder,
                                                                      ProfileLookup& profiles) const
{
    const QString id = folder.property(KRXFolderProperties::kId).toString();
    if (id.isEmpty())
        return nullptr;
    const QString path = folder.property(KRXFolderProperties::kPath).toString();
    const QString profileId = folder.property(KRXFolderProperties::kProfileId).toString();
    const bool enabled = folder.property(KRXFolderProperties::kEnabled).toString() == kTrue;
    const ProfileTexts& profile = profiles.texts(profileId);

    auto row = std::make_unique<KRXFolderViewWidgetItem>();
    row->setText(kIdxPathColumn, path);
    row->setText(kIdxBinColumn, profile.bin);
    row->setText(kIdxProfileColumn, profile.name);
    row->setData(kIdxProfileColumn, Qt::UserRole, profileId);
    row->setText(kIdxFolderColumn, shownName(path));
    row->setIcon(kIdxFolderColumn, m_folderIcon);
    row->setData(kIdxFolderColumn, Qt::UserRole, id);
    row->setData(kIdxFolderColumn, kFolderExistRole, true);
    row->setCheckState(kIdxActiveColumn, enabled ? Qt::Checked : Qt::Unchecked);
    row->setData(kIdxIngestColumn, Qt::UserRole, static_cast<int>(NoNewClips));
    return row;
}

QTreeWidgetItem* KRXFolderViewWidget::krxToFolderItem(const KRXFolder& folder)
{
    const QSignalBlocker blocker(this);
    ProfileLookup profiles;
    auto row = makeRow(folder, profiles);
    if (!row)
        return nullptr;
    QTreeWidgetItem* item = row.release();
    addTopLevelItem(item);
    m_probe->ask({getFolderPath(item)});
    return item;
}

void KRXFolderViewWidget::folderItemToKRX(const QTreeWidgetItem* item, KRXFolder& folder)
{
    if (!item)
        return;
    const bool enabled = item->checkState(kIdxActiveColumn) != Qt::Unchecked;
    folder.setProperty(KRXFolderProperties::kId, getFolderId(item));
    folder.setProperty(KRXFolderProperties::kProfileId, getProfileId(item));
    folder.setProperty(KRXFolderProperties::kPath, getFolderPath(item));
    folder.setProperty(KRXFolderProperties::kEnabled, QString(enabled ? kTrue : kFalse));
}

QList<QTreeWidgetItem*> KRXFolderViewWidget::allRows() const
{
    QList<QTreeWidgetItem*> rows;
    rows.reserve(topLevelItemCount());
    for (int i = 0; i < topLevelItemCount(); ++i)
        rows.append(topLevelItem(i));
    return rows;
}

QStringList KRXFolderViewWidget::allPaths() const
{
    QStringList paths;
    paths.reserve(topLevelItemCount());
    for (int i = 0; i < topLevelItemCount(); ++i)
        paths.append(getFolderPath(topLevelItem(i)));
    return paths;
}

QTreeWidgetItem* KRXFolderViewWidget::itemByFolderId(const QString& folderId) const
{
    for (int i = 0; i < topLevelItemCount(); ++i) {
        QTreeWidgetItem* item = topLevelItem(i);
        if (getFolderId(item) == folderId)
            return item;
    }
    return nullptr;
}

bool KRXFolderViewWidget::hasPath(const QString& path) const
{
    for (int i = 0; i < topLevelItemCount(); ++i) {
        if (getFolderPath(topLevelItem(i)) == path)
            return true;
    }
    return false;
}

// --- Folders of the service ------------------------------------------------------------------------------

void KRXFolderViewWidget::addFolder(const QString& path, const QString& profileId)
{
    if (hasPath(path)) {
        KRXModal::showMessageBox(
            this, QMessageBox::Warning, KRXText::localised("Error occurred"),
            KRXText::localised("Unable to add a folder with the same path more than once.\n"
                               "Folder with path %1 already exists in this list.")
                .arg(path),
            QMessageBox::Ok, QMessageBox::Ok);
        return;
    }
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    KRXFolder folder;
    if (!manager.createFolder(path, profileId, folder)) {
        KRXModal::showMessageBox(this, QMessageBox::Critical, KRXText::localised("Error occurred"),
                                 KRXText::localised("Can't add folder %1\n%2").arg(path, manager.lastError()),
                                 QMessageBox::Ok, QMessageBox::Ok);
    } else if (QTreeWidgetItem* row = krxToFolderItem(folder)) {
        setCurrentItem(row);
    } else {
        // The service took the folder but could not say what it made of it.
        fillView();
    }
}

void KRXFolderViewWidget::delFolder()
{
    QTreeWidgetItem* item = currentItem();
    if (!item)
        return;
    KRXFolderManager& manager = KRXFolderManager::getInstance();
    const QString folderId = getFolderId(item);
    if (manager.deleteFolder(folderId)) {
        // Another row becomes current before the model changes: those who follow the current row may ask the
        // user something.
        const QPointer<KRXFolderViewWidget> self(this);
        setCurrentItem(itemBelow(item) ? itemBelow(item) : itemAbove(item));
        if (self)
            const std::unique_ptr<QTreeWidgetItem> gone(
                takeTopLevelItem(indexOfTopLevelItem(itemByFolderId(folderId))));
        return;
    }
    KRXModal::showMessageBox(
        this, QMessageBox::Critical, KRXText::localised("Error occurred"),
        KRXText::localised("Can't delete folder %1!\n%2").arg(getFolderName(item), manager.lastError()),
        QMessageBox::Ok, QMessageBox::Ok);
}

void KRXFolderViewWidget::itemChanged(QTreeWidgetItem* item, int column)
{
    if (column != kIdxActiveColumn && column != kIdxProfileColumn)
        return;
    KRXFolder folder;
    folderItemToKRX(item, folder);
    bool processExisting = false;
    if (column == kIdxProfileColumn && holdsEntries(getFolderPath(item))) {
        const QPointer<KRXFolderViewWidget> self(this);
        processExisting =
            KRXModal::showMessageBox(
                this, QMessageBox::Question, QString(),
                KRXText::localised("Do you want to process existing files with the new folder profile?"),
                QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes) == QMessageBox::Yes;
        // Nobody answered when the view went away below the question.
        if (!self)
            return;
        keepEdit(folder);
    }
    KRXFolderManager::getInstance().updateFolder(folder, processExisting);
}

/// Shows an edit again when the list was filled while the user was asked about it.
void KRXFolderViewWidget::keepEdit(const KRXFolder& folder)
{
    QTreeWidgetItem* row = itemByFolderId(folder.property(KRXFolderProperties::kId).toString());
    const QString profileId = folder.property(KRXFolderProperties::kProfileId).toString();
    if (!row || getProfileId(row) == profileId)
        return;
    ProfileLookup profiles;
    const ProfileTexts& profile = profiles.texts(profileId);
    {
        const QSignalBlocker blocker(model());
        setProfileId(row, profileId);
        row->setText(kIdxProfileColumn, profile.name);
        setTargetBin(row, profile.bin);
    }
    viewport()->update();
}

void KRXFolderViewWidget::updateOutputsReadyState(const QStringList& folderIds)
{
    if (!isVisible() || !currentItem() || topLevelItemCount() == 0)
        return;
    const QSet<QString> ready(folderIds.cbegin(), folderIds.cend());
    setInEveryRow(kIdxIngestColumn, Qt::UserRole, [&ready](const QTreeWidgetItem* row) -> QVariant {
        if (getIngestState(row) == AcquisitionInProgress)
            return static_cast<int>(AcquisitionInProgress);
        return static_cast<int>(ready.contains(getFolderId(row)) ? NewClipsAvailable : NoNewClips);
    });
}

void KRXFolderViewWidget::verifyFoldersPath()
{
    lookForDirectories();
    m_probe->waitBriefly();
}

void KRXFolderViewWidget::lookForDirectories()
{
    m_probe->ask(allPaths());
}

void KRXFolderViewWidget::showExistence(const QHash<QString, bool>& answers)
{
    setInEveryRow(kIdxFolderColumn, kFolderExistRole, [&answers](const QTreeWidgetItem* row) -> QVariant {
        const auto answer = answers.constFind(getFolderPath(row));
        return answer != answers.constEnd() ? QVariant(*answer)
                                            : row->data(kIdxFolderColumn, kFolderExistRole);
    });
}

/// Sets one cell of every row as one change for the view, however many rows there are. No row moves
/// meanwhile, also when the view is sorted by that column.
template <class ValueOf>
void KRXFolderViewWidget::setInEveryRow(int column, int role, ValueOf valueOf)
{
    bool changed = false;
    {
        const QSignalBlocker blocker(model());
        const QList<QTreeWidgetItem*> rows = allRows();
        for (QTreeWidgetItem* row : rows) {
            const QVariant value = valueOf(row);
            changed = changed || row->data(column, role) != value;
            row->setData(column, role, value);
        }
    }
    if (!changed)
        return;
    if (sortColumn() == column) {
        // Whether a directory is there puts no row elsewhere: the column is in order of the names.
        if (role != kFolderExistRole)
            model()->sort(column, header()->sortIndicatorOrder());
        // Sorting tells the view only when a row moves.
        viewport()->update();
    } else {
        const QModelIndex last = model()->index(topLevelItemCount() - 1, column);
        emit model()->dataChanged(model()->index(0, column), last, {role});
    }
}

void KRXFolderViewWidget::showEvent(QShowEvent* event)
{
    QTreeWidget::showEvent(event);
    if (topLevelItemCount() > 0)
        setCurrentItem(topLevelItem(0));
    verifyFoldersPath();
}

// --- Cells -----------------------------------------------------------------------------------------------

QString KRXFolderViewWidget::getFolderId(const QTreeWidgetItem* item)
{
    return item ? item->data(kIdxFolderColumn, Qt::UserRole).toString() : QString();
}

QString KRXFolderViewWidget::getFolderName(const QTreeWidgetItem* item)
{
    return textOf(item, kIdxFolderColumn);
}

QString KRXFolderViewWidget::getFolderPath(const QTreeWidgetItem* item)
{
    return textOf(item, kIdxPathColumn);
}

int KRXFolderViewWidget::getIngestState(const QTreeWidgetItem* item)
{
    return item ? item->data(kIdxIngestColumn, Qt::UserRole).toInt() : NoNewClips;
}

void KRXFolderViewWidget::setIngestState(QTreeWidgetItem* item, int state)
{
    if (item)
        item->setData(kIdxIngestColumn, Qt::UserRole, state);
}

QString KRXFolderViewWidget::getProfileId(const QTreeWidgetItem* item)
{
    return item ? item->data(kIdxProfileColumn, Qt::UserRole).toString() : QString();
}

void KRXFolderViewWidget::setProfileId(QTreeWidgetItem* item, const QString& profileId)
{
    if (item)
        item->setData(kIdxProfileColumn, Qt::UserRole, profileId);
}

QString KRXFolderViewWidget::getProfileName(const QTreeWidgetItem* item)
{
    return textOf(item, kIdxProfileColumn);
}

void KRXFolderViewWidget::setProfileName(QTreeWidgetItem* item, const QString& name)
{
    if (!item)
        return;
    QTreeWidget* view = item->treeWidget();
    {
        const QSignalBlocker blocker(view);
        item->setText(kIdxProfileColumn, name);
    }
    // Said last and by hand. Whoever hears of it may ask the user something, and the list may be filled again
    // meanwhile: had the model said it, Qt would go on afterwards with the place that the row had before, to
    // sort it. An equal text is no change for the model, but two profiles may have one name.
    if (view)
        emit view->itemChanged(item, kIdxProfileColumn);
}

void KRXFolderViewWidget::setTargetBin(QTreeWidgetItem* item, const QString& bin)
{
    if (item)
        item->setText(kIdxBinColumn, bin);
}

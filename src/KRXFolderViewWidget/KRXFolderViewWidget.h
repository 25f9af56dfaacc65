#pragma once

#include "KRXExport.h"

#include <QHash>
#include <QIcon>
#include <QList>
#include <QModelIndex>
#include <QPair>
#include <QPoint>
#include <QRect>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QTreeWidget>

#include <memory>
#include <vector>

class DirectoryProbe;
class KRXFolder;
class KRXFolderViewWidgetItem;
class QAction;
class QMenu;

/// The list of watched folders: one row each, with its acquire state, an enable check box, its name, profile,
/// target bin and path. Edits go straight to the service. GUI thread only; requests block it.
class KRX_EXPORT KRXFolderViewWidget : public QTreeWidget
{
    Q_OBJECT

public:
    static constexpr int kIdxIngestColumn = 0;
    static constexpr int kIdxActiveColumn = 1;
    static constexpr int kIdxFolderColumn = 2;
    static constexpr int kIdxProfileColumn = 3;
    static constexpr int kIdxBinColumn = 4;
    static constexpr int kIdxPathColumn = 5;

    /// Role of the folder column: bool, whether the folder's directory exists.
    static constexpr int kFolderExistRole = Qt::UserRole + 1;

    /// Acquire state of a row, kept as int under Qt::UserRole in the acquire column.
    enum IngestState { NoNewClips = 0, NewClipsAvailable = 1, AcquisitionInProgress = 2 };

    /// Receives one output file path for each acquired clip.
    using AcquireCallback = void (*)(const QString&);

    explicit KRXFolderViewWidget(QWidget* parent);
    ~KRXFolderViewWidget() override;

    /// Sets who takes acquired clips. Until then the acquire icons do not react.
    void registerCallback(AcquireCallback callback);

    /// Reloads folders and profiles from the service and rebuilds all rows. A failure is silent and leaves
    /// the rows as they are.
    void fillView();
    /// Registers a folder with the service and makes its row current. Refuses a path that is listed already.
    /// Failures are shown in a message box.
    void addFolder(const QString& path, const QString& profileId);
    /// Removes the current row's folder from the service, and then its row; a failure is shown and keeps
    /// both.
    void delFolder();
    /// Marks the rows whose folder has output ready, and takes the mark from the others; rows that are being
    /// acquired stay as they are. Only while the view is visible and has a current row.
    void updateOutputsReadyState(const QStringList& folderIds);
    /// Rebuilds all rows from the managers' caches, without a request. The states of acquisition are lost.
    void fillRows();
    /// Brings the rows of folders that the manager knows up to date with the managers' caches, without a
    /// request and without itemChanged(): what others wrote to the service is no edit of the user's.
    void updateRows();
    /// Looks for every row's directory in the file system and sets \ref kFolderExistRole. Answers that come
    /// quickly are there when it returns; a file system that does not answer is waited for a moment only, and
    /// its rows follow when it does.
    void verifyFoldersPath();
    /// The same without waiting: rows follow as the answers come. Cheap enough to be called every few
    /// seconds.
    void lookForDirectories();

    /// Cells of a row. Of no row (null) a text is empty and a state is NoNewClips; setters do nothing. @{
    static QString getFolderId(const QTreeWidgetItem* item);
    static QString getFolderName(const QTreeWidgetItem* item);
    static QString getFolderPath(const QTreeWidgetItem* item);
    static int getIngestState(const QTreeWidgetItem* item);
    static void setIngestState(QTreeWidgetItem* item, int state);
    static QString getProfileId(const QTreeWidgetItem* item);
    static void setProfileId(QTreeWidgetItem* item, const QString& profileId);
    static QString getProfileName(const QTreeWidgetItem* item);
    /// Sets the shown profile. This is the deliberate change of a profile: it always emits itemChanged()
    /// once, also when the name is the old one, and so writes the row's folder to the service.
    static void setProfileName(QTreeWidgetItem* item, const QString& name);
    static void setTargetBin(QTreeWidgetItem* item, const QString& bin); /// @}

    /// Makes a row of a folder record and puts it into the view. \return the row, owned by the view; null
    /// when the record has no identifier.
    QTreeWidgetItem* krxToFolderItem(const KRXFolder& folder);
    /// Fills \a folder from a row; leaves it alone when there is none.
    static void folderItemToKRX(const QTreeWidgetItem* item, KRXFolder& folder);

    /// The row of a folder; null when it is not listed. Rows are found again with it after anything that may
    /// have run an event loop.
    QTreeWidgetItem* itemByFolderId(const QString& folderId) const;

    /// The icon of an acquire state in \ref ingestIconGroup(); empty when nothing is drawn.
    static QString ingestIconName(int state);
    static QString ingestIconGroup(); ///< Where those are among the skin's pictures.

Q_SIGNALS:
    /// All clips that a folder had on offer were handed to the callback. \param count how many; never 0.
    void clipsAcquired(const QString& folderId, int count);

protected:
    bool event(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void showEvent(QShowEvent* event) override;

private Q_SLOTS:
    /// Not the base class's signal of that name but what answers it.
    void itemChanged(QTreeWidgetItem* item, int column); // clazy:exclude=overridden-signal
    /// A profile was chosen from the menu for the clicked row: assigns it, or says why it cannot be.
    void updateProfileValue();

private:
    struct ProfileTexts;
    class ProfileLookup;

    void initHeader();
    std::unique_ptr<KRXFolderViewWidgetItem> makeRow(const KRXFolder& folder, ProfileLookup& profiles) const;
    void putInRows(std::vector<std::unique_ptr<KRXFolderViewWidgetItem>> rows);
    template <class ValueOf>
    void setInEveryRow(int column, int role, ValueOf valueOf);
    bool hasPath(const QString& path) const;
    void keepEdit(const KRXFolder& folder);
    QList<QTreeWidgetItem*> allRows() const;
    void forgetClickedItem();

    QRect ingestIconArea(const QModelIndex& index) const;
    void handlePress(const QPoint& position);
    void ingestClicked(const QModelIndex& index, const QPoint& position);
    static bool isReady(const QTreeWidgetItem* row);
    void acquireClips(const QString& folderId);
    void acquire(const QString& folderId);
    void showIngestState(const QString& folderId, int state);
    void profileClicked(const QModelIndex& index);
    QMenu* openProfileMenu(const QModelIndex& cell);
    void addProfiles(QMenu* menu, const QTreeWidgetItem* row);
    static QAction* chosenAction(const QMenu* menu);
    bool handleKey(int key, Qt::KeyboardModifiers modifiers);
    void toggleEnabled(const QString& folderId);
    QStringList allPaths() const;
    void showExistence(const QHash<QString, bool>& answers);

    QIcon m_folderIcon;
    mutable QSize m_ingestIconSize;
    bool m_clickedItemWasSelected = false;
    AcquireCallback m_callback = nullptr;
    QTreeWidgetItem* m_clickedItem = nullptr;
    /// Identifier and name of what was chosen last from the profile menu.
    QPair<QString, QString> m_chosenProfile;
    DirectoryProbe* m_probe;
};

#pragma once

#include "KRXExport.h"

#include <QList>
#include <QPair>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>

class KRXFolderViewWidget;
class KRXProfilesWindow;
class KRXSummaryWidget;
class KRXTwistWidget;
class QComboBox;
class QLabel;
class QPushButton;
class QTreeWidgetItem;

/// The module's panel: the list of watched folders, the profile of the selected one with its summary, and the
/// way into the profile editor. The host creates and embeds it, and drives it: the panel has no timer.
///
/// GUI thread only; requests block it. A host that wants the panel gone while a chooser or a question of it
/// is open uses deleteLater(), on the panel or on a window around it: the panel goes when that is answered.
/// The profile editor and a row's menu are not waited for: they close at once, and what the editor had not
/// saved is lost.
class KRX_EXPORT KRXWindow : public QWidget
{
    Q_OBJECT

public:
    /// \param callback receives one output file path for each acquired clip: the path of a small XML document
    /// (".xel") that names the media file, not of the media file itself. It records the clip and then removes
    /// the document. While it is null nothing is acquired.
    KRXWindow(QWidget* parent, void (*callback)(const QString&));
    ~KRXWindow() override;

    /// Hook: place and show the panel in the host.
    virtual void Show();
    /// Creates the profile editor unless there is one, and fills the profiles box. A host with an editor of
    /// its own overrides this: it calls \ref setProfilesWindow() and then this function.
    virtual void initProfilesWindow();
    /// Hook: open the host's manager of services.
    virtual void openServicesDialog();

    /// Reloads folders and profiles. The current folder stays current while it is still there.
    void refreshFolders();
    /// Marks the folders that have output ready, as a job manager's getFoldersOutputReady() lists them.
    void updateFoldersOutputReadyState(const QStringList& folderIds);
    /// Tells the panel whether the service runs. Going on-line reloads everything; going off-line shuts the
    /// controls off and keeps the rows. Saying the same again does nothing.
    void updateKRXServiceOnlineState(bool online);
    /// What the host said last; true at first.
    bool isKRXServiceOnline() const { return m_serviceOnline; }
    /// Shows or hides the frame that marks the active pane.
    void setInHighlightState(bool highlighted);
    /// Makes the profile at \a index of the box current, as if the user had chosen it.
    void updateCurrentProfileIndex(int index);
    /// The list of folders; owned by the panel.
    KRXFolderViewWidget* getFolderViewWidget() const { return m_folderView; }

protected:
    /// Hook: give the pane that height in pixels; the panel's content needs it.
    virtual void setNewHeight(int height);

    /// Replaces the stored callback. The list of folders keeps the one from construction.
    void registerCallback(void (*callback)(const QString&));
    /// Sets the profile editor that the panel opens. The host usually makes it a child of the panel.
    void setProfilesWindow(KRXProfilesWindow* window);
    /// The profile editor; null until it is needed.
    KRXProfilesWindow* profilesWindow() const;
    QComboBox* profilesBox() const { return m_profilesBox; }

    /// Enables or disables every control, and shows the off-line message when they are off.
    void enableUI(bool on);
    /// Fills \a box with the service's profiles without a signal. The first one is current then.
    void fillProfilesComboBox(QComboBox* box);
    /// (identifier, name) of the service's profiles, asked for anew; the known ones when the service fails.
    QList<QPair<QString, QString>> getActualProfileItems();
    /// The identifier that is current in \a box; empty when there is none.
    QString profileIdFromComboBox(const QComboBox* box) const;
    /// Gives the current folder the profile that is current in the box.
    void refreshCurrentFolderItem();
    /// Shows the current folder's profile in the box; a profile that is not there gives way to the first one.
    void refreshCurrentProfileItem();
    /// Shows the summary of a cached profile; of an unknown one the summary stays as it was.
    void refreshProfileSummary(const QString& profileId);
    void refreshStateAddFolderBtn();
    void refreshStateDelFolderBtn();

    void initInterior();
    void initFoldersView();
    void initProfilesWidgets();
    void initSummary();
    void initTabOrder();

    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private Q_SLOTS:
    void addFolderBtnPressed();
    void delFolderBtnPressed();
    void openProfilesWindow();
    void profileCurrentIndexChanged(int index);
    void folderItemChanged(QTreeWidgetItem* item, int column);
    void folderCurrentItemChanged(QTreeWidgetItem* current, QTreeWidgetItem* previous);
    void updateWindowHeight();

private:
    using ProfileItems = QList<QPair<QString, QString>>;

    static void putItems(QComboBox* box, const ProfileItems& items);
    void loadFolders();
    void followService();
    void refreshButtons();
    bool offerProfiles();
    int profileIndex(const QString& profileId) const;
    void showProfileOfCurrentRow();
    void putKnownProfileInBox(const QString& profileId);
    void refuseProfile(const QString& profileName, const QString& formerProfileId);

    QPointer<KRXProfilesWindow> m_profilesWindow;
    QComboBox* m_profilesBox = nullptr;
    KRXFolderViewWidget* m_folderView = nullptr;
    QPushButton* m_addFolderBtn = nullptr;
    QPushButton* m_delFolderBtn = nullptr;
    QPushButton* m_profileEditBtn = nullptr;
    KRXSummaryWidget* m_summaryWidget = nullptr;
    KRXTwistWidget* m_summarySection = nullptr;
    bool m_inHighlightState = false;
    void (*m_callback)(const QString&) = nullptr;
    bool m_serviceOnline = true;
    QLabel* m_offlineMessage = nullptr;
    bool m_firstShow = true;
};

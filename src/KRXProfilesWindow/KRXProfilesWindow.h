#pragma once

#include "KRXExport.h"
#include "KRXProfileState.h"

#include <QDialog>
#include <QList>
#include <QPair>
#include <QPointer>
#include <QString>

#include <memory>
#include <vector>

class CodecBox;
class KRXFolder;
class KRXLinkOptionsSettings;
class KRXSettingsController;
class KRXSummaryWidget;
class KRXTwistWidget;
class ProfileActionsController;
class QBoxLayout;
class QComboBox;
class QLabel;
class QMenu;
class QPushButton;
class QScrollArea;

/// The profile editor: a modal dialog in which profiles are viewed, created and deleted. Saving always
/// creates a new profile.
class KRX_EXPORT KRXProfilesWindow : public QDialog
{
    Q_OBJECT

public:
    explicit KRXProfilesWindow(QWidget* parent);
    ~KRXProfilesWindow() override;

    /// Runs the editor modally. \return the dialog's result.
    virtual int runModal();
    /// Resizes the window to its current width and \a height in pixels.
    virtual void setNewHeight(int height);
    /// Fills the profiles box and loads a profile.
    /// \param items (identifier, name) of every profile. \param currentId the profile to load; the first one
    /// is loaded when there is none of that identifier.
    virtual void updateProfilesBox(const QList<QPair<QString, QString>>& items, const QString& currentId);

protected:
    /// Hook: fill the boxes of the link settings that depend on the project. The module never calls it.
    virtual void initXelSettingsValues();
    /// Hook: let the user edit the multichannel grouping and show it in \a label, whose property
    /// "PersistentStringRepresentation" carries the grouping's stored text.
    virtual void updateMultiChannelLabel(QLabel* label);
    /// Hook: profiles changed on the service (after a save or a deletion).
    virtual void updateKRXWindowInfo();

protected Q_SLOTS:
    /// Hook: fill \a box with the codecs for its project type, raster and colour space.
    virtual void updateCodecBox(CodecBox* box);
    /// Hook: fill the encoding-profile box of \a box for its current codec.
    virtual void updateEncodingProfileBox(CodecBox* box);

protected:
    /// Hook: another profile was chosen in the profiles box while the modified mark stands. The box shows the
    /// chosen one already; nothing is loaded yet, so what was edited is still in the editors. The host may
    /// ask here, in a modal box too. Not called when updateProfilesBox() chooses.
    /// \param profileName the name of the modified profile, as the box lists it.
    /// \return true to load the chosen profile, which throws the changes away; the mark stands until the
    /// host takes it away with getProfileState()->setModified(false). False to let the box go back to the
    /// modified profile, which stays as it was edited. The module does nothing and returns true.
    virtual bool mayLeaveProfile(const QString& profileName);

public Q_SLOTS:
    /// Marks the profile as modified and shows the mark.
    void updateModifiedState();
    /// Gives the window the height that its sections need; only while it is visible.
    void updateHeight();

public:
    /// Creates the default profile on the service, from the editors' current state, when there is none.
    void createDefaultProfileIfNeed();
    /// A name for the next variant of the current profile: its name and the smallest number not taken.
    QString generateProfileNameForSave() const;

    QComboBox* getProfilesBox() const;
    KRXSettingsController* getSettingsController() const { return m_settingsController; }
    ProfileActionsController* getAllActionsController() const { return m_actionsController; }
    KRXProfileState* getProfileState() { return &m_state; }
    QScrollArea* getScrollArea() const { return m_scrollArea; }
    /// Has updateCodecBox() and updateEncodingProfileBox() fill the lists of \a box whenever it asks for it.
    void fillListsOf(const CodecBox* box);
    /// The action row that is selected; null when none is.
    KRXTwistWidget* getCurrentSelectedAction() const;
    void setCurrentSelectedAction(KRXTwistWidget* action);

protected Q_SLOTS:
    void delBtnPressed();
    void saveBtnPressed();
    void cancelBtnPressed();
    void profileCurrentIndexChanged(int index);
    void showContextMenu(const QPoint& position);
    void doWinHelp();
    void showMultiChannelDlg();

public Q_SLOTS:
    /// Escape asks about unsaved changes as the Cancel button does.
    void reject() override;

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QBoxLayout* addProfileRow();
    void addScrollArea();
    void addSummarySection();
    void addSettingsSection();
    void addActionsPart();
    QBoxLayout* addButtonRow();
    void addContextMenu();
    KRXLinkOptionsSettings* linkOptions() const;
    /// Cancel and Save are the last that the Tab key reaches, and only Save may be pressed by Enter, whatever
    /// came since.
    void keepButtonsInPlace();
    int indexOfProfile(const QString& profileId) const;
    bool mayChoose(int index);
    /// Loads a cached profile into the editors and the summary; of an unknown one they stay as they were.
    void refreshProfileSummary(const QString& profileId);
    bool mayBeSaved(QString& error) const;
    void saveAs(const QString& name);
    bool confirmDeletion(const QString& name, const QList<QString>& paths);
    void reassignFolders(std::vector<std::unique_ptr<KRXFolder>>& folders);
    bool runActionKey(int key, Qt::KeyboardModifiers modifiers);

    KRXProfileState m_state;
    QComboBox* m_profilesBox = nullptr;
    QPushButton* m_deleteButton = nullptr;
    QPushButton* m_cancelButton = nullptr;
    QPushButton* m_saveButton = nullptr;
    QScrollArea* m_scrollArea = nullptr;
    QWidget* m_scrollWidget = nullptr;
    KRXTwistWidget* m_summarySection = nullptr;
    KRXSummaryWidget* m_summary = nullptr;
    KRXTwistWidget* m_settingsSection = nullptr;
    KRXSettingsController* m_settingsController = nullptr;
    ProfileActionsController* m_actionsController = nullptr;
    QMenu* m_contextMenu = nullptr;
    QPointer<KRXTwistWidget> m_selectedAction;
    /// Identifier of the profile that was loaded last; null while none was.
    QString m_loadedProfile;
    QString m_defaultProfileName;
};

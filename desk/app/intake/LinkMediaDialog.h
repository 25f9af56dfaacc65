#pragma once

#include "HostQtShell.h"

#include <QDialog>
#include <QStringList>

class KRXLinkToProfileWidget;
class KRXProfilesWindow;
class QListWidget;
class QPushButton;

/// Asks for media files and a profile to link them with.
class LinkMediaDialog : public QDialog, public HostQtShell::HostManagedWindow
{
    Q_OBJECT

public:
    /// \param editor the profile editor that the dialog may open; not owned, may be null.
    LinkMediaDialog(KRXProfilesWindow* editor, QWidget* parent);

    QStringList files() const;
    /// Adds files that are not in the list yet.
    void addFiles(const QStringList& files);
    QString profileId() const;

    /// Shuts the dialog off while the editor is open above it.
    void setWindowEnabled(bool enabled) override;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void chooseFiles();
    void refreshButtons();

    QListWidget* m_files;
    KRXLinkToProfileWidget* m_profile;
    QPushButton* m_link;
    QPushButton* m_try;
    QPushButton* m_remove;
};

#pragma once

#include <QStringList>
#include <QWidget>

class KRXFolderViewWidget;
class QLabel;
class QPushButton;

/// The folder list with buttons to add and remove folders.
class FolderPane : public QWidget
{
    Q_OBJECT

public:
    /// \param callback is given the path of every link document that is acquired.
    explicit FolderPane(void (*callback)(const QString&), QWidget* parent = nullptr);

    KRXFolderViewWidget* getFolderViewWidget() const { return m_view; }
    void refreshFolders();
    void updateKRXServiceOnlineState(bool online);
    void updateFoldersOutputReadyState(const QStringList& folderIds);

private:
    void addFolder();
    void removeFolder();
    void refreshButtons();

    KRXFolderViewWidget* m_view;
    QPushButton* m_add;
    QPushButton* m_remove;
    QLabel* m_offline;
    bool m_online = false;
};

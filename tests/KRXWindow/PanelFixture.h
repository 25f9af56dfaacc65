#pragma once

#include "FakeEditor.h"
#include "FakeFolderService.h"
#include "KRXFolderManager.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "KRXProfilesWindow.h"
#include "KRXSummaryWidget.h"
#include "KRXTest.h"
#include "KRXTwistWidget.h"
#include "KRXWindow.h"
#include "ModelWatch.h"
#include "StandInHost.h"

#include <QComboBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>

#include <functional>
#include <memory>

using namespace KRXTest::literals;
using View = KRXFolderViewWidget;

/// What the panel asks the service when it loads everything, and when it loads the profiles alone.
inline const QString kProfiles = QStringLiteral("GET profiles?level=detail");
inline const QStringList kLoading = {QStringLiteral("GET xelmediafolders?level=detail"), kProfiles};

/// The panel as a host derives from it.
class HostPanel : public KRXWindow
{
public:
    explicit HostPanel(void (*callback)(const QString&))
        : KRXWindow(nullptr, callback)
    {
    }

    void initProfilesWindow() override
    {
        ++editorInits;
        if (withoutEditor)
            return;
        if (!profilesWindow())
            setProfilesWindow(new FakeEditor(this));
        KRXWindow::initProfilesWindow();
    }

    FakeEditor* editor() const { return static_cast<FakeEditor*>(profilesWindow()); }

    using KRXWindow::enableUI;
    using KRXWindow::fillProfilesComboBox;
    using KRXWindow::getActualProfileItems;
    using KRXWindow::profileIdFromComboBox;
    using KRXWindow::profilesWindow;
    using KRXWindow::refreshProfileSummary;
    using KRXWindow::registerCallback;

    bool withoutEditor = false;
    int editorInits = 0;
    QList<int> heights;

protected:
    void setNewHeight(int height) override { heights << height; }
};

/// A panel on a service in memory, with every question answered by the test.
class PanelFixture
{
public:
    PanelFixture()
    {
        StandInHost::resetRecords();
        StandInHost::setMessageAnswerer([this](const StandInHost::MessageRequest& request) {
            // A copy, because the work may take itself away.
            if (const auto work = whileAsked)
                work();
            return request.buttons.testFlag(reply) ? reply : request.defaultButton;
        });
        StandInHost::setDirectoryAnswerer([this](const StandInHost::DirectoryRequest&) {
            guardDepthWhileChoosing = StandInHost::navigationGuardDepth();
            if (whileChoosing)
                whileChoosing();
            return directory;
        });
        service.profiles = {{"p1"_s, "Conform"_s, "Bin 1"_s}, {"p2"_s, "Proxy"_s, "Bin 2"_s}};
        service.folders = {{"a"_s, "/media/a"_s, "p1"_s}, {"b"_s, "/media/b"_s, "p2"_s, "true"_s}};
        acquired().clear();
        panel = std::make_unique<HostPanel>([](const QString& path) { acquired() << path; });
        KRXTest::watchModel(panel->getFolderViewWidget());
    }

    ~PanelFixture()
    {
        panel.reset();
        KRXFolderManager::cleanup();
        KRXProfileManager::cleanup();
        StandInHost::resetRecords();
        StandInHost::setSkin(StandInHost::kLightSkin);
    }

    void show(bool keepRequests = false)
    {
        panel->show();
        QVERIFY(QTest::qWaitForWindowExposed(panel.get()));
        if (!keepRequests)
            service.clear();
    }

    template <class Widget>
    Widget* child(const QString& name) const
    {
        return panel->findChild<Widget*>(name);
    }

    KRXFolderViewWidget* view() const { return panel->getFolderViewWidget(); }
    QComboBox* box() const { return child<QComboBox>(QStringLiteral("profilesBox")); }
    QPushButton* add() const { return child<QPushButton>(QStringLiteral("addFolderBtn")); }
    QPushButton* del() const { return child<QPushButton>(QStringLiteral("delFolderBtn")); }
    QPushButton* edit() const { return child<QPushButton>(QStringLiteral("profileEditBtn")); }
    QLabel* offline() const { return child<QLabel>(QStringLiteral("offlineMessage")); }
    KRXSummaryWidget* summary() const { return child<KRXSummaryWidget>(QStringLiteral("summaryWidget")); }
    KRXTwistWidget* section() const { return child<KRXTwistWidget>(QStringLiteral("summaryTW")); }

    QTreeWidgetItem* row(const QString& id) const { return view()->itemByFolderId(id); }
    QString currentFolder() const { return KRXFolderViewWidget::getFolderId(view()->currentItem()); }
    QString boxProfile() const { return box()->currentData().toString(); }
    QString profileOf(const QString& folderId) const
    {
        return KRXFolderViewWidget::getProfileId(row(folderId));
    }
    /// The bin that the summary names.
    QString summaryBin() const
    {
        const QTableWidgetItem* cell = summary()->item(0, 1);
        return cell ? cell->text().section(QStringLiteral(" : "), 1) : QString();
    }
    QStringList puts() const { return service.lines().filter(QStringLiteral("PUT")); }

    void press(QPushButton* button) const { QTest::mouseClick(button, Qt::LeftButton); }

    static QStringList& acquired()
    {
        static QStringList paths;
        return paths;
    }

    QMessageBox::StandardButton reply = QMessageBox::Yes;
    std::function<void()> whileAsked;
    QString directory;
    std::function<void()> whileChoosing;
    int guardDepthWhileChoosing = -1;
    KRXTest::FakeFolderService service;
    std::unique_ptr<HostPanel> panel;
};

#include "ProfileTour.h"

#include "FolderTour.h"
#include "TourStage.h"

#include "ActionTWidget.h"
#include "ActionTypeBox.h"
#include "ArrowButton.h"
#include "KRXFolderViewWidget.h"
#include "KRXProfileManager.h"
#include "KRXTwistWidget.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

namespace {

bool isKnownProfile(const QString& name)
{
    const auto items = KRXProfileManager::getInstance().profileItems();
    for (const auto& item : items) {
        if (item.second == name)
            return true;
    }
    return false;
}

} // namespace

ProfileTour::ProfileTour(TourStage& stage, FolderTour& folders)
    : m_stage(stage)
    , m_folders(folders)
{
}

void ProfileTour::addCreation(const QString& profile, const QString& bin, const QString& target)
{
    addOpening(QStringLiteral("editor"));
    addBin(bin);
    addCopyAction(target);
    addSaving(profile);
}

void ProfileTour::addOpening(const QString& picture)
{
    m_stage.add(
        QStringLiteral("\"Profile Editor\" opens the editor"),
        [this] { m_stage.click(m_stage.widget("profileEditBtn")); }, m_stage.widgetIsThere("KRX_SaveBtn"),
        picture);
}

void ProfileTour::addBin(const QString& bin)
{
    for (const QString& title : {QStringLiteral("Link Settings & Actions"), QStringLiteral("Bins")}) {
        m_stage.add(
            QStringLiteral("The section \"%1\" is open").arg(title),
            [this, title] {
                KRXTwistWidget* section = m_stage.section(title);
                if (section && !section->isOpen())
                    m_stage.clickInside(section->findChild<ArrowButton*>());
            },
            [this, title] {
                const KRXTwistWidget* section = m_stage.section(title);
                return section && section->isOpen() ? QString() : QStringLiteral("the section is not open");
            });
    }
    m_stage.add(
        QStringLiteral("A bin name of one's own is chosen"),
        [this] { m_stage.clickInside(m_stage.button(QStringLiteral("Specify bin name"))); },
        [this] {
            const QAbstractButton* choice = m_stage.button(QStringLiteral("Specify bin name"));
            return choice && choice->isChecked() ? QString() : QStringLiteral("it is not chosen");
        });
    const auto edit = [this] {
        const KRXTwistWidget* section = m_stage.section(QStringLiteral("Bins"));
        return section ? section->findChild<QLineEdit*>() : nullptr;
    };
    m_stage.add(
        QStringLiteral("The edit for the bin's name is clicked"),
        [this, edit] { m_stage.clickInside(edit()); },
        [edit] { return edit() && edit()->hasFocus() ? QString() : QStringLiteral("it has no focus"); });
    m_stage.add(
        QStringLiteral("The bin's name is typed"), [this, bin] { m_stage.input().type(bin); },
        [edit, bin] {
            return edit() && edit()->text() == bin ? QString() : QStringLiteral("the name is not there");
        },
        QStringLiteral("editor-bins"));
}

void ProfileTour::addTranscoding(const QString& profile)
{
    addOpening(QString());
    addTranscodeAction(0);
    addSaving(profile);
}

void ProfileTour::addThreeActions(const QString& profile, const QString& target)
{
    addOpening(QString());
    addCopyAction(target);
    addTranscodeAction(1);
    addAction(2, QStringLiteral("Consolidate"), "videoSkipOnTarget");
    // The transcode brings its media to the same drive.
    m_stage.add(
        QStringLiteral("Media that are on the drive already are to be brought there all the same"),
        [this] { m_stage.clickInside(m_stage.widget("videoSkipOnTarget")); },
        [this] {
            const auto* box = qobject_cast<QAbstractButton*>(m_stage.widget("videoSkipOnTarget"));
            return box && !box->isChecked() ? QString() : QStringLiteral("the box is checked");
        });
    m_stage.add(
        QStringLiteral("The profile has three actions"), nullptr,
        [this] {
            return m_stage.topWindow()->findChildren<ActionTWidget*>().size() == 3
                       ? QString()
                       : QStringLiteral("it has not");
        },
        QStringLiteral("editor-three-actions"));
    addSaving(profile);
}

void ProfileTour::addTranscodeAction(int rows)
{
    const QString codec = QStringLiteral("ProRes 422 Proxy");
    addAction(rows, QStringLiteral("Transcode"), "videoCompressionType");
    m_stage.add(
        QStringLiteral("The list of codecs opens"),
        [this] { m_stage.clickInside(m_stage.widget("videoCompressionType")); }, m_stage.popupIsOpen());
    m_stage.add(
        QStringLiteral("\"%1\" is chosen").arg(codec),
        [this, codec] { m_stage.clickPopupItem("videoCompressionType", codec); },
        m_stage.boxShows("videoCompressionType", codec));
    m_stage.add(QStringLiteral("Media are to go to the drive"), nullptr,
                m_stage.boxShows("filesystemVideoVolume", TourStage::driveName()),
                rows == 0 ? QStringLiteral("editor-transcode-action") : QString());
}

void ProfileTour::addAction(int rows, const QString& type, const char* option)
{
    const auto action = [this, rows]() -> ActionTWidget* {
        return m_stage.topWindow()->findChildren<ActionTWidget*>().value(rows);
    };
    const auto typeBox = [action]() -> QComboBox* {
        return action() ? action()->findChild<ActionTypeBox*>() : nullptr;
    };
    m_stage.add(
        QStringLiteral("\"+\" adds an action"),
        [this] { m_stage.clickInside(m_stage.widget("addActionBtn")); },
        [action] { return action() ? QString() : QStringLiteral("there is no action"); });
    // A new action copies.
    if (type != QLatin1String("Copy to Folder")) {
        m_stage.add(
            QStringLiteral("The list of kinds of action opens"),
            [this, typeBox] { m_stage.clickInside(typeBox()); }, m_stage.popupIsOpen());
        m_stage.add(
            QStringLiteral("\"%1\" is chosen").arg(type),
            [this, typeBox, type] { m_stage.clickPopupItem(typeBox(), type); },
            [action, type] {
                return action()->getActionName() == type ? QString() : action()->getActionName();
            });
    }
    m_stage.add(
        QStringLiteral("The action is opened"),
        [this, action] {
            if (!action()->isOpen())
                m_stage.clickInside(action()->findChild<ArrowButton*>());
        },
        m_stage.widgetIsThere(option));
}

void ProfileTour::addCopyAction(const QString& target)
{
    addAction(0, QStringLiteral("Copy to Folder"), "filesystemPath");
    m_stage.add(
        QStringLiteral("Its \"Set\" button opens the directory chooser"),
        [this] { m_stage.clickInside(m_stage.widget("filesystemPath")->findChild<QPushButton*>()); },
        m_stage.widgetIsThere("fileNameEdit"));
    m_folders.addTypedPath(target, QString());
    m_stage.add(
        QStringLiteral("The action shows its target"), nullptr,
        [this, target] {
            const QWidget* path = m_stage.widget("filesystemPath");
            return path && path->toolTip() == target ? QString() : QStringLiteral("the target is not shown");
        },
        QString());
    m_stage.add(
        QStringLiteral("Clips are to be linked to the copies"),
        [this] { m_stage.clickInside(m_stage.widget("relinkAfterCopy")); },
        [this] {
            const auto* box = qobject_cast<QAbstractButton*>(m_stage.widget("relinkAfterCopy"));
            return box && box->isChecked() ? QString() : QStringLiteral("the box is not checked");
        },
        QStringLiteral("editor-copy-action"));
}

void ProfileTour::addSaving(const QString& profile)
{
    m_stage.add(
        QStringLiteral("\"Save\" asks for a name"), [this] { m_stage.click(m_stage.widget("KRX_SaveBtn")); },
        [this] {
            // Keys reach the window that has the focus, which a dialog gets some time after it is seen.
            const auto* edit = m_stage.topWindow()->findChild<QLineEdit*>();
            return m_stage.widget("saveBtn") && edit && edit->hasFocus()
                       ? QString()
                       : QStringLiteral("no name can be typed");
        });
    m_stage.add(
        QStringLiteral("The name is typed over the proposed one"),
        [this, profile] { m_stage.input().type(profile); },
        [this, profile] {
            const auto* edit = m_stage.topWindow()->findChild<QLineEdit*>();
            return edit && edit->text() == profile ? QString()
                                                   : QStringLiteral("the name is not in the edit");
        },
        QStringLiteral("save-dialog"));
    m_stage.add(
        QStringLiteral("Enter saves the profile and closes the editor"),
        [this] { m_stage.input().pressKey(Qt::Key_Return); },
        [this, profile]() -> QString {
            const QString open = m_stage.deskIsOnTop()();
            if (!open.isEmpty())
                return open;
            return isKnownProfile(profile) ? QString()
                                           : QStringLiteral("the service does not have the profile");
        });
}

void ProfileTour::addDeletion(const QString& profile)
{
    addOpening(QString());
    m_stage.add(QStringLiteral("The editor shows the folder's profile"), nullptr,
                m_stage.boxShows("profilesBox", profile), QStringLiteral("editor-saved-profile"));
    m_stage.add(
        QStringLiteral("\"-\" asks, and names the folder that has the profile"),
        [this] { m_stage.click(m_stage.widget("delProfileBtn")); },
        m_stage.boxSays(
            QStringLiteral("The profile [%1] you are trying to delete is associated with existing "
                           "KRX folders:\n%2 \n")
                .arg(profile, m_folders.folder())),
        QStringLiteral("question-delete-profile"));
    m_stage.add(
        QStringLiteral("\"Yes\" deletes the profile"), [this] { m_stage.answer(QMessageBox::Yes); },
        [this, profile]() -> QString {
            if (isKnownProfile(profile))
                return QStringLiteral("the profile is still there");
            return m_stage.widgetIsThere("KRX_CancelBtn")();
        });
    m_stage.add(
        QStringLiteral("\"Cancel\" closes the editor"),
        [this] { m_stage.click(m_stage.widget("KRX_CancelBtn")); }, m_stage.deskIsOnTop());
    m_stage.add(QStringLiteral("The folder has the default profile on the service"), nullptr,
                m_stage.serviceHasProfile(m_folders.folder(), QStringLiteral("Default Profile")));
    m_stage.add(
        QStringLiteral("The folder is disabled there and in the list"), nullptr,
        [this]() -> QString {
            const QTreeWidgetItem* row = m_stage.row(m_folders.folder());
            if (!row || row->checkState(KRXFolderViewWidget::kIdxActiveColumn) != Qt::Unchecked)
                return QStringLiteral("the list shows it enabled");
            return m_stage.serviceHasFolder(m_folders.folder(), false)();
        },
        QStringLiteral("folder-reassigned"));
}

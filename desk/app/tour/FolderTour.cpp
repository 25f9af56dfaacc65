#include "FolderTour.h"

#include "TourStage.h"

#include "DeskPanel.h"
#include "DeskSession.h"
#include "DeskWindow.h"

#include "ArrowButton.h"
#include "KRXFolderViewWidget.h"
#include "KRXTwistWidget.h"

#include <QLineEdit>

FolderTour::FolderTour(TourStage& stage)
    : m_stage(stage)
    , m_folder(stage.watchedFolder(QStringLiteral("Camera A")))
{
}

void FolderTour::addFolder()
{
    m_stage.add(
        QStringLiteral("A click on \"+\" opens the directory chooser"),
        [this] { m_stage.click(m_stage.widget("addFolderBtn")); }, m_stage.widgetIsThere("fileNameEdit"));
    addTypedPath(m_folder, QStringLiteral("choose-folder"));
    m_stage.add(QStringLiteral("The folder is listed, not enabled, with nothing to acquire"), nullptr,
                m_stage.rowState(m_folder, KRXFolderViewWidget::NoNewClips),
                QStringLiteral("folder-state-0"));
}

void FolderTour::addTypedPath(const QString& path, const QString& picture)
{
    m_stage.add(
        QStringLiteral("A path is typed: %1").arg(path.section(QLatin1Char('/'), -1)),
        [this, path] { m_stage.input().type(path); },
        [this, path] {
            const auto* edit = qobject_cast<QLineEdit*>(m_stage.widget("fileNameEdit"));
            return edit && edit->text() == path ? QString() : QStringLiteral("the path is not in the edit");
        },
        picture);
    m_stage.add(
        QStringLiteral("Enter accepts it"), [this] { m_stage.input().pressKey(Qt::Key_Return); },
        [this] {
            return m_stage.widget("fileNameEdit") ? QStringLiteral("the chooser is still open") : QString();
        });
}

void FolderTour::addEnabling()
{
    m_stage.add(QStringLiteral("The folder is not enabled on the service"), nullptr,
                m_stage.serviceHasFolder(m_folder, false));
    m_stage.add(
        QStringLiteral("A click on its check box enables it there"),
        [this] { m_stage.clickCheckBox(m_stage.row(m_folder), KRXFolderViewWidget::kIdxActiveColumn); },
        m_stage.serviceHasFolder(m_folder, true));
}

void FolderTour::addProfileChange(const QString& profile, bool asks, bool process)
{
    m_stage.add(
        QStringLiteral("The panel's list of profiles opens"),
        [this] { m_stage.click(m_stage.widget("profilesBox")); }, m_stage.popupIsOpen());
    const auto choose = [this, profile] { m_stage.clickPopupItem("profilesBox", profile); };
    const QString name = QStringLiteral("\"%1\" is chosen").arg(profile);
    if (asks) {
        m_stage.add(name, choose,
                    m_stage.boxSays(
                        QStringLiteral("Do you want to process existing files with the new folder profile?")),
                    QStringLiteral("question-existing-files"));
        m_stage.add(
            QStringLiteral("The question is answered with %1")
                .arg(process ? QLatin1String("Yes") : QLatin1String("No")),
            [this, process] { m_stage.answer(process ? QMessageBox::Yes : QMessageBox::No); },
            m_stage.deskIsOnTop());
    } else {
        m_stage.add(name, choose, m_stage.boxShows("profilesBox", profile));
    }
    m_stage.add(QStringLiteral("The service has the folder under \"%1\"").arg(profile), nullptr,
                m_stage.serviceHasProfile(m_folder, profile), QStringLiteral("profile-assigned"));
}

void FolderTour::addSummary()
{
    const QString title = QStringLiteral("Summary");
    const auto toggle = [this, title] {
        const KRXTwistWidget* section = m_stage.section(title);
        m_stage.click(section ? section->findChild<ArrowButton*>() : nullptr);
    };
    for (const bool open : {true, false}) {
        m_stage.add(
            open ? QStringLiteral("The summary opens, and the pane grows with it")
                 : QStringLiteral("The summary closes again"),
            toggle,
            [this, title, open]() -> QString {
                const KRXTwistWidget* section = m_stage.section(title);
                if (!section || section->isOpen() != open)
                    return QStringLiteral("it did not");
                const QWidget* pane = m_stage.widget("panelPane");
                return pane->height() >= m_stage.window().panel()->neededHeight()
                           ? QString()
                           : QStringLiteral("the pane is too low");
            },
            open ? QStringLiteral("panel-summary") : QString());
    }
}

void FolderTour::addDrop(const QStringList& files, const QString& picture)
{
    m_stage.add(
        QStringLiteral("Files are dropped into the folder: %1").arg(files.join(QLatin1String(", "))),
        [this, files] {
            for (const QString& file : files)
                m_stage.drop(file, m_folder);
        },
        nullptr);
    addWaitForClips(files.size(), picture);
}

void FolderTour::addWaitForClips(int count, const QString& picture)
{
    m_stage.add(QStringLiteral("%1 outputs wait on the service").arg(count), nullptr,
                m_stage.outputsWaiting(m_folder, count));
    m_stage.add(QStringLiteral("The folder shows that clips are ready"), nullptr,
                m_stage.rowState(m_folder, KRXFolderViewWidget::NewClipsAvailable), picture);
}

void FolderTour::addAcquisition(const QString& bin, const QStringList& clips, int all, const QString& picture)
{
    m_stage.add(
        QStringLiteral("A click on the icon acquires the clips"),
        [this, picture] {
            if (!picture.isEmpty())
                watchAcquisition(picture);
            m_stage.clickCell(m_stage.row(m_folder), KRXFolderViewWidget::kIdxIngestColumn);
        },
        m_stage.rowState(m_folder, KRXFolderViewWidget::NoNewClips));
    m_stage.add(QStringLiteral("The bin \"%1\" holds exactly its clips").arg(bin), nullptr,
                m_stage.binHolds(bin, clips), QStringLiteral("clips-in-bin"));
    addStateCheck(all);
}

void FolderTour::addStateCheck(int all)
{
    m_stage.add(QStringLiteral("The outputs are consumed"), nullptr, m_stage.outputsWaiting(m_folder, 0));
    m_stage.add(QStringLiteral("The project file holds %1 clips").arg(all), nullptr,
                m_stage.projectFileHolds(all));
}

void FolderTour::watchAcquisition(const QString& picture)
{
    // With the second clip the status bar counts "1 of 3".
    m_watch = QObject::connect(
        &m_stage.session().clips(), &ClipIntake::taken, &m_stage.window(),
        [this, picture, clips = 0]() mutable {
            if (++clips < 2)
                return;
            QObject::disconnect(m_watch);
            if (KRXFolderViewWidget::getIngestState(m_stage.row(m_folder)) !=
                KRXFolderViewWidget::AcquisitionInProgress)
                m_stage.runner().fail(QStringLiteral("the row does not show that clips are being acquired"));
            m_stage.runner().takePicture(picture);
        });
}

#include "AcquireTour.h"

#include "TourStage.h"

#include "ClipIntake.h"
#include "DemoMedia.h"
#include "DeskProject.h"
#include "DeskWindow.h"

#include "KRXFolderViewWidget.h"

#include <QDir>
#include <QFileInfo>
#include <QLineEdit>

namespace {

QStringList clipNames()
{
    QStringList names;
    const QStringList files = DemoMedia::fileNames();
    for (const QString& file : files)
        names << QFileInfo(file).completeBaseName();
    return names;
}

} // namespace

AcquireTour::AcquireTour(TourStage& stage)
    : m_stage(stage)
    , m_folder(stage.watchedFolder(QStringLiteral("Camera A")))
{
}

void AcquireTour::addSteps()
{
    addStart();
    addFolder();
    addEnable();
    addDrop();
    addAcquire();
    addSkin();
}

void AcquireTour::addStart()
{
    TourStep start;
    start.name = QStringLiteral("The desk starts a folder service of its own");
    start.after = m_stage.serviceIsOnline(true);
    start.picture = QStringLiteral("desk");
    m_stage.runner().add(start);
}

void AcquireTour::addFolder()
{
    TourStep press;
    press.name = QStringLiteral("A click on \"+\" opens the directory chooser");
    press.before = m_stage.widgetIsThere("addFolderBtn");
    press.action = [this] { m_stage.click(m_stage.widget("addFolderBtn")); };
    press.after = m_stage.widgetIsThere("fileNameEdit");
    m_stage.runner().add(press);

    TourStep type;
    type.name = QStringLiteral("The folder's path is typed");
    type.action = [this] { m_stage.input().type(m_folder); };
    type.after = [this] {
        const auto* edit = qobject_cast<QLineEdit*>(m_stage.widget("fileNameEdit"));
        return edit && edit->text() == m_folder ? QString() : QStringLiteral("the path is not in the edit");
    };
    type.picture = QStringLiteral("choose-folder");
    m_stage.runner().add(type);

    TourStep accept;
    accept.name = QStringLiteral("Enter adds the folder, not enabled, with nothing to acquire");
    accept.action = [this] { m_stage.input().pressKey(Qt::Key_Return); };
    accept.after = m_stage.rowState(m_folder, KRXFolderViewWidget::NoNewClips);
    accept.picture = QStringLiteral("folder-state-0");
    m_stage.runner().add(accept);
}

void AcquireTour::addEnable()
{
    TourStep enable;
    enable.name = QStringLiteral("A click on the check box enables the folder on the service");
    enable.before = m_stage.serviceHasFolder(m_folder, false);
    enable.action = [this] {
        m_stage.clickCheckBox(m_stage.row(m_folder), KRXFolderViewWidget::kIdxActiveColumn);
    };
    enable.after = m_stage.serviceHasFolder(m_folder, true);
    m_stage.runner().add(enable);
}

void AcquireTour::addDrop()
{
    TourStep drop;
    drop.name = QStringLiteral("A movie, a still and a sound are dropped, and the folder turns ready");
    drop.action = [this] {
        const QStringList files = DemoMedia::fileNames();
        for (const QString& file : files)
            m_stage.drop(file, m_folder);
    };
    drop.after = m_stage.rowState(m_folder, KRXFolderViewWidget::NewClipsAvailable);
    drop.picture = QStringLiteral("folder-state-1");
    m_stage.runner().add(drop);

    TourStep all;
    all.name = QStringLiteral("All three outputs are waiting");
    all.after = m_stage.outputsWaiting(m_folder, DemoMedia::fileNames().size());
    m_stage.runner().add(all);
}

void AcquireTour::addAcquire()
{
    TourStep acquire;
    acquire.name = QStringLiteral("A click on the icon acquires the clips");
    acquire.action = [this] {
        watchAcquisition();
        m_stage.clickCell(m_stage.row(m_folder), KRXFolderViewWidget::kIdxIngestColumn);
    };
    acquire.after = m_stage.rowState(m_folder, KRXFolderViewWidget::NoNewClips);
    m_stage.runner().add(acquire);

    TourStep bins;
    bins.name = QStringLiteral("The bin that the profile names holds exactly these clips");
    bins.after = [this] {
        const QString label = ClipIntake::volumeLabel(m_folder);
        const QString missing = m_stage.binHolds(label, clipNames())();
        if (missing.isEmpty() && m_stage.project().clipCount() != clipNames().size())
            return QStringLiteral("there are other clips as well");
        return missing;
    };
    bins.picture = QStringLiteral("clips-in-bin");
    m_stage.runner().add(bins);

    TourStep consumed;
    consumed.name = QStringLiteral("The outputs are consumed and the project file holds the clips");
    consumed.before = m_stage.outputsWaiting(m_folder, 0);
    consumed.after = [this] {
        DeskProject saved;
        QString error;
        if (!saved.load(m_stage.project().path(), error))
            return error;
        return saved.clipCount() == clipNames().size() ? QString() : QStringLiteral("the project file lacks clips");
    };
    m_stage.runner().add(consumed);
}

void AcquireTour::addSkin()
{
    TourStep dark;
    dark.name = QStringLiteral("The same desk in the dark skin");
    dark.action = [this] { m_stage.window().setDarkSkin(true); };
    dark.picture = QStringLiteral("dark");
    m_stage.runner().add(dark);
}

void AcquireTour::watchAcquisition()
{
    // With the second clip the status bar counts "1 of 3".
    m_watch = QObject::connect(&m_stage.window().intake(), &ClipIntake::taken, &m_stage.window(), [this, clips = 0]() mutable {
        if (++clips < 2)
            return;
        QObject::disconnect(m_watch);
        if (KRXFolderViewWidget::getIngestState(m_stage.row(m_folder)) != KRXFolderViewWidget::AcquisitionInProgress)
            m_stage.runner().fail(QStringLiteral("the row does not show that clips are being acquired"));
        m_stage.runner().takePicture(QStringLiteral("folder-state-2"));
    });
}

#include "ServiceTour.h"

#include "FolderTour.h"
#include "TourStage.h"

#include "DeskWindow.h"

#include "KRXFolderViewWidget.h"

#include <QAbstractButton>
#include <QDialog>

ServiceTour::ServiceTour(TourStage& stage, FolderTour& folders)
    : m_stage(stage)
    , m_folders(folders)
{
}

void ServiceTour::addStart()
{
    m_stage.add(QStringLiteral("The desk starts a folder service of its own"), nullptr,
                m_stage.serviceIsOnline(true), QStringLiteral("desk"));
}

void ServiceTour::addStopAndStart()
{
    m_stage.addMenuChoice(QStringLiteral("&Service"), QStringLiteral("S&top Service"),
                          QStringLiteral("service-menu"));
    m_stage.add(
        QStringLiteral("The panel says that the service is not running, and keeps its rows"), nullptr,
        [this]() -> QString {
            const QString online = m_stage.serviceIsOnline(false)();
            if (!online.isEmpty())
                return online;
            if (!m_stage.row(m_folders.folder()) || m_stage.folders()->isEnabled())
                return QStringLiteral("the rows are gone or can be changed");
            return m_stage.widgetIsThere("offlineMessage")();
        },
        QStringLiteral("offline"));
    m_stage.addMenuChoice(QStringLiteral("&Service"), QStringLiteral("&Start Service"), QString());
    m_stage.add(
        QStringLiteral("The service is back, and so is the panel"), nullptr,
        [this]() -> QString {
            const QString online = m_stage.serviceIsOnline(true)();
            if (!online.isEmpty())
                return online;
            return m_stage.folders()->isEnabled() ? QString() : QStringLiteral("the list is still shut off");
        },
        QStringLiteral("online-again"));
}

void ServiceTour::addServicesManager()
{
    m_stage.addMenuChoice(QStringLiteral("&Service"), QStringLiteral("Services &Manager..."), QString());
    const auto dialog = [this] {
        return m_stage.window().findChild<QDialog*>(QStringLiteral("servicesDialog"));
    };
    m_stage.add(
        QStringLiteral("The services manager opens"), nullptr,
        [dialog] { return dialog() && dialog()->isVisible() ? QString() : QStringLiteral("it is not open"); },
        QStringLiteral("services-manager"));
    m_stage.add(
        QStringLiteral("\"Clear\" has the service forget its messages"),
        [this, dialog] { m_stage.click(dialog()->findChild<QWidget*>(QStringLiteral("clearErrorsBtn"))); },
        [this] {
            return m_stage.window().lastReport().errors.isEmpty() ? QString()
                                                                  : QStringLiteral("messages are left");
        });
    m_stage.add(
        QStringLiteral("Escape closes it"), [this] { m_stage.input().pressKey(Qt::Key_Escape); },
        [dialog] { return dialog() ? QStringLiteral("it is still open") : QString(); });
}

void ServiceTour::addLinkedMedia(const QString& file, int all)
{
    m_stage.addMenuChoice(QStringLiteral("&File"), QStringLiteral("&Link Media with a Profile..."),
                          QString());
    m_stage.add(QStringLiteral("The dialog asks for files and a profile"), nullptr,
                m_stage.widgetIsThere("addFilesBtn"));
    m_stage.add(
        QStringLiteral("\"Add Files...\" opens the file chooser"),
        [this] { m_stage.click(m_stage.widget("addFilesBtn")); }, m_stage.widgetIsThere("fileNameEdit"));
    m_folders.addTypedPath(QString(m_stage.mediaFolder() + QLatin1Char('/') + file), QString());
    m_stage.add(
        QStringLiteral("The file is in the dialog's list"), nullptr,
        [this] {
            const QWidget* link = m_stage.widget("linkBtn");
            return link && link->isEnabled() ? QString() : QStringLiteral("nothing can be linked");
        },
        QStringLiteral("link-media"));
    m_stage.add(
        QStringLiteral("\"Link\" submits the file as a job"),
        [this] { m_stage.click(m_stage.widget("linkBtn")); }, m_stage.deskIsOnTop());
    m_stage.add(QStringLiteral("The clip comes into its bin by itself"), nullptr,
                m_stage.projectFileHolds(all), QStringLiteral("linked"));
    m_stage.add(QStringLiteral("The job is forgotten by the service"), nullptr, [this] {
        return m_stage.window().lastReport().jobs.isEmpty() ? QString() : QStringLiteral("a job is left");
    });
}

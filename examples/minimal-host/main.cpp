// KRX Folders in a window of one's own. "minimal-host --take" takes the first clip by itself and ends.
#include "MinimalHost.h"

#include <HostDefaults.h>
#include <KRXFolderManager.h>
#include <KRXFolderViewWidget.h>
#include <KRXHost.h>
#include <KRXJobManager.h>
#include <KRXProfileManager.h>
#include <KRXWindow.h>

#include <QApplication>
#include <QFile>
#include <QKeyEvent>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kLookInterval = 500; // milliseconds

/// One clip: record it, then remove the file.
void takeClip(const QString& file)
{
    std::printf("took %s\n", qPrintable(file));
    std::fflush(stdout);
    QFile::remove(file);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    HostOperations host = HostDefaults::operations();
    host.getComponentFactory = &restClientFactory;
    if (!krxTakeHost(&host, nullptr))
        return 1;
    {
        KRXWindow panel(nullptr, &takeClip);
        KRXFolderViewWidget* list = panel.getFolderViewWidget();
        KRXJobManager service;
        // A host that shows more than this asks from a thread of its own, so that nothing of it ever waits.
        const auto look = [&] {
            bool online = false;
            const QStringList ready = service.getFoldersOutputReady(&online);
            panel.updateKRXServiceOnlineState(online);
            panel.updateFoldersOutputReadyState(ready);
            list->lookForDirectories();
            if (!application.arguments().contains(QStringLiteral("--take")) || ready.isEmpty())
                return;
            std::printf("shows %s\n", qPrintable(list->getFolderPath(list->topLevelItem(0))));
            QObject::connect(list, &KRXFolderViewWidget::clipsAcquired, &application, &QApplication::quit);
            QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
            QApplication::sendEvent(list, &enter);
        };
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &panel, look);
        timer.start(kLookInterval);
        panel.Show();
        panel.show();
        look();
        application.exec();
    }
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    return 0;
}

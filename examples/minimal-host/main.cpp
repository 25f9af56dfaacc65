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
#include <QDomDocument>
#include <QFile>
#include <QKeyEvent>
#include <QTimer>

#include <cstdio>

namespace {

constexpr int kLookInterval = 500; // milliseconds

/// One clip: its document names the media file. Record the clip, then remove the document.
void takeClip(const QString& file)
{
    QFile output(file);
    QDomDocument document;
    if (!output.open(QIODevice::ReadOnly) || !document.setContent(&output))
        return;
    const QDomElement clip = document.documentElement().firstChildElement(QStringLiteral("clip"));
    const QString media = clip.firstChildElement(QStringLiteral("path")).text();
    std::printf("clip %s\ntook %s\n", qPrintable(media), qPrintable(file));
    std::fflush(stdout);
    output.remove();
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
        // A host that shows more than this asks from a thread of its own, so that nothing of it ever waits.
        const auto look = [&] {
            bool online = false;
            const QStringList ready = KRXJobManager().getFoldersOutputReady(&online);
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
        panel.show();
        look();
        application.exec();
    }
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
    return 0;
}

#include "PanelPlugin.h"

#include <KRXFolderManager.h>
#include <KRXFolderViewWidget.h>
#include <KRXHost.h>
#include <KRXJobManager.h>
#include <KRXProfileManager.h>
#include <KRXWindow.h>

#include <QCoreApplication>
#include <QKeyEvent>

#include <cstdio>

namespace {

QWidget* makePanel(void (*takeClip)(const QString&))
{
    return new KRXWindow(nullptr, takeClip);
}

void look(QWidget* widget, bool take)
{
    auto* panel = static_cast<KRXWindow*>(widget);
    KRXFolderViewWidget* list = panel->getFolderViewWidget();
    bool online = false;
    const QStringList ready = KRXJobManager().getFoldersOutputReady(&online);
    panel->updateKRXServiceOnlineState(online);
    panel->updateFoldersOutputReadyState(ready);
    list->lookForDirectories();
    if (!take || ready.isEmpty())
        return;
    std::printf("shows %s\n", qPrintable(list->getFolderPath(list->topLevelItem(0))));
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(list, &enter);
}

void cleanUp()
{
    KRXFolderManager::cleanup();
    KRXProfileManager::cleanup();
}

} // namespace

extern "C" Q_DECL_EXPORT const PanelPlugin* krxPanelPlugin(const HostOperations* host, QString* why)
{
    static const PanelPlugin plugin{&makePanel, &look, &cleanUp};
    return krxTakeHost(host, why) ? &plugin : nullptr;
}

// What the keyboard does in the folder list, and the context menu, which has the same acts.

#include "KRXFolderViewWidget.h"
#include "KRXText.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>

void KRXFolderViewWidget::keyPressEvent(QKeyEvent* event)
{
    if (currentItem() && handleKey(event->key(), event->modifiers() & ~Qt::KeypadModifier))
        event->accept();
    else
        QTreeWidget::keyPressEvent(event);
}

/// \return false when the key does nothing of its own for the current row.
bool KRXFolderViewWidget::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    const QString folderId = getFolderId(currentItem());
    const bool isPlain = modifiers == Qt::NoModifier;
    const bool isAlt = modifiers == Qt::AltModifier;
    if (key == Qt::Key_Space && isPlain) {
        toggleEnabled(folderId);
        return true;
    }
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && isPlain && isReady(currentItem())) {
        acquireClips(folderId);
        return true;
    }
    if ((key == Qt::Key_F2 && isPlain) || (key == Qt::Key_Down && isAlt)) {
        const QModelIndex cell = indexFromItem(currentItem(), kIdxProfileColumn);
        scrollTo(cell);
        QMenu* menu = openProfileMenu(cell);
        // Without a mouse there is nothing below it that would be marked.
        menu->setActiveAction(chosenAction(menu));
        return true;
    }
    return false;
}

void KRXFolderViewWidget::toggleEnabled(const QString& folderId)
{
    if (QTreeWidgetItem* row = itemByFolderId(folderId)) {
        const bool isEnabled = row->checkState(kIdxActiveColumn) != Qt::Unchecked;
        row->setCheckState(kIdxActiveColumn, isEnabled ? Qt::Unchecked : Qt::Checked);
    }
}

void KRXFolderViewWidget::contextMenuEvent(QContextMenuEvent* event)
{
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    if (byKey && currentItem())
        scrollTo(currentIndex());
    const QTreeWidgetItem* row = byKey ? currentItem() : itemAt(event->pos());
    if (!row) {
        QTreeWidget::contextMenuEvent(event);
        return;
    }
    event->accept();
    // Rows may come and go while the menu is open, so every act finds its row again.
    const QString folderId = getFolderId(row);
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction* acquire = menu->addAction(KRXText::localised("Acquire"));
    acquire->setEnabled(isReady(row));
    connect(acquire, &QAction::triggered, this, [this, folderId] { acquireClips(folderId); });
    QAction* enable = menu->addAction(KRXText::localised("Enable"));
    enable->setCheckable(true);
    enable->setChecked(row->checkState(kIdxActiveColumn) != Qt::Unchecked);
    connect(enable, &QAction::triggered, this, [this, folderId] { toggleEnabled(folderId); });
    addProfiles(menu->addMenu(KRXText::localised("Profile")), row);

    const QRect cell = visualRect(byKey ? currentIndex() : indexAt(event->pos()));
    menu->popup(byKey ? viewport()->mapToGlobal(cell.center()) : event->globalPos());
    if (byKey)
        menu->setActiveAction(acquire->isEnabled() ? acquire : enable);
}

#include "KRXModal.h"

#include "HostQtShell.h"
#include "KRXDeletionHold.h"

namespace KRXModal {

QMessageBox::StandardButton showMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                           const QString& text, QMessageBox::StandardButtons buttons,
                                           QMessageBox::StandardButton defaultButton)
{
    const KRXDeletionHold hold(parent);
    return HostQtShell::showManagedMessageBox(parent, icon, title, text, buttons, defaultButton);
}

QString chooseDirectory(QWidget* asker, QWidget* parent, const QString& caption, const QString& start)
{
    const KRXDeletionHold hold(asker);
    return HostQtShell::chooseDirectory(parent, caption, start);
}

} // namespace KRXModal

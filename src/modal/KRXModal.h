#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

/// The dialogs of the host as the module opens them: whoever opens one is still there when it returns, also
/// when the host asked for its deletion with deleteLater() meanwhile. No other code of the module calls the
/// host for them.
namespace KRXModal {

/// HostQtShell::showManagedMessageBox(); \a parent and everything around it is held (see KRXDeletionHold).
QMessageBox::StandardButton showMessageBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                           const QString& text, QMessageBox::StandardButtons buttons,
                                           QMessageBox::StandardButton defaultButton);

/// HostQtShell::chooseDirectory(). \param asker the widget that is held, with everything around it.
/// \param parent the window that the chooser stays above; may be null.
QString chooseDirectory(QWidget* asker, QWidget* parent, const QString& caption, const QString& start);

} // namespace KRXModal

#pragma once

#include "KRXExport.h"

#include <QDialog>

class KRXProfilesWindow;
class QLineEdit;

/// Asks under which name the profile in the editor is saved.
class KRX_EXPORT SaveProfileDialog : public QDialog
{
    Q_OBJECT

public:
    /// Proposes the editor's generated name, selected so that typing replaces it.
    explicit SaveProfileDialog(KRXProfilesWindow* parent);

    /// The name as it stands in the edit.
    QString profileName() const;

private Q_SLOTS:
    /// Accepts the dialog unless the name is taken; then says so and stays open.
    void save();

private:
    KRXProfilesWindow* m_editor;
    QLineEdit* m_name;
};

#include "SaveProfileDialog.h"

#include "KRXModal.h"
#include "KRXProfilesWindow.h"
#include "KRXText.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

using KRXText::localised;

namespace {

/// Room for the names that people give, in pixels.
constexpr int kNameWidth = 260;

} // namespace

SaveProfileDialog::SaveProfileDialog(KRXProfilesWindow* parent)
    : QDialog(parent)
    , m_editor(parent)
    , m_name(new QLineEdit(this))
{
    setWindowTitle(localised("Save Profile As"));
    setWindowFlag(Qt::WindowContextHelpButtonHint, false);

    auto* buttons = new QDialogButtonBox(this);
    QPushButton* save = buttons->addButton(localised("Save"), QDialogButtonBox::AcceptRole);
    save->setObjectName(QStringLiteral("saveBtn"));
    save->setDefault(true);
    QPushButton* cancel = buttons->addButton(localised("Cancel"), QDialogButtonBox::RejectRole);
    cancel->setObjectName(QStringLiteral("cancelBtn"));
    cancel->setAutoDefault(false);

    auto* form = new QFormLayout;
    form->addRow(localised("Profile name:"), m_name);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::accepted, this, &SaveProfileDialog::save);
    connect(buttons, &QDialogButtonBox::rejected, this, &SaveProfileDialog::reject);

    m_name->setMinimumWidth(kNameWidth);
    m_name->setText(m_editor->generateProfileNameForSave());
    m_name->selectAll();
    m_name->setFocus();
}

QString SaveProfileDialog::profileName() const
{
    return m_name->text();
}

void SaveProfileDialog::save()
{
    const QString name = profileName();
    if (m_editor->getProfilesBox()->findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive) >= 0) {
        KRXModal::showMessageBox(this, QMessageBox::Warning, QString(),
                                 localised("Profile : %1 already exists").arg(name), QMessageBox::Ok,
                                 QMessageBox::Ok);
        return;
    }
    accept();
}

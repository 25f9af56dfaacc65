#include "LinkMediaDialog.h"

#include "TryItDialog.h"

#include "KRXFolderManager.h"
#include "KRXLinkToProfileWidget.h"
#include "KRXSummaryWidget.h"
#include "KRXTwistWidget.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QListWidget>
#include <QMimeData>
#include <QPushButton>
#include <QScrollArea>
#include <QUrl>

namespace {

constexpr int kWidth = 560;
constexpr int kHeight = 520;

} // namespace

LinkMediaDialog::LinkMediaDialog(KRXProfilesWindow* editor, QWidget* parent)
    : QDialog(parent)
    , m_files(new QListWidget(this))
{
    setObjectName(QStringLiteral("linkMediaDialog"));
    setWindowTitle(tr("Link Media with a Profile"));
    setAcceptDrops(true);
    // The editor finds the folders that use a profile only among those that are known.
    KRXFolderManager::getInstance().refreshFolders(true);

    m_files->setObjectName(QStringLiteral("linkFiles"));
    m_files->setSelectionMode(QAbstractItemView::ExtendedSelection);
    auto* add = new QPushButton(tr("Add Files..."), this);
    add->setObjectName(QStringLiteral("addFilesBtn"));
    m_remove = new QPushButton(tr("Remove"), this);
    auto* fileButtons = new QHBoxLayout;
    fileButtons->addWidget(add);
    fileButtons->addWidget(m_remove);
    fileButtons->addStretch();

    auto* section = new KRXTwistWidget(this, tr("Summary"));
    auto* summary = new KRXSummaryWidget(section);
    section->addWidgetToBody(summary, 0);
    m_profile = new KRXLinkToProfileWidget(summary, editor, true, this, this);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    m_try = buttons->addButton(tr("Try It"), QDialogButtonBox::ActionRole);
    m_try->setObjectName(QStringLiteral("tryItBtn"));
    m_try->setToolTip(tr("Shows what the profile would do to the selected file, and does nothing"));
    m_link = buttons->addButton(tr("Link"), QDialogButtonBox::AcceptRole);
    m_link->setObjectName(QStringLiteral("linkBtn"));

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_files, 1);
    layout->addLayout(fileButtons);
    layout->addWidget(m_profile);
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setWidgetResizable(true);
    scroll->setWidget(section);
    layout->addWidget(scroll, 1);
    layout->addWidget(buttons);
    resize(kWidth, kHeight);
    section->setOpen(true);

    connect(add, &QPushButton::clicked, this, &LinkMediaDialog::chooseFiles);
    connect(m_remove, &QPushButton::clicked, this, [this] {
        qDeleteAll(m_files->selectedItems());
        refreshButtons();
    });
    connect(m_try, &QPushButton::clicked, this, [this] {
        const QList<QListWidgetItem*> chosen = m_files->selectedItems();
        const QString file = chosen.isEmpty() ? files().value(0) : chosen.first()->text();
        auto* dialog = new TryItDialog(profileId(), file, this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    });
    connect(m_files, &QListWidget::itemSelectionChanged, this, &LinkMediaDialog::refreshButtons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    refreshButtons();
}

QStringList LinkMediaDialog::files() const
{
    QStringList files;
    for (int i = 0; i < m_files->count(); ++i)
        files << m_files->item(i)->text();
    return files;
}

void LinkMediaDialog::addFiles(const QStringList& files)
{
    for (const QString& file : files) {
        if (m_files->findItems(file, Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty())
            m_files->addItem(file);
    }
    refreshButtons();
}

QString LinkMediaDialog::profileId() const
{
    return m_profile->selectedProfileId();
}

void LinkMediaDialog::setWindowEnabled(bool enabled)
{
    setEnabled(enabled);
}

void LinkMediaDialog::dragEnterEvent(QDragEnterEvent* event)
{
    if (event->mimeData()->hasUrls())
        event->acceptProposedAction();
}

void LinkMediaDialog::dropEvent(QDropEvent* event)
{
    QStringList files;
    const QList<QUrl> urls = event->mimeData()->urls();
    for (const QUrl& url : urls) {
        if (url.isLocalFile())
            files << url.toLocalFile();
    }
    addFiles(files);
}

void LinkMediaDialog::chooseFiles()
{
    addFiles(QFileDialog::getOpenFileNames(this, tr("Add Files"), QString(), QString(), nullptr,
                                           QFileDialog::DontUseNativeDialog));
}

void LinkMediaDialog::refreshButtons()
{
    m_link->setEnabled(m_files->count() > 0);
    m_try->setEnabled(m_files->count() > 0);
    m_remove->setEnabled(!m_files->selectedItems().isEmpty());
}

#include "DestinationDrives.h"

#include "ActionListLoad.h"
#include "KRXText.h"
#include "SelectDriveButton.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QStandardItemModel>

namespace {

constexpr int kSpacing = 1;
constexpr int kButtonSize = 40;
constexpr int kBoxWidth = 150;

enum Row { VideoRow, AudioRow, RowCount };
enum Column { LabelColumn, ButtonColumn, BoxColumn, RestColumn };

QStandardItem* itemOf(QComboBox* box, int row)
{
    // The model that every combo box starts with.
    auto* model = qobject_cast<QStandardItemModel*>(box->model());
    return model ? model->item(row) : nullptr;
}

/// The row of a volume by its shown name. Several volumes can have the same one; the last is the newest.
int lastRowOf(const QComboBox* box, const QString& name)
{
    for (int row = box->count() - 1; row >= 0; --row) {
        if (box->itemText(row) == name)
            return row;
    }
    return -1;
}

void greyOut(QComboBox* box, int row)
{
    if (QStandardItem* item = itemOf(box, row))
        item->setFlags(item->flags() & ~(Qt::ItemIsSelectable | Qt::ItemIsEnabled));
}

void selectFirstSelectable(QComboBox* box)
{
    for (int row = 0; row < box->count(); ++row) {
        const QStandardItem* item = itemOf(box, row);
        if (item && item->isSelectable()) {
            box->setCurrentIndex(row);
            return;
        }
    }
    box->setCurrentIndex(-1);
}

} // namespace

DestinationDrives::DestinationDrives(QWidget* parent)
    : QWidget(parent)
    , m_videoBox(nullptr)
    , m_audioBox(nullptr)
    , m_button(new SelectDriveButton(this))
{
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kSpacing);
    m_videoBox =
        addBox(layout, VideoRow, KRXText::localised("Video Drive"), QStringLiteral("filesystemVideoVolume"));
    m_button->setFixedSize(kButtonSize, kButtonSize);
    layout->addWidget(m_button, VideoRow, ButtonColumn, RowCount, 1, Qt::AlignCenter);
    m_audioBox =
        addBox(layout, AudioRow, KRXText::localised("Audio Drive"), QStringLiteral("filesystemAudioVolume"));
    layout->setColumnStretch(RestColumn, 1);

    connect(m_button, &SelectDriveButton::clicked, this, &DestinationDrives::updateDrivesVisibility);
    refresh();
}

QComboBox* DestinationDrives::addBox(QGridLayout* layout, int row, const QString& label,
                                     const QString& objectName)
{
    layout->addWidget(new QLabel(label, this), row, LabelColumn);
    auto* box = new QComboBox(this);
    box->setObjectName(objectName);
    box->setFixedWidth(kBoxWidth);
    box->setToolTip(KRXText::localised("Select the Destination Drives for the Consolidated Media"));
    layout->addWidget(box, row, BoxColumn);
    return box;
}

void DestinationDrives::refresh()
{
    const QSignalBlocker audioBlocker(m_audioBox);
    const QSignalBlocker videoBlocker(m_videoBox);
    m_audioBox->clear();
    m_videoBox->clear();
    for (const DestinationVolume& volume : ActionListLoad::volumes())
        addVolume(volume.name, volume.path, volume.locked);
    selectFirstSelectable(m_audioBox);
    selectFirstSelectable(m_videoBox);
}

void DestinationDrives::addVolume(const QString& name, const QString& path, bool locked)
{
    m_audioBox->addItem(name, path);
    m_videoBox->addItem(name, path);
    if (!locked)
        return;
    const int row = lastRowOf(m_videoBox, name);
    greyOut(m_videoBox, row);
    greyOut(m_audioBox, row);
}

QString DestinationDrives::videoVolume() const
{
    return m_videoBox->currentData().toString();
}

QString DestinationDrives::audioVolume() const
{
    // Hidden by the button, that is: in a closed row both boxes cannot be seen, and still both count.
    const bool isHiddenByButton =
        m_audioBox->isHidden() && m_audioBox->testAttribute(Qt::WA_WState_ExplicitShowHide);
    return isHiddenByButton ? videoVolume() : m_audioBox->currentData().toString();
}

void DestinationDrives::selectVolume(QComboBox* box, const QString& path)
{
    const int row = box->findData(path);
    if (row >= 0)
        box->setCurrentIndex(row);
    else
        selectFirstSelectable(box);
}

void DestinationDrives::updateDrivesVisibility()
{
    m_audioBox->setVisible(m_button->getButtonState() != ArrowButton::Closed);
}

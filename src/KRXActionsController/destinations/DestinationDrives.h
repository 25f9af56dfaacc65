#pragma once

#include "KRXExport.h"

#include <QString>
#include <QWidget>

class QComboBox;
class QGridLayout;
class SelectDriveButton;

/// Picks the volumes that video and audio media are written to: two of them, or one for both.
class KRX_EXPORT DestinationDrives : public QWidget
{
    Q_OBJECT

public:
    /// Fills itself with the host's volumes.
    explicit DestinationDrives(QWidget* parent);

    /// Refills both boxes from the host's volumes. Locked volumes are listed but cannot be chosen; the first
    /// one that can be chosen becomes current, none when there is none.
    void refresh();
    /// The path of the video volume with a closing separator; empty when there are no volumes.
    QString videoVolume() const;
    /// The path of the audio volume; that of the video volume while one drive is chosen for both.
    QString audioVolume() const;

    /// Selects in \a box (one of the two) the volume with that path, locked or not; without one, the first
    /// that can be chosen.
    void selectVolume(QComboBox* box, const QString& path);

    QComboBox* videoBox() const { return m_videoBox; }
    QComboBox* audioBox() const { return m_audioBox; }
    SelectDriveButton* selectDriveButton() const { return m_button; }

public Q_SLOTS:
    /// Shows the audio box while the button stands at separate drives, hides it otherwise.
    void updateDrivesVisibility();

private:
    QComboBox* addBox(QGridLayout* layout, int row, const QString& label, const QString& objectName);
    void addVolume(const QString& name, const QString& path, bool locked);

    QComboBox* m_videoBox;
    QComboBox* m_audioBox;
    SelectDriveButton* m_button;
};

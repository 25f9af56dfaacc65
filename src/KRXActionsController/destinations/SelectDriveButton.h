#pragma once

#include "ArrowButton.h"
#include "KRXExport.h"

/// Switches between separate drives for video and audio (state 0) and one drive for both (any other state).
class KRX_EXPORT SelectDriveButton : public ArrowButton
{
    Q_OBJECT

public:
    /// A button that stands at separate drives.
    explicit SelectDriveButton(QWidget* parent);

    QString getResGroup() const override;
    QString getResID() const override;
};

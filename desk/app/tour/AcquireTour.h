#pragma once

#include <QMetaObject>
#include <QString>

class TourStage;

/// The steps that take clips from a watched folder into a bin.
class AcquireTour
{
public:
    explicit AcquireTour(TourStage& stage);

    void addSteps();

private:
    void addStart();
    void addFolder();
    void addEnable();
    void addDrop();
    void addAcquire();
    void addSkin();
    /// Takes the picture of a row whose acquisition is under way, from inside the acquisition.
    void watchAcquisition();

    TourStage& m_stage;
    QString m_folder;
    QMetaObject::Connection m_watch;
};

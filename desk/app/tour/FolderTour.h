#pragma once

#include <QMetaObject>
#include <QString>
#include <QStringList>

class TourStage;

/// Steps around a watched folder: adding it, giving it a profile, taking clips from it.
class FolderTour
{
public:
    explicit FolderTour(TourStage& stage);

    QString folder() const { return m_folder; }

    void addFolder();
    void addEnabling();
    /// Chooses another profile in the panel's box.
    /// \param asks whether files are there, so that the question about them comes. \param process the answer.
    void addProfileChange(const QString& profile, bool asks, bool process = false);
    /// Opens the panel's summary of the profile, and closes it again.
    void addSummary();
    /// \param picture name of the picture of the folder that is ready; none when empty.
    void addDrop(const QStringList& files, const QString& picture);
    void addWaitForClips(int count, const QString& picture);
    /// \param clips all the clips that the bin holds afterwards. \param all how many there are in all bins
    /// then.
    void addAcquisition(const QString& bin, const QStringList& clips, int all, const QString& picture);
    /// Types a path into the file dialog that is open and accepts it.
    void addTypedPath(const QString& path, const QString& picture);

private:
    void addStateCheck(int all);
    /// Takes the picture of a row whose acquisition is under way, from inside the acquisition.
    void watchAcquisition(const QString& picture);

    TourStage& m_stage;
    QString m_folder;
    QMetaObject::Connection m_watch;
};

#pragma once

#include <QString>

class FolderTour;
class TourStage;

/// Steps around the service itself: its start and stop, and jobs that a person submits.
class ServiceTour
{
public:
    ServiceTour(TourStage& stage, FolderTour& folders);

    void addStart();
    void addStopAndStart();
    /// Opens the services manager, which shows what the service complains about, and clears that.
    void addServicesManager();
    /// Drops a file into the tour's folder whose copy has to fail, shows why, mends that and tries again.
    /// \param copies where the folder's profile copies to. \param file one of the media folder.
    void addFailure(const QString& copies, const QString& file, const QString& newName);
    /// Links one file of the media folder with the default profile.
    /// \param all how many clips there are in all bins then.
    void addLinkedMedia(const QString& file, int all);

private:
    void addMenuChoice(const QString& menu, const QString& item, const QString& picture);

    TourStage& m_stage;
    FolderTour& m_folders;
};

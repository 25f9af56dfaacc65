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
    /// Links one file of the media folder with the default profile.
    /// \param all how many clips there are in all bins then.
    void addLinkedMedia(const QString& file, int all);

private:
    TourStage& m_stage;
    FolderTour& m_folders;
};

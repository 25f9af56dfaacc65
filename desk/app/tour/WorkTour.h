#pragma once

#include "ServiceClip.h"
#include "TourRunner.h"

#include <QString>

class FolderTour;
class TourStage;

/// Steps around work that can be watched: in the table of jobs, and beforehand in a dry run.
class WorkTour
{
public:
    WorkTour(TourStage& stage, FolderTour& folders);

    /// Drops a file into the tour's folder whose copy has to fail, shows why, mends that and tries again.
    /// \param copies where the folder's profile copies to. \param file one of the media folder.
    void addFailure(const QString& copies, const QString& file, const QString& newName);
    /// Drops a long movie into the tour's folder, whose profile transcodes, and watches its bar grow.
    /// \param file one of the media folder.
    void addLongWork(const QString& file);
    /// Asks in the editor what the profile that the panel shows would do to a file.
    /// \param file one of the media folder. \param result what the name of a result begins with.
    void addDryRun(const QString& file, const QString& result);

private:
    /// Null while the desk does not list it.
    const ServiceClip* clip(const QString& name) const;
    TourStep::Condition clipIs(const QString& name, ClipState state) const;
    void addJobsChoice();
    /// Shows the reasons of a failure in the docks beside the jobs.
    void addReasons(const QString& name);

    TourStage& m_stage;
    FolderTour& m_folders;
    int m_percent = 0;
};

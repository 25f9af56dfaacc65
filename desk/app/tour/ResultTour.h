#pragma once

#include <QString>
#include <QStringList>

class FolderTour;
class ProfileTour;
class TourStage;

/// Steps around a profile with all three actions: a movie, a sequence and a sound go through it, and what
/// came of them is looked at by others than the service: ffprobe, the bytes of the originals, the history of
/// the copies.
class ResultTour
{
public:
    ResultTour(TourStage& stage, FolderTour& folders, ProfileTour& profiles);

    /// Makes the media, small ones, in the tour's media folder. \return false with a text in \a error.
    static bool makeMedia(const QString& folder, QString& error);
    /// The names of the clips that come of them.
    static QStringList clipNames();

    /// Makes the profile in the editor, out of the one that the panel shows, which has no action, and gives
    /// it to the tour's folder.
    void addProfile(const QString& profile);
    /// Drops the media and waits for the clips.
    void addWork(const QString& picture);
    /// Looks at every result.
    void addChecks();

private:
    QString copies() const;

    TourStage& m_stage;
    FolderTour& m_folders;
    ProfileTour& m_profiles;
};

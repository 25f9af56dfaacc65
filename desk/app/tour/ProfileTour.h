#pragma once

#include <QString>

class FolderTour;
class TourStage;

/// Steps in the profile editor.
class ProfileTour
{
public:
    ProfileTour(TourStage& stage, FolderTour& folders);

    /// Makes a profile that copies into \a target and links the copies into the bin \a bin.
    void addCreation(const QString& profile, const QString& bin, const QString& target);
    /// Deletes the profile that the panel shows, which the watched folder has.
    void addDeletion(const QString& profile);

private:
    void addOpening(const QString& picture);
    void addBin(const QString& bin);
    void addCopyAction(const QString& target);
    void addSaving(const QString& profile);

    TourStage& m_stage;
    FolderTour& m_folders;
};

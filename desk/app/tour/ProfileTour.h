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
    /// Makes a profile that transcodes onto the tour's drive with a codec for proxies, out of the one that
    /// the panel shows, which has no action.
    void addTranscoding(const QString& profile);
    /// Makes a profile that copies into \a target, transcodes onto the tour's drive and consolidates there,
    /// out of the one that the panel shows, which has no action.
    void addThreeActions(const QString& profile, const QString& target);
    /// Deletes the profile that the panel shows, which the watched folder has.
    void addDeletion(const QString& profile);

private:
    void addOpening(const QString& picture);
    void addBin(const QString& bin);
    /// Adds an action of that type in the editor, behind \a rows that are there already, and opens it.
    /// \param option an object name among its options.
    void addAction(int rows, const QString& type, const char* option);
    void addCopyAction(const QString& target);
    /// Adds a transcode with a codec for proxies behind \a rows actions.
    void addTranscodeAction(int rows);
    void addSaving(const QString& profile);

    TourStage& m_stage;
    FolderTour& m_folders;
};

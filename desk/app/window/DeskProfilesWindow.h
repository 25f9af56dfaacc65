#pragma once

#include "KRXProfilesWindow.h"

#include <QList>

class QPushButton;

/// The profile editor with what the desk knows: codecs and encoding profiles of the media catalogue, rates of
/// its projects, and an editor for groupings of audio tracks.
class DeskProfilesWindow : public KRXProfilesWindow
{
    Q_OBJECT

public:
    explicit DeskProfilesWindow(QWidget* parent);

    /// Gives the window as much of that height as there is below its top on the screen; it never moves by
    /// this. A height that a person gave it stays.
    void setNewHeight(int height) override;

public slots:
    void updateCodecBox(CodecBox* box) override;
    void updateEncodingProfileBox(CodecBox* box) override;

signals:
    /// A profile was made or deleted on the service.
    void profilesChanged();

protected:
    void initXelSettingsValues() override;
    void updateMultiChannelLabel(QLabel* label) override;
    void updateKRXWindowInfo() override;
    /// Asks whether the changes may be thrown away.
    bool mayLeaveProfile(const QString& profileName) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void placeTryIt();

    QPushButton* m_tryIt;
    /// The heights that the program gave the window last. The window system confirms each of them, late.
    QList<int> m_ownHeights;
    bool m_hasPersonsHeight = false;
};

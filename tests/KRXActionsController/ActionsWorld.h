#pragma once

#include "KRXProfilesWindow.h"
#include "StandInHost.h"
#include "StandInMedia.h"

#include <QDomDocument>
#include <QList>
#include <QString>

class IAction;
class QComboBox;

/// The small world that the tests of actions run in: a catalogue, a project and volumes that never change
/// from machine to machine.
namespace ActionsWorld {

// Codes of project types.
constexpr int kPal = 1;
constexpr int kHdRgb = 10;
constexpr int kHd = 12;
constexpr int kHdNotInstalled = 13;
constexpr int kSoundOnly = 14;
constexpr int kCustom = 26;
/// What the custom formats amount to.
constexpr int kCustomHd = 30;
constexpr int kCustomSd = 31;

// Compression ids.
constexpr quint32 kFirstCodec = 101;
constexpr quint32 kDefaultCodec = 102;
constexpr quint32 kZeroUidCodec = 103;
constexpr quint32 kLargeIdCodec = 4000000000U;
/// Offered by the editor, unknown to the media engine.
constexpr quint32 kForeignCodec = 999;

// Encoding profiles of the default codec.
constexpr quint32 kFirstProfile = 7;
constexpr quint32 kSecondProfile = 8;
/// The display text of the profile kTextIsNumberProfile is the number of another one.
constexpr quint32 kTextIsNumberProfile = 9;

/// Sets catalogue, project, volumes and records; before every test.
void reset();
/// Opens a project of that type at that raster width and colour space.
void openProject(int type, int rasterWidth = 1920, int colorSpace = 8);
/// Opens a custom-format project.
void openCustomProject(quint32 targetFormat);

/// A document that holds just \a xml as its only element.
QDomDocument document(const QString& xml);
/// The activity that the action writes, with an indent of 1.
QString written(IAction& action);

/// Item texts of a box.
QStringList texts(const QComboBox* box);
/// Item data of a box as text.
QStringList data(const QComboBox* box);

/// The editor as a host's subclass fills it, without any service.
class Editor : public KRXProfilesWindow
{
public:
    Editor();

    bool isModified() { return getProfileState()->isModified(); }
    void clearModified() { getProfileState()->setModified(false); }

    void setNewHeight(int height) override;
    void updateCodecBox(CodecBox* box) override;
    void updateEncodingProfileBox(CodecBox* box) override;

    /// Every height that the editor was to take.
    QList<int> heights;
    int codecFills = 0;
    int encodingProfileFills = 0;
};

} // namespace ActionsWorld

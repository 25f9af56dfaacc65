#pragma once

#include "HostComponentFactory.h"
#include "HostCore.h"
#include "HostMediaEngine.h"
#include "HostOperations.h"

#include <QColor>
#include <QList>
#include <QMessageBox>
#include <QString>
#include <QStringList>

#include <functional>

/// The stand-in host's own handles: what a program built on it (the desk, a test) sets and reads back.
/// GUI thread only unless said otherwise. Everything here has a working default.
namespace StandInHost {

/// All that the stand-in implements, to be handed to the module. Safe from any thread.
KRX_HOST_API const HostOperations& operations();

// --- Modal questions -----------------------------------------------------------------------------------

/// One managed message box that the module asked for.
struct MessageRequest
{
    QWidget* parent = nullptr;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QString title;
    QString text;
    QMessageBox::StandardButtons buttons;
    QMessageBox::StandardButton defaultButton = QMessageBox::NoButton;
};

using MessageAnswerer = std::function<QMessageBox::StandardButton(const MessageRequest&)>;

/// Answers message boxes in place of a person; an empty function shows real boxes again.
KRX_HOST_API void setMessageAnswerer(MessageAnswerer answerer);

struct DirectoryRequest
{
    QWidget* parent = nullptr;
    QString caption;
    QString start;
};

using DirectoryAnswerer = std::function<QString(const DirectoryRequest&)>;

/// Answers directory choosers in place of a person; an empty function shows real ones again.
KRX_HOST_API void setDirectoryAnswerer(DirectoryAnswerer answerer);

// --- Status bar, help, navigation ----------------------------------------------------------------------

struct ProgressStep
{
    enum Kind { Reset, Update, Close };
    Kind kind = Reset;
    QString text;
    int current = 0;
    int total = 0;
};

using ProgressListener = std::function<void(const ProgressStep&)>;

/// Called for every step of status progress, in the GUI thread; empty to stop.
KRX_HOST_API void setProgressListener(ProgressListener listener);

struct HelpRequest
{
    QString topic;
    int flag = 0;
};

using HelpListener = std::function<void(const HelpRequest&)>;
KRX_HOST_API void setHelpListener(HelpListener listener);

/// How many NavigationPaneGuard objects live now, and how many there ever were.
KRX_HOST_API int navigationGuardDepth();
KRX_HOST_API int navigationGuardCount();

/// Is told of every question and notice that reaches the host. The host itself keeps none of them.
class KRX_HOST_API Recorder
{
public:
    Recorder() = default;
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    virtual ~Recorder();

    virtual void asked(const MessageRequest& request) = 0;
    virtual void asked(const DirectoryRequest& request) = 0;
    virtual void progressed(const ProgressStep& step) = 0;
    virtual void helpShown(const HelpRequest& request) = 0;
    /// resetRecords() was called.
    virtual void reset() = 0;
};

/// \param recorder must outlive its use; null for none, as it is at the start.
KRX_HOST_API void setRecorder(Recorder* recorder);

/// Removes every answerer and listener, and tells the recorder.
KRX_HOST_API void resetRecords();

// --- Skin, texts ---------------------------------------------------------------------------------------

/// Index of the light skin and of the dark skin that the stand-in brings.
constexpr int kLightSkin = 0;
constexpr int kDarkSkin = 4;
/// Sets the skin: palette colours, icon tint and, when there is a QApplication, its palette and style sheet.
KRX_HOST_API void setSkin(int index);
/// A host that has little: no picture, no colour and no tint of its own. For tests.
KRX_HOST_API void setBare(bool bare);
/// The user's choice of highlight colour; an invalid colour leaves it to the skin.
KRX_HOST_API void setHighlightColor(const QColor& color);
/// Replaces a number of every skin.
KRX_HOST_API void setPaletteNumber(const QString& name, quint16 value);
KRX_HOST_API void resetPaletteNumbers();

/// Loads the catalogue of a language ("en", "de"); an unknown one gives English. Safe from any thread.
KRX_HOST_API void setLanguage(const QString& language);
/// Replaces the text look-up; empty restores the catalogues. Safe from any thread.
KRX_HOST_API void setTranslator(std::function<QString(const QString&)> translator);

// --- Components ----------------------------------------------------------------------------------------

using ComponentFactoryEntry = std::function<HostStatus(const HostIdentifier&, IHostComponentFactory**)>;
/// Replaces what getComponentFactory() does; empty restores the stand-in's own factory. Safe from any thread.
KRX_HOST_API void setComponentFactoryEntry(ComponentFactoryEntry entry);

// --- Volumes -------------------------------------------------------------------------------------------

struct Volume
{
    QString name;
    QString path;
    bool usable = true;
    bool hasInformation = true;
    bool locked = false;
    bool hasIdentity = true;
    /// What information on the volume shows it as; null for its name.
    QString displayName = QString();
};

/// Replaces the mounted file systems by a fixed list of groups.
KRX_HOST_API void setVolumes(const QList<QList<Volume>>& groups);
/// Makes localVolumeGroups() report that there is no list at all.
KRX_HOST_API void setNoVolumes();
/// Back to the mounted file systems.
KRX_HOST_API void useMountedVolumes();
/// How often localVolumeGroups() was called.
KRX_HOST_API int volumeListCount();

} // namespace StandInHost

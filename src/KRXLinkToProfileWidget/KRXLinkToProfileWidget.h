#pragma once

#include "HostQtShell.h"
#include "KRXExport.h"

#include <QList>
#include <QPair>
#include <QPointer>
#include <QString>
#include <QWidget>

class KRXProfilesWindow;
class KRXSummaryWidget;
class QComboBox;

/// A compact picker of profiles for the host's own dialogs: a centred row with a drop-down and a button that
/// opens the profile editor. The chosen profile's summary appears in a widget that the host places itself.
///
/// A host that offers deletion in the editor refreshes the folders before: the editor looks there for folders
/// that use the profile. GUI thread only; requests block it.
class KRX_EXPORT KRXLinkToProfileWidget : public QWidget
{
    Q_OBJECT

public:
    /// \param summary shows the chosen profile; not owned, may be null.
    /// \param profilesWindow the editor that the button opens; not owned. While it is null the button does
    /// nothing.
    /// \param populate whether to ask the service for the profiles now. When false there is no choice until
    /// the editor was open, and the summary never follows.
    /// \param hostWindow the window around this widget, shut off while the editor is open; not owned, may be
    /// null, must outlive this widget.
    KRXLinkToProfileWidget(KRXSummaryWidget* summary, KRXProfilesWindow* profilesWindow, bool populate,
                           HostManagedWindow* hostWindow, QWidget* parent);
    ~KRXLinkToProfileWidget() override;

    /// The identifier of the chosen profile; empty when there is no choice.
    QString selectedProfileId() const;

protected:
    /// Fills the box with the service's profiles without a signal. The first one is current then.
    void populateProfileComboBox();
    /// Shows the summary of a cached profile. An empty identifier clears the summary; of an unknown profile
    /// it stays as it was.
    void refreshProfileSummary(const QString& profileId);

private Q_SLOTS:
    void profileIndexChanged(int index);
    void showProfilesEdotor();

private:
    bool offerProfiles(const QList<QPair<QString, QString>>& items, const QString& id);
    void runEditor();

    QPointer<KRXSummaryWidget> m_summary;
    QComboBox* m_profilesBox = nullptr;
    QPointer<KRXProfilesWindow> m_profilesWindow;
    HostManagedWindow* m_hostWindow = nullptr;
};

#pragma once

#include "DeskApi.h"
#include "KRXWindow.h"

/// The module's panel as the desk places it: with the desk's own profile editor, and telling the desk what it
/// needs.
class KRX_DESK_API DeskPanel : public KRXWindow
{
    Q_OBJECT

public:
    /// \param callback is given the path of every link document that is acquired.
    DeskPanel(QWidget* parent, void (*callback)(const QString&));

    void Show() override;
    void initProfilesWindow() override;
    void openServicesDialog() override;

    /// The desk's editor; made on first use. Owned by the panel.
    KRXProfilesWindow* editor();
    /// The height in pixels that the panel needs now.
    int neededHeight() const;

signals:
    /// The panel needs another height, in pixels.
    void heightWanted(int height);
    void servicesDialogWanted();

protected:
    void setNewHeight(int height) override;

private:
    void fitEditorButton();
};

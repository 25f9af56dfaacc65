#pragma once

#include "EditorFixture.h"
#include "HostRecorder.h"
#include "SaveProfileDialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>

/// The editor with its protected parts opened and its hooks counted.
class Editor : public KRXProfilesWindow
{
public:
    explicit Editor(QWidget* parent = nullptr)
        : KRXProfilesWindow(parent)
    {
    }

    using KRXProfilesWindow::cancelBtnPressed;
    using KRXProfilesWindow::delBtnPressed;
    using KRXProfilesWindow::doWinHelp;
    using KRXProfilesWindow::saveBtnPressed;
    using KRXProfilesWindow::showContextMenu;
    using KRXProfilesWindow::showMultiChannelDlg;
    using KRXProfilesWindow::updateCodecBox;
    using KRXProfilesWindow::updateEncodingProfileBox;

    void initXelSettingsValues() override { ++initialisations; }
    void updateMultiChannelLabel(QLabel* label) override
    {
        multiChannelLabel = label;
        if (inHook)
            inHook();
    }
    void updateKRXWindowInfo() override
    {
        ++infoUpdates;
        if (inHook)
            inHook();
    }
    bool mayLeaveProfile(const QString& profileName) override
    {
        askedToLeave << profileName;
        return KRXProfilesWindow::mayLeaveProfile(profileName) && (!leave || leave());
    }
    void setNewHeight(int height) override
    {
        heights << height;
        KRXProfilesWindow::setNewHeight(height);
    }

    template <class Widget>
    Widget* child(const char* name) const
    {
        return findChild<Widget*>(QLatin1String(name));
    }

    int initialisations = 0;
    int infoUpdates = 0;
    QLabel* multiChannelLabel = nullptr;
    QList<int> heights;
    QStringList askedToLeave;
    /// What the host answers to the question about leaving; nothing leaves it to the module.
    std::function<bool()> leave;
    /// What the host does when it is told of a change or asked for the audio tracks.
    std::function<void()> inHook;
};

/// The settings of a profile that puts clips into that bin.
inline QString bins(const char* selection)
{
    return QStringLiteral(
               "<profileSettings><binDetail><binSelectionMethod>%1</binSelectionMethod></binDetail>"
               "</profileSettings>")
        .arg(QLatin1String(selection));
}

/// Runs when the save dialog is open inside saveBtnPressed(): gives it a name and presses its button.
inline void answerSaveDialog(Editor& editor, const QString& name, const char* button,
                             QString* proposed = nullptr)
{
    QTimer::singleShot(0, &editor, [&editor, name, button, proposed] {
        auto* dialog = editor.findChild<SaveProfileDialog*>();
        if (!dialog)
            return;
        if (proposed)
            *proposed = dialog->profileName();
        dialog->findChild<QLineEdit*>()->setText(name);
        dialog->findChild<QPushButton*>(QLatin1String(button))->click();
        if (dialog->isVisible())
            dialog->reject();
    });
}

/// What the tests of the editor share: a service behind the managers and an answer to every message.
class EditorTest
{
protected:
    void start()
    {
        m_service = std::make_unique<EditorFixture>();
        answerWith(QMessageBox::Ok);
    }
    void stop() { m_service.reset(); }

    /// Opens \a editor on a service with one profile.
    void openAlpha(KRXProfilesWindow& editor)
    {
        m_service->addProfile(QStringLiteral("1"), QStringLiteral("Alpha"));
        m_service->load();
        m_service->open(editor, QStringLiteral("1"));
    }

    /// Answers every question so and returns nothing; the log tells what was asked.
    static void answerWith(QMessageBox::StandardButton button)
    {
        StandInHost::setMessageAnswerer([button](const StandInHost::MessageRequest&) { return button; });
    }

    static StandInHost::MessageRequest onlyMessage()
    {
        const auto log = StandInHost::messageLog();
        return log.size() == 1 ? log.first() : StandInHost::MessageRequest();
    }

    static QStringList boxTexts(const QComboBox* box)
    {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i)
            texts << box->itemText(i);
        return texts;
    }

    std::unique_ptr<EditorFixture> m_service;
};

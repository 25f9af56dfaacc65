#pragma once

#include "HostOperations.h"

#include <QFileDialog>
#include <QMessageBox>

/// Where a host begins: the answers of a plain Qt program that has nothing of its own. Texts stay English,
/// boxes and choosers are Qt's, the skin has neither pictures nor colours, and there are no volumes, project
/// types, codecs and plug-ins. A host puts its own operations in the place of these, one after the other.
namespace HostDefaults {

template <class Function>
struct Nothing;

/// Answers with an empty value, whatever it is asked.
template <class Result, class... Arguments>
struct Nothing<Result (*)(Arguments...)>
{
    static Result answer(Arguments...) { return Result(); }
};

inline QMessageBox::StandardButton showMessageBox(QWidget* parent, QMessageBox::Icon icon,
                                                  const QString& title, const QString& text,
                                                  QMessageBox::StandardButtons buttons,
                                                  QMessageBox::StandardButton defaultButton)
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setDefaultButton(defaultButton);
    const auto chosen = static_cast<QMessageBox::StandardButton>(box.exec());
    return buttons.testFlag(chosen) ? chosen : defaultButton;
}

inline QString chooseDirectory(QWidget* parent, const QString& caption, const QString& start)
{
    return QFileDialog::getExistingDirectory(parent, caption, start);
}

/// All of these, but for getComponentFactory: nobody can do without a REST client.
inline HostOperations operations()
{
    constexpr int opaque = 255;
    constexpr int faint = 100;
    HostOperations host;
#define KRX_OPERATION(library, operation)                                                                    \
    host.library##_##operation = &Nothing<decltype(host.library##_##operation)>::answer;
    KRX_HOST_OPERATIONS(KRX_OPERATION)
#undef KRX_OPERATION
    host.HostCore_translateText = [](const QString& english) { return english; };
    host.HostCore_unicodeFromMultibyte = [](const char* text) { return QString::fromUtf8(text); };
    host.HostMediaEngine_channelGroupsFromText = [](const QString& text) {
        return HostMediaEngine::ChannelGroups{text, text};
    };
    host.HostQtShell_showManagedMessageBox = &showMessageBox;
    host.HostQtShell_chooseDirectory = &chooseDirectory;
    host.HostQtShell_disabledAlpha = [](bool isDisabled) { return isDisabled ? faint : opaque; };
    return host;
}

} // namespace HostDefaults

#pragma once

#include "KRXProfilesWindow.h"

#include <functional>

/// An editor whose modal run is a piece of the test, and that loads no profile.
class FakeEditor : public KRXProfilesWindow
{
public:
    explicit FakeEditor(QWidget* parent = nullptr)
        : KRXProfilesWindow(parent)
    {
    }

    int runModal() override
    {
        ++runs;
        if (whileOpen)
            whileOpen();
        return QDialog::Accepted;
    }

    void updateProfilesBox(const QList<QPair<QString, QString>>& items, const QString& currentId) override
    {
        offered = items;
        offeredId = currentId;
        if (whileLoading)
            whileLoading();
    }

    int runs = 0;
    QList<QPair<QString, QString>> offered;
    QString offeredId = QStringLiteral("not called");
    std::function<void()> whileOpen;
    std::function<void()> whileLoading;
};

#pragma once

#include "Rehearsal.h"
#include "RestRequest.h"

#include <QDialog>
#include <QThread>

#include <memory>

namespace StandInHost {
class RestWaits;
}
class QLabel;
class QTreeWidget;

/// Shows what a profile would do to a file. Nothing is done; the service is asked on a thread of its own.
class TryItDialog : public QDialog
{
    Q_OBJECT

public:
    TryItDialog(const QString& profileId, const QString& path, QWidget* parent);
    /// Cuts short what it waits for.
    ~TryItDialog() override;

    /// Asks for a file and shows the dialog for it. \param unsaved the profile on the screen is not the one
    /// that the service has.
    static void run(const QString& profileId, bool unsaved, QWidget* parent);

private:
    void present(const RestReply& reply);
    void present(const Rehearsal& run);

    QLabel* m_title;
    QTreeWidget* m_steps;
    std::shared_ptr<StandInHost::RestWaits> m_waits;
    std::unique_ptr<QThread> m_thread;
};

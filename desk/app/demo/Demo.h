#pragma once

#include "DeskOptions.h"

#include <QString>

class DeskWindow;

/// The demo: a folder with generated media, a watched folder, a project and a service of its own, so that
/// nothing of the user's is touched.
class Demo
{
public:
    /// \param folder where all of it lives.
    explicit Demo(const QString& folder);

    /// Makes the media and sets the options to the demo's own project, service data and port.
    /// \return false with a text in \a error.
    bool prepare(DeskOptions& options, QString& error);
    /// Registers and enables the watched folder, and drops the media into it, when the service is there for
    /// the first time.
    void follow(DeskWindow& window);

    /// A loopback port that nobody listens on now.
    static quint16 freePort();

private:
    void registerFolder(DeskWindow& window);

    QString m_folder;
    QString m_media;
    QString m_watched;
};

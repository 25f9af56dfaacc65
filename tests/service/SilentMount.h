#pragma once

#include <QString>

/// A mounted file system that answers nothing until it is ended: what a network volume is when its server is
/// gone. Only a privileged test can make one.
class SilentMount
{
public:
    ~SilentMount() { unmount(); }

    /// Mounts on \a directory. False when this process may not.
    bool mount(const QString& directory);
    /// Whoever waits for it gets an error from now on, and so does everybody who comes later.
    void end();
    void unmount();

private:
    int m_device = -1;
    QString m_directory;
};

#include "SilentMount.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

bool SilentMount::mount(const QString& directory)
{
    m_device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    if (m_device < 0)
        return false;
    const QByteArray options =
        "fd=" + QByteArray::number(m_device) + ",rootmode=40755,user_id=0,group_id=0,allow_other";
    if (::mount("silent", directory.toUtf8().constData(), "fuse", MS_NOSUID | MS_NODEV,
                options.constData()) != 0) {
        end();
        return false;
    }
    m_directory = directory;
    return true;
}

void SilentMount::end()
{
    if (m_device >= 0)
        ::close(m_device);
    m_device = -1;
}

void SilentMount::unmount()
{
    end();
    if (!m_directory.isEmpty())
        ::umount2(m_directory.toUtf8().constData(), MNT_DETACH);
    m_directory.clear();
}

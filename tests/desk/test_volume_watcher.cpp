#include "VolumeWatcher.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestVolumeWatcher : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    QString table(const QByteArray& lines) const
    {
        const QString path = m_dir.filePath(QStringLiteral("mounts"));
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(lines);
        return path;
    }

private slots:
    void aVolumeThatCameIsToldOnce()
    {
        VolumeWatcher watcher(table("/dev/sda1 / ext4 rw 0 0\n"));
        QSignalSpy spy(&watcher, &VolumeWatcher::changed);
        table("/dev/sda1 / ext4 rw 0 0\n/dev/sdb1 /media/Card\\0407 exfat rw 0 0\n");
        watcher.look();
        watcher.look();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0), (QList<QVariant>{QStringLiteral("/media/Card 7"), int(VolumeWatcher::LocalVolume),
                                             int(VolumeWatcher::Arrived)}));
    }

    void aVolumeThatWentIsTold()
    {
        VolumeWatcher watcher(table("server:/a /mnt/a nfs4 rw 0 0\n"));
        QSignalSpy spy(&watcher, &VolumeWatcher::changed);
        table("");
        watcher.look();
        QCOMPARE(spy.count(), 1);
        QCOMPARE(spy.at(0), (QList<QVariant>{QStringLiteral("/mnt/a"), int(VolumeWatcher::NetworkVolume),
                                             int(VolumeWatcher::Removed)}));
    }

    void fileSystemsOfTheSystemItselfAreNoVolumes()
    {
        VolumeWatcher watcher(table(""));
        QSignalSpy spy(&watcher, &VolumeWatcher::changed);
        table("proc /proc proc rw 0 0\ncgroup /sys/fs/cgroup cgroup2 rw 0 0\n\nshort line\n");
        watcher.look();
        QCOMPARE(spy.count(), 0);
    }

    void aTableThatCannotBeReadTellsNothing()
    {
        VolumeWatcher watcher(QStringLiteral("/nowhere/mounts"));
        QSignalSpy spy(&watcher, &VolumeWatcher::changed);
        watcher.look();
        QCOMPARE(spy.count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestVolumeWatcher)
#include "test_volume_watcher.moc"

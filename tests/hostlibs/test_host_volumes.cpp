#include "HostCore.h"
#include "MountedVolumes.h"
#include "RemoteProbe.h"
#include "StandInHost.h"

#include "KRXTest.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

using namespace HostCore;
using StandInHost::Mount;
using StandInHost::MountKind;
using StandInHost::RemoteProbe;

namespace {

StandInHost::Volume volume(const QString& name, const QString& path)
{
    StandInHost::Volume made;
    made.name = name;
    made.path = path;
    return made;
}

/// A mount table of a work station, with everything that must not become a volume.
constexpr char kMountTable[] =
    "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
    "23 27 0:22 / /sys rw,relatime - sysfs sysfs rw\n"
    "25 24 0:23 / /dev/shm rw shared:2 - tmpfs tmpfs rw\n"
    "27 1 8:2 / / rw,relatime shared:1 - ext4 /dev/sda2 rw\n"
    "28 27 8:1 / /boot/efi rw - vfat /dev/sda1 rw\n"
    "29 27 7:3 / /snap/core/1 ro - squashfs /dev/loop3 ro\n"
    "30 27 8:17 / /mnt/My\\040Media rw,noatime - xfs /dev/sdb1 rw\n"
    "31 27 8:18 / /mnt/archive ro,noatime - ext4 /dev/sdb2 rw\n"
    "32 27 8:33 / /media/card rw - vfat /dev/sdc1 ro\n"
    "33 27 11:0 / /media/disc ro - iso9660 /dev/sr0 ro\n"
    "34 27 0:50 / /mnt/nas rw shared:9 master:2 - nfs4 server:/export rw,vers=4.2\n"
    "35 27 0:51 / /run/user/1000/doc rw - fuse.portal portal rw\n"
    "36 27 8:17 /projects /home/me/projects rw - xfs /dev/sdb1 rw\n"
    "37 27 8:2 /data/resolv /etc/resolv.conf rw - ext4 /dev/sda2 rw\n"
    "38 27 0:60 / /mnt/remote rw - fuse.sshfs me@server:/ rw\n"
    "39 27 259:2 / /mnt/fast rw - ext4 /dev/nvme0n1p2 rw\n"
    "this is no line of a mount table\n"
    "40 27 1:1\n";

QStringList pathsOf(const QList<Mount>& mounts)
{
    QStringList paths;
    for (const Mount& mount : mounts)
        paths.append(mount.path);
    return paths;
}

/// A mount whose server is away until somebody calls open().
class Gate
{
public:
    void pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isOpen; });
    }
    void open()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

} // namespace

class TestHostVolumes : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { StandInHost::useMountedVolumes(); }

    void fixedVolumesAreListedInTheirGroupsAndOrder()
    {
        StandInHost::setVolumes({{volume(QStringLiteral("A"), QStringLiteral("/a")),
                                  volume(QStringLiteral("B"), QStringLiteral("/b"))},
                                 {volume(QStringLiteral("C"), QStringLiteral("/c"))}});
        QList<VolumeGroup> groups;
        QVERIFY(localVolumeGroups(groups));
        QCOMPARE(groups.size(), 2);
        QCOMPARE(groups.at(0).size(), 2);
        QCOMPARE(volumeName(groups.at(0).at(0), kMaxVolumeNameLength), QStringLiteral("A"));
        QCOMPARE(volumeName(groups.at(0).at(1), kMaxVolumeNameLength), QStringLiteral("B"));
        QCOMPARE(volumeName(groups.at(1).at(0), kMaxVolumeNameLength), QStringLiteral("C"));
        VolumeIdentity identity;
        VolumeInformation information;
        QVERIFY(volumeIdentity(groups.at(1).at(0), identity));
        QVERIFY(volumeInformation(identity, information));
        QCOMPARE(information.displayName, QStringLiteral("C"));
        QCOMPARE(information.path, QStringLiteral("/c"));
    }

    void aVolumeCanBeUnusableOrLockedOrWithoutInformation()
    {
        StandInHost::Volume unusable = volume(QStringLiteral("disc"), QStringLiteral("/disc"));
        unusable.usable = false;
        StandInHost::Volume locked = volume(QStringLiteral("card"), QStringLiteral("/card"));
        locked.locked = true;
        StandInHost::Volume unknown = volume(QStringLiteral("gone"), QStringLiteral("/gone"));
        unknown.hasInformation = false;
        StandInHost::setVolumes({{unusable, locked, unknown}});
        QList<VolumeGroup> groups;
        QVERIFY(localVolumeGroups(groups));
        const VolumeGroup group = groups.at(0);
        QVERIFY(!isVolumeUsable(group.at(0)));
        QVERIFY(isVolumeUsable(group.at(1)));
        QVERIFY(!isVolumeLocked(group.at(0)));
        QVERIFY(isVolumeLocked(group.at(1)));
        VolumeIdentity identity;
        VolumeInformation information;
        QVERIFY(volumeIdentity(group.at(2), identity));
        QVERIFY(!volumeInformation(identity, information));
    }

    void aNameIsCutToTheLengthAskedFor()
    {
        StandInHost::setVolumes({{volume(QString(400, QLatin1Char('x')), QStringLiteral("/x"))}});
        QList<VolumeGroup> groups;
        QVERIFY(localVolumeGroups(groups));
        QCOMPARE(volumeName(groups.at(0).at(0), kMaxVolumeNameLength), QString(260, QLatin1Char('x')));
        QCOMPARE(volumeName(groups.at(0).at(0), 0), QString());
        QCOMPARE(volumeName(groups.at(0).at(0), -1), QString());
    }

    void aHandleOfAnOlderListIsUnknown()
    {
        StandInHost::setVolumes({{volume(QStringLiteral("A"), QStringLiteral("/a"))}});
        QList<VolumeGroup> older;
        QVERIFY(localVolumeGroups(older));
        QList<VolumeGroup> newer;
        QVERIFY(localVolumeGroups(newer));
        VolumeIdentity identity;
        QVERIFY(!isVolumeUsable(older.at(0).at(0)));
        QVERIFY(!volumeIdentity(older.at(0).at(0), identity));
        QCOMPARE(volumeName(older.at(0).at(0), kMaxVolumeNameLength), QString());
        QVERIFY(isVolumeUsable(newer.at(0).at(0)));
    }

    void aHostWithoutVolumesSaysSo()
    {
        StandInHost::setNoVolumes();
        QList<VolumeGroup> groups{{1, 2}};
        QVERIFY(!localVolumeGroups(groups));
        QVERIFY(groups.isEmpty());
    }

    void listingsAreCounted()
    {
        StandInHost::setVolumes({});
        const int before = StandInHost::volumeListCount();
        QList<VolumeGroup> groups;
        localVolumeGroups(groups);
        localVolumeGroups(groups);
        QCOMPARE(StandInHost::volumeListCount(), before + 2);
    }

    void theRootOfThisMachineIsAMountedVolumeWithoutClosingSeparator()
    {
        QList<VolumeGroup> groups;
        QVERIFY(localVolumeGroups(groups));
        QStringList paths;
        for (const VolumeGroup& group : groups) {
            for (const VolumeHandle handle : group) {
                VolumeIdentity identity;
                VolumeInformation information;
                QVERIFY(volumeIdentity(handle, identity));
                QVERIFY(volumeInformation(identity, information));
                QVERIFY(!information.displayName.isEmpty());
                QVERIFY(information.path == QLatin1String("/") ||
                        !information.path.endsWith(QLatin1Char('/')));
                paths.append(information.path);
            }
        }
        QVERIFY(paths.contains(QStringLiteral("/")));
        QVERIFY(!paths.contains(QStringLiteral("/proc")));
        QCOMPARE(paths.removeDuplicates(), 0);
    }

    void aMountTableIsReadWithItsEscapesAndBrokenLinesAreLeftOut()
    {
        const QList<Mount> mounts = StandInHost::parseMountInfo(kMountTable);
        QCOMPARE(mounts.size(), 16);
        const Mount media = mounts.at(6);
        QCOMPARE(media.path, QStringLiteral("/mnt/My Media"));
        QCOMPARE(media.device, QStringLiteral("8:17"));
        QCOMPARE(media.type, QStringLiteral("xfs"));
        QCOMPARE(media.source, QStringLiteral("/dev/sdb1"));
        QVERIFY(!media.readOnly);
        QVERIFY(mounts.at(7).readOnly);
        QVERIFY2(mounts.at(8).readOnly, "a file system can be read-only below a mount that is not");
        QCOMPARE(mounts.at(10).source, QStringLiteral("server:/export"));
        QVERIFY(StandInHost::parseMountInfo(QByteArray()).isEmpty());
    }

    void onlyWhatMediaCanLieOnIsKeptAndEveryFileSystemOnce()
    {
        const QStringList expected{
            QStringLiteral("/"),           QStringLiteral("/mnt/My Media"), QStringLiteral("/mnt/archive"),
            QStringLiteral("/media/card"), QStringLiteral("/media/disc"),   QStringLiteral("/mnt/nas"),
            QStringLiteral("/mnt/remote"), QStringLiteral("/mnt/fast")};
        QCOMPARE(pathsOf(StandInHost::mediaMounts(StandInHost::parseMountInfo(kMountTable))), expected);
    }

    void theWholeOfAFileSystemIsKeptNotTheBindMountBeforeIt()
    {
        const QByteArray table("1 2 8:17 /projects /home/me/projects rw - xfs /dev/sdb1 rw\n"
                               "3 2 8:17 / /mnt/media rw - xfs /dev/sdb1 rw\n");
        QCOMPARE(pathsOf(StandInHost::mediaMounts(StandInHost::parseMountInfo(table))),
                 QStringList{QStringLiteral("/mnt/media")});
    }

    void aFileSystemOfAServerOrAProgramCountsAsRemote()
    {
        Mount mount;
        mount.path = QStringLiteral("/mnt/x");
        for (const char* type : {"nfs", "nfs4", "cifs", "smb3", "fuse.sshfs", "fuseblk", "9p"}) {
            mount.type = QLatin1String(type);
            QVERIFY2(StandInHost::mountKind(mount) == MountKind::Remote, type);
        }
        mount.type = QStringLiteral("tmpfs");
        QVERIFY(StandInHost::mountKind(mount) == MountKind::Pseudo);
        mount.type = QStringLiteral("ext4");
        mount.source = QStringLiteral("/dev/sdb1");
        QVERIFY(StandInHost::mountKind(mount) == MountKind::Local);
    }

    void mountsThatAnswerAreThereAndOthersAreNot()
    {
        RemoteProbe probe([](const QString& path) { return path == QLatin1String("/there"); },
                          std::chrono::minutes(1));
        QCOMPARE(probe.answering({QStringLiteral("/there"), QStringLiteral("/gone")}),
                 QSet<QString>{QStringLiteral("/there")});
        QVERIFY(probe.answering({}).isEmpty());
    }

    void aDeadMountIsNotWaitedForAndAskedOnlyOnceUntilItAnswers()
    {
        const auto gate = std::make_shared<Gate>();
        const auto asked = std::make_shared<std::atomic<int>>(0);
        const QString dead = QStringLiteral("/dead");
        RemoteProbe probe(
            [gate, asked, dead](const QString& path) {
                if (path == dead) {
                    ++*asked;
                    gate->pass();
                }
                return true;
            },
            std::chrono::milliseconds(20));
        // These return although the mount never answers: that is what is tested.
        QVERIFY(!probe.answering({dead}).contains(dead));
        QVERIFY(!probe.answering({dead, dead}).contains(dead));
        QTRY_COMPARE(asked->load(), 1);
        gate->open();
        QTRY_VERIFY(probe.answering({dead}).contains(dead));
    }

    void aProbeMayGoWhileAMountStillHangs()
    {
        const auto gate = std::make_shared<Gate>();
        const auto answered = std::make_shared<std::atomic<bool>>(false);
        {
            RemoteProbe probe(
                [gate, answered](const QString&) {
                    gate->pass();
                    *answered = true;
                    return true;
                },
                std::chrono::milliseconds(1));
            QVERIFY(probe.answering({QStringLiteral("/dead")}).isEmpty());
        }
        gate->open();
        QTRY_VERIFY(answered->load());
    }
};

QTEST_GUILESS_MAIN(TestHostVolumes)
#include "test_host_volumes.moc"

#pragma once

#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>

class QSocketNotifier;

/// Notices file systems that are mounted or unmounted.
class VolumeWatcher : public QObject
{
    Q_OBJECT

public:
    /// What a notice says of a volume. The service looks at its folders on either.
    enum Type { LocalVolume = 0, NetworkVolume = 1 };
    enum Action { Arrived = 1, Removed = 2 };

    /// \param table the system's table of mounts.
    explicit VolumeWatcher(const QString& table, QObject* parent = nullptr);
    explicit VolumeWatcher(QObject* parent = nullptr);
    ~VolumeWatcher() override;

    /// Compares the mounted file systems with those seen last and tells the differences. Called by itself
    /// when the system's table of mounts changes.
    void look();

signals:
    /// \param mountPoint where the volume is or was mounted.
    void changed(const QString& mountPoint, int type, int action);

private:
    QHash<QString, int> mounted() const;

    QString m_path;
    QHash<QString, int> m_known;
    QSocketNotifier* m_notifier = nullptr;
    int m_table = -1;
};

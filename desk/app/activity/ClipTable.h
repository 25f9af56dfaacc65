#pragma once

#include "ClockReading.h"
#include "DeskApi.h"
#include "ServiceClip.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QVector>

/// All clips of which the service tells, a row each, in the order in which they were first heard of. Names of
/// folders and profiles are looked up as they are known.
class KRX_DESK_API ClipTable : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { Clip, Folder, Profile, Action, Progress, State, Reason, Started, Took, Columns };
    enum Role {
        SortRole = Qt::UserRole, ///< of the column
        IdRole,
        PercentRole, ///< 0 to 100; negative without a bar
        StateRole,
        JobRole, ///< id of the job to be cancelled or submitted again; empty without one
        PathRole,
        ReasonRole
    };

    explicit ClipTable(QObject* parent = nullptr);

    void apply(const ClipNews& news);
    /// Where the time of day comes from that moments are shown by; that of this machine unless told.
    void setClocks(const Clocks& clocks) { m_clocks = clocks; }
    /// The names of folders and profiles by their ids.
    void setNames(const QHash<QString, QString>& folders, const QHash<QString, QString>& profiles);
    const QVector<ServiceClip>& clips() const { return m_clips; }
    /// Where the clip belongs, for people.
    QString ownerName(const ServiceClip& clip) const;
    /// The clip whose path stands in \a text, which may be a sentence around it; the longest path counts, and
    /// of several the first. \return null without one. Valid until the table changes.
    const ServiceClip* clipIn(const QString& text) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

signals:
    /// All that apply() changed was told of.
    void applied();

private:
    QString text(const ServiceClip& clip, int column) const;
    QVariant sortValue(const ServiceClip& clip, int column) const;
    void replaceAll(const QVector<ServiceClip>& clips);
    void append(const ServiceClip& clip);
    void tellChanged(QVector<int> rows);

    Clocks m_clocks = &ClockReading::now;
    QVector<ServiceClip> m_clips;
    QHash<QString, int> m_rows;   ///< by id
    QHash<QString, int> m_byPath; ///< rows as well
    QHash<QString, QString> m_folders;
    QHash<QString, QString> m_profiles;
};

/// What a person searches for in it, without what was cleared away.
class ClipFilter : public QSortFilterProxyModel
{
    Q_OBJECT

public:
    enum Kind { All, Working, NotReady, Failed, Finished };

    /// \param clips must outlive the filter.
    explicit ClipFilter(ClipTable& clips, QObject* parent = nullptr);
    /// Only clips of this kind.
    void setKind(Kind kind);
    /// Only rows of which a text holds \a text, whatever its case.
    void setText(const QString& text);
    /// Takes out what is over and cannot be waited for or mended, until something new is told of it. What
    /// failed stays: it can be tried again.
    void clearFinished();
    /// How many rows there are whatever is searched for.
    int countUncleared() const;

protected:
    bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

private:
    bool isCleared(const ServiceClip& clip) const;

    ClipTable& m_clips;
    Kind m_kind = All;
    QString m_text;
    /// What was taken out, by what stays when the service is started again, and as what.
    mutable QHash<QString, ClipState> m_cleared;
};

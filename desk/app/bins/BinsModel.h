#pragma once

#include <QAbstractItemModel>

class DeskProject;

/// The bins of a project and their clips, as a tree of two levels.
class BinsModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column {
        NameColumn,
        KindColumn,
        DurationColumn,
        StartColumn,
        ReelColumn,
        CheckedColumn,
        SourceColumn,
        ColumnCount
    };

    explicit BinsModel(DeskProject& project, QObject* parent = nullptr);

    /// Position of the bin that an index is or lies in; -1 for none.
    static int binOf(const QModelIndex& index);
    static bool isClip(const QModelIndex& index);

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

    /// A length in seconds as people read it: "4.00 s", "2:05", "1:02:05"; empty when negative.
    static QString durationText(double seconds);

private:
    QVariant binData(int bin, int column, int role) const;
    QVariant clipData(int bin, int clip, int column, int role) const;

    DeskProject& m_project;
};

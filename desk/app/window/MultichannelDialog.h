#pragma once

#include <QDialog>
#include <QVector>

class QComboBox;
class QLabel;
class QTableWidget;

/// Groups audio tracks into multichannel tracks. Each row is one track and says what begins there: a mono
/// track or a group that takes the following tracks as well.
class MultichannelDialog : public QDialog
{
    Q_OBJECT

public:
    /// \param grouping the stored text of a grouping; one that cannot be read counts as none.
    MultichannelDialog(const QString& grouping, QWidget* parent);

    /// The stored text of what is shown; "None" when nothing is grouped.
    QString groupingText() const;

private:
    void fillRows(const QString& grouping);
    QComboBox* layoutBox(int track) const;
    /// Shuts off the rows that a group above takes, and shows the outcome.
    void refresh();

    QTableWidget* m_table;
    QLabel* m_outcome;
};

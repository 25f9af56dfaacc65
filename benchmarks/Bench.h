#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

/// The frame of krx-bench: how a piece of work is measured and how the table is printed.
namespace KRXBench {

/// One line of the table. Times are medians, in milliseconds.
struct Row
{
    QString work;
    qint64 n = 0;
    double ours = 0;
    /// 0 where there is nothing to compare with.
    double floor = 0;
    /// How much our time grew from the row of the same work with the next smaller N; 0 for the first.
    double growth = 0;
    /// What the row must hold, in words; empty when it only informs.
    QString must;
    bool met = true;
    /// What ours and floor count when it is not milliseconds, for example "KB".
    QString unit = QStringLiteral("ms");
};

/// Median time of \a runs calls of \a work after one call that does not count, in milliseconds.
double medianMs(int runs, const std::function<void()>& work);
/// Median times of two pieces of work that are run in turns, so that both meet the same machine.
struct Pair
{
    double ours = 0;
    double floor = 0;
};
Pair medianPairMs(int runs, const std::function<void()>& ours, const std::function<void()>& floor);

/// Collects rows; fills in the growth from the last row of the same work.
class Table
{
public:
    /// \return the row as it stands in the table, to complete its must and met.
    Row& add(const QString& work, qint64 n, double ours, double floor,
             const QString& unit = QStringLiteral("ms"));
    const QList<Row>& rows() const { return m_rows; }
    /// Growth of the floor between the last two rows of that work.
    double floorGrowth(const QString& work) const;
    /// The table as a person reads it.
    QString text() const;
    /// The rows as objects with work, n, ours_ms, floor_ms, ratio, growth, must, met.
    QByteArray json() const;
    bool allMet() const;

private:
    QList<Row> m_rows;
};

/// Runs both sides in turns, after one pair that does not count when \a warmsUp, and judges by the median of
/// their ratios, which must be \a most at the most. Each side returns its own time in milliseconds.
void addPairs(Table& table, const QString& work, qint64 n, int pairs, double most, bool warmsUp,
              const std::function<double()>& ours, const std::function<double()>& floor);

/// The time that \a work takes, in milliseconds.
double timedMs(const std::function<void()>& work);

/// Ends the program with a text when \a held is false.
void require(bool held, const QString& what);

/// Runs \a command in a shell; it must end well.
void shell(const QString& command);

/// Sound that no two files have in common, \a size bytes of it, as a WAV file.
void writeWave(const QString& path, quint32 size);

/// Resident memory of this process, in bytes.
qint64 residentBytes();

/// A plain client for floors: one kept-alive libcurl handle.
class PlainHttp
{
public:
    PlainHttp();
    ~PlainHttp();
    PlainHttp(const PlainHttp&) = delete;
    PlainHttp& operator=(const PlainHttp&) = delete;
    /// The body of a GET; aborts the program when the request fails, because the measure would mean nothing.
    QByteArray get(quint16 port, const QByteArray& target);
    /// The same of a POST of XML.
    QByteArray post(quint16 port, const QByteArray& target, const QByteArray& body);

private:
    void* m_handle;
};

/// A document of \a count folders with two outputs each, as the service lists them in detail.
QByteArray folderListDocument(int count);
/// The folders of such a document, one document each.
QByteArray folderDocument(int index);
/// A profile of three actions; \a index makes its name and identifier.
QByteArray profileElement(int index);
QByteArray profileListDocument(int count);

// Each area adds its rows.
void measureServiceAccess(Table& table);
void measureFolderView(Table& table);
void measureSections(Table& table);
void measureActions(Table& table);
void measureWindows(Table& table);
void measureService(Table& table);
void measureDoor(Table& table);
void measureCopies(Table& table);
void measureDesk(Table& table);
void measureMedia(Table& table);
void measureConsolidation(Table& table);
void measureDrops(Table& table);
void measureManyFolders(Table& table);

} // namespace KRXBench

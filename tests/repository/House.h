#pragma once

#include <QDir>
#include <QHash>
#include <QList>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>

/// The plan of the tree, as docs/architecture.md draws it, and what the files really know of one another: by
/// their includes, by classes that they only declare, and by what their targets link to and are made of.
///
/// The plan is read from the page itself, so that the two cannot part. Its table of buildings has lines like
///
///     | `desk/hostlibs` | `host` `catalogue` | `rest`, `media` < `window` |
///
/// which name a folder, the buildings that it may know, and its rooms from the ground floor up. Floors are
/// divided by "<"; rooms on one floor know nothing of each other. A room that is listed as `room/part` stands
/// apart from the rest of `room`. Arrows that point up all the same are listed anywhere as `A.cpp` → `B.h`.
class House
{
public:
    /// \param root the folder that the tree stands in.
    explicit House(const QString& root);

    /// What is not as the plan says, one sentence each, sorted; empty when all is.
    QStringList faults() const;

    /// The rooms of the plan, each with its building before it; a building without rooms stands for itself.
    QStringList rooms() const;

    /// How much was looked at, so that a test can tell a house in order from an empty one.
    int includeCount() const { return m_includeCount; }
    int linkCount() const { return m_linkCount; }

private:
    struct Building
    {
        QString folder;
        QStringList known;
        QList<QStringList> floors;
    };

    /// Where a file stands.
    struct Place
    {
        int building = -1;
        /// Empty for what stands beside the rooms: headers are the ground under them, all else stands on top.
        QString room;
        bool isHeader = false;
    };

    void readPlan();
    void walk(int building);
    void readSource(const QString& path, const Place& place);
    void readOutside();
    void readTargets(const QString& path, const Place* place);
    void readLinks(const QString& target, const QStringList& items, const Place& place);
    void readSourceList(const QString& target, const QStringList& sources, const QDir& folder,
                        const Place& place);
    void judgeTargets(const QString& from, const QString& expression, const Place& place, bool& isOurs);
    void addTargets(const QString& text, const Place& place);
    void judge(const QString& from, const Place& fromPlace, const QString& to, const Place& toPlace);
    Place placeOf(int building, const QString& path) const;
    int floorOf(const Place& place) const;
    void fault(const QString& text) { m_faults.insert(text); }

    QString m_root;
    QList<Building> m_buildings;
    QSet<QString> m_listedArrows;
    QSet<QString> m_usedArrows;
    QHash<QString, Place> m_headers;
    QHash<QString, Place> m_targets;
    QSet<QString> m_faults;
    int m_includeCount = 0;
    int m_linkCount = 0;
};

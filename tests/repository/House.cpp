#include "House.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr char kPlan[] = "docs/architecture.md";

/// Targets that every building may link to: they carry the dialect, no code.
const QStringList& dialectTargets()
{
    static const QStringList targets{QStringLiteral("krx_strict_qt"), QStringLiteral("krx_pch")};
    return targets;
}

/// What of Qt a building may link to; an empty list is all of it.
QStringList qtOf(const QString& building)
{
    if (building == QLatin1String("catalogue") || building == QLatin1String("service"))
        return {QStringLiteral("${KRX_QT}::Core")};
    return {};
}

QString contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList backQuoted(const QString& text)
{
    static const QRegularExpression quoted(QStringLiteral("`([^`]+)`"));
    QStringList found;
    auto matches = quoted.globalMatch(text);
    while (matches.hasNext())
        found.append(matches.next().captured(1));
    return found;
}

/// The commands of that name in a CMakeLists.txt, each as its arguments.
QList<QStringList> commands(const QString& text, const QString& name)
{
    static const QRegularExpression comment(QStringLiteral("#[^\n]*"));
    static const QRegularExpression blanks(QStringLiteral("[\\s\"]+"));
    // Hardly any argument has parentheses of its own, so they are left out of the form.
    const QRegularExpression command(QStringLiteral("\\b%1\\s*\\(([^)]*)\\)").arg(name));
    QString bare = text;
    bare.remove(comment);
    QList<QStringList> found;
    auto matches = command.globalMatch(bare);
    while (matches.hasNext())
        found.append(matches.next().captured(1).split(blanks, Qt::SkipEmptyParts));
    return found;
}

/// The targets that a link names: itself, or what stands in a generator expression.
QStringList targetsIn(const QString& link)
{
    if (!link.startsWith(QLatin1String("$<")))
        return {link};
    static const QRegularExpression name(QStringLiteral("[\\w.+-]+(?:::[\\w.+-]+)*"));
    QStringList found;
    auto names = name.globalMatch(link);
    while (names.hasNext())
        found.append(names.next().captured());
    return found;
}

} // namespace

House::House(const QString& root)
    : m_root(root)
{
    readPlan();
    for (int building = 0; building < m_buildings.size(); ++building)
        walk(building);
    for (int building = 0; building < m_buildings.size(); ++building) {
        QDirIterator files(QDir(m_root).filePath(m_buildings.at(building).folder), QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString path = files.next();
            const Place place = placeOf(building, path);
            if (path.endsWith(QLatin1String(".h")) || path.endsWith(QLatin1String(".cpp"))) {
                readSource(path, place);
            } else if (path.endsWith(QLatin1String("CMakeLists.txt"))) {
                readTargets(path, &place);
            }
        }
    }
    readOutside();
    const QSet<QString> unused = m_listedArrows - m_usedArrows;
    for (const QString& arrow : unused)
        fault(QStringLiteral("%1 lists %2, which is not there").arg(QLatin1String(kPlan), arrow));
}

QStringList House::faults() const
{
    QStringList faults(m_faults.cbegin(), m_faults.cend());
    faults.sort();
    return faults;
}

QStringList House::rooms() const
{
    QStringList rooms;
    for (const Building& building : m_buildings) {
        for (const QStringList& floor : building.floors) {
            for (const QString& room : floor)
                rooms.append(building.folder + QLatin1Char('/') + room);
        }
        if (rooms.isEmpty() || !rooms.last().startsWith(building.folder + QLatin1Char('/')))
            rooms.append(building.folder);
    }
    return rooms;
}

void House::readPlan()
{
    constexpr int columns = 3;
    const QString page = contents(QDir(m_root).filePath(QLatin1String(kPlan)));
    const QStringList lines = page.split(QLatin1Char('\n'));
    bool isTable = false;
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1String("| building |"))) {
            isTable = true;
        } else if (!line.startsWith(QLatin1Char('|'))) {
            isTable = false;
        } else if (isTable && line.startsWith(QLatin1String("| `"))) {
            const QStringList cells = line.split(QLatin1Char('|')).mid(1, columns);
            Building building;
            building.folder = backQuoted(cells.value(0)).value(0);
            building.known = backQuoted(cells.value(1));
            const QStringList floors = cells.value(2).split(QLatin1Char('<'));
            for (const QString& floor : floors)
                building.floors.append(backQuoted(floor));
            m_buildings.append(building);
        }
    }
    if (m_buildings.isEmpty())
        fault(QStringLiteral("%1 has no table of buildings").arg(QLatin1String(kPlan)));

    static const QRegularExpression arrow(QStringLiteral("`\\w+\\.cpp` → `\\w+\\.h`"));
    auto arrows = arrow.globalMatch(page);
    while (arrows.hasNext())
        m_listedArrows.insert(arrows.next().captured());
}

/// Learns what headers and targets a building has.
void House::walk(int building)
{
    const QDir folder(QDir(m_root).filePath(m_buildings.at(building).folder));
    if (!folder.exists())
        fault(QStringLiteral("%1 is planned and not there").arg(m_buildings.at(building).folder));
    QDirIterator files(folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QFileInfo file(files.next());
        const Place place = placeOf(building, file.filePath());
        if (file.suffix() == QLatin1String("h")) {
            if (m_headers.contains(file.fileName()))
                fault(QStringLiteral("two headers are called %1").arg(file.fileName()));
            m_headers.insert(file.fileName(), place);
        } else if (file.fileName() == QLatin1String("CMakeLists.txt")) {
            addTargets(contents(file.filePath()), place);
        }
        const bool isCode = file.suffix() == QLatin1String("h") || file.suffix() == QLatin1String("cpp");
        if (isCode && !place.room.isEmpty() && floorOf(place) < 0) {
            fault(QStringLiteral("the room %1/%2 has no floor")
                      .arg(m_buildings.at(building).folder, place.room));
        }
    }
}

void House::addTargets(const QString& text, const Place& place)
{
    for (const char* command : {"add_library", "add_executable"}) {
        const QList<QStringList> found = commands(text, QLatin1String(command));
        for (const QStringList& arguments : found)
            m_targets.insert(arguments.value(0), place);
    }
}

/// Everything that a source or header names of another one.
void House::readSource(const QString& path, const Place& place)
{
    static const QRegularExpression include(QStringLiteral("^#include \"(?:[^\"]*/)?([^\"/]+)\""),
                                            QRegularExpression::MultilineOption);
    static const QRegularExpression declaration(QStringLiteral("^(?:class|struct) (\\w+);"),
                                                QRegularExpression::MultilineOption);
    const QString name = QFileInfo(path).fileName();
    const QString text = contents(path);
    auto includes = include.globalMatch(text);
    while (includes.hasNext()) {
        const QString header = includes.next().captured(1);
        const auto found = m_headers.constFind(header);
        if (found == m_headers.cend())
            continue;
        ++m_includeCount;
        judge(name, place, header, *found);
    }
    // The module's way back up is to declare a class in the header and to include it in the source.
    if (m_buildings.at(place.building).folder == QLatin1String("src"))
        return;
    auto declarations = declaration.globalMatch(text);
    while (declarations.hasNext()) {
        const QString header = declarations.next().captured(1) + QLatin1String(".h");
        const auto found = m_headers.constFind(header);
        if (found != m_headers.cend())
            judge(name, place, header, *found);
    }
}

/// Targets of a building can be given more from any file of the build.
void House::readOutside()
{
    QStringList files{QDir(m_root).filePath(QStringLiteral("CMakeLists.txt"))};
    const QStringList folders = QDir(m_root).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& folder : folders) {
        if (folder == QLatin1String("build"))
            continue;
        QDirIterator found(QDir(m_root).filePath(folder),
                           {QStringLiteral("CMakeLists.txt"), QStringLiteral("*.cmake")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (found.hasNext())
            files.append(found.next());
    }
    for (const QString& file : qAsConst(files)) {
        const QString path = QDir(m_root).relativeFilePath(file);
        const bool isInside =
            std::any_of(m_buildings.cbegin(), m_buildings.cend(), [&path](const Building& building) {
                return path.startsWith(building.folder + QLatin1Char('/'));
            });
        if (!isInside)
            readTargets(file, nullptr);
    }
}

/// \param place where the file stands, which is where its targets do; null outside all buildings.
void House::readTargets(const QString& path, const Place* place)
{
    const QString text = contents(path);
    static const QString link = QStringLiteral("target_link_libraries");
    for (const QString& command : {link, QStringLiteral("add_library"), QStringLiteral("add_executable"),
                                   QStringLiteral("target_sources")}) {
        const QList<QStringList> found = commands(text, command);
        for (const QStringList& arguments : found) {
            const QString target = arguments.value(0);
            const auto known = m_targets.constFind(target);
            if (!place && known == m_targets.cend())
                continue;
            const Place& from = place ? *place : *known;
            if (command == link)
                readLinks(target, arguments.mid(1), from);
            else
                readSourceList(target, arguments.mid(1), QFileInfo(path).dir(), from);
        }
    }
}

/// Judges what stands for a target of a building, or for several; then \a isOurs is set.
void House::judgeTargets(const QString& from, const QString& expression, const Place& place, bool& isOurs)
{
    for (const QString& name : targetsIn(expression)) {
        const auto found = m_targets.constFind(name);
        if (found == m_targets.cend())
            continue;
        isOurs = true;
        judge(from, place, name, *found);
    }
}

void House::readLinks(const QString& target, const QStringList& items, const Place& place)
{
    static const QStringList keywords{QStringLiteral("PUBLIC"), QStringLiteral("PRIVATE"),
                                      QStringLiteral("INTERFACE")};
    const QString& building = m_buildings.at(place.building).folder;
    const QStringList qt = qtOf(building);
    // An alias is looked up by what it stands for, which stands in its own building.
    for (const QString& item : items) {
        if (keywords.contains(item) || dialectTargets().contains(item))
            continue;
        ++m_linkCount;
        bool isOurs = false;
        judgeTargets(target, item, place, isOurs);
        if (isOurs)
            continue;
        if (item.startsWith(QLatin1String("KRX::")) || item.startsWith(QLatin1String("krx")))
            fault(QStringLiteral("%1 links to %2, which no building makes").arg(target, item));
        else if (item.startsWith(QLatin1String("${KRX_QT}::")) && !qt.isEmpty() && !qt.contains(item))
            fault(QStringLiteral("%1 links to %2, and %3 is built on Qt Core only")
                      .arg(target, item, building));
    }
}

/// What a building compiles stands in it, and objects of others are known as they are when linked to.
void House::readSourceList(const QString& target, const QStringList& sources, const QDir& folder,
                           const Place& place)
{
    const QString& building = m_buildings.at(place.building).folder;
    const QString home = QDir(QDir(m_root).absoluteFilePath(building)).absolutePath() + QLatin1Char('/');
    for (const QString& source : sources) {
        bool isTarget = false;
        if (source.startsWith(QLatin1String("$<TARGET_OBJECTS:")))
            judgeTargets(target, source, place, isTarget);
        QString file = source;
        for (const char* variable : {"${PROJECT_SOURCE_DIR}", "${CMAKE_SOURCE_DIR}"})
            file.replace(QLatin1String(variable), QDir(m_root).absolutePath());
        for (const char* variable : {"${CMAKE_CURRENT_SOURCE_DIR}", "${CMAKE_CURRENT_LIST_DIR}"})
            file.replace(QLatin1String(variable), folder.absolutePath());
        // What is generated stands in no building.
        if (isTarget || file.startsWith(QLatin1Char('$')) || QFileInfo(file).suffix().isEmpty())
            continue;
        if (!QDir::cleanPath(folder.absoluteFilePath(file)).startsWith(home))
            fault(QStringLiteral("%1 is made of %2, which is not in %3").arg(target, source, building));
    }
}

/// One file or target knows another one.
void House::judge(const QString& from, const Place& fromPlace, const QString& to, const Place& toPlace)
{
    const Building& fromBuilding = m_buildings.at(fromPlace.building);
    bool isDown = false;
    if (fromPlace.building != toPlace.building)
        isDown = fromBuilding.known.contains(m_buildings.at(toPlace.building).folder);
    else if (fromPlace.room == toPlace.room)
        isDown = true;
    else
        isDown = floorOf(fromPlace) > floorOf(toPlace);
    if (isDown)
        return;

    const QString arrow = QStringLiteral("`%1` → `%2`").arg(from, to);
    if (m_listedArrows.contains(arrow) && !fromPlace.isHeader) {
        m_usedArrows.insert(arrow);
        return;
    }
    const auto nameOf = [this](const Place& place) {
        const QString& folder = m_buildings.at(place.building).folder;
        return place.room.isEmpty() ? folder : QString(folder + QLatin1Char('/') + place.room);
    };
    fault(QStringLiteral("%1 of %2 may not know %3 of %4").arg(from, nameOf(fromPlace), to, nameOf(toPlace)));
}

House::Place House::placeOf(int building, const QString& path) const
{
    const Building& plan = m_buildings.at(building);
    const QFileInfo file(path);
    Place place;
    place.building = building;
    place.isHeader = file.suffix() == QLatin1String("h");
    const QString folder =
        QDir(QDir(m_root).filePath(plan.folder)).relativeFilePath(file.absoluteDir().path());
    if (folder == QLatin1String("."))
        return place;
    // The deepest room that the plan has, else the first folder.
    place.room = folder;
    while (floorOf(place) < 0 && place.room.contains(QLatin1Char('/')))
        place.room = place.room.section(QLatin1Char('/'), 0, -2);
    return place;
}

/// \return -1 for the ground under the rooms, and for a room that the plan lacks.
int House::floorOf(const Place& place) const
{
    const QList<QStringList>& floors = m_buildings.at(place.building).floors;
    if (place.room.isEmpty())
        return place.isHeader ? -1 : floors.size();
    for (int floor = 0; floor < floors.size(); ++floor) {
        if (floors.at(floor).contains(place.room))
            return floor;
    }
    return -1;
}

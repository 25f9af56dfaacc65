#include "House.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

namespace {

constexpr int kLongestSource = 600;
constexpr int kLongestTest = 700;

QString root()
{
    return QStringLiteral(KRX_SOURCE_DIR);
}

int lineCount(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll().count('\n') : -1;
}

/// A small house that is as its plan says; tests break it in one place.
const QHash<QString, QByteArray>& soundHouse()
{
    static const QHash<QString, QByteArray> files{
        {QStringLiteral("docs/architecture.md"),
         "| building | may know | rooms |\n"
         "|---|---|---|\n"
         "| `host` | | |\n"
         "| `catalogue` | | |\n"
         "| `src` | `host` | `low` < `high` < `high/top` |\n"
         "| `service` | `catalogue` | `left/inner` < `base` < `left`, `right` < `app` |\n"
         "\n"
         "`Low.cpp` → `High.h` is the one arrow back.\n"},
        {QStringLiteral("host/CMakeLists.txt"),
         "add_library(krx_host INTERFACE)\nadd_library(KRX::Host ALIAS krx_host)\n"},
        {QStringLiteral("host/Host.h"), "#pragma once\n"},
        {QStringLiteral("catalogue/CMakeLists.txt"),
         "add_library(krx_catalogue STATIC)\nadd_library(KRX::Catalogue ALIAS krx_catalogue)\n"
         "target_link_libraries(krx_catalogue PUBLIC ${KRX_QT}::Core)\n"},
        {QStringLiteral("catalogue/Catalogue.h"), "#pragma once\n"},
        {QStringLiteral("src/CMakeLists.txt"),
         "add_library(krx_module SHARED)\n"
         "target_link_libraries(krx_module PUBLIC KRX::Host ${KRX_QT}::Widgets)\n"},
        {QStringLiteral("src/Export.h"), "#pragma once\n"},
        {QStringLiteral("src/low/Low.h"), "#pragma once\n#include \"Export.h\"\nclass High;\n"},
        {QStringLiteral("src/low/Low.cpp"), "#include \"Low.h\"\n#include \"High.h\"\n"},
        {QStringLiteral("src/high/High.h"), "#pragma once\n#include \"Host.h\"\n"},
        {QStringLiteral("src/high/inner/Inner.cpp"), "#include \"High.h\"\n#include \"Low.h\"\n"},
        {QStringLiteral("src/high/top/Top.h"), "#pragma once\n#include \"High.h\"\n"},
        {QStringLiteral("service/CMakeLists.txt"),
         "add_library(krx_core STATIC)\n"
         "target_link_libraries(krx_core PUBLIC KRX::Catalogue ${KRX_QT}::Core Some::Library)\n"
         "add_executable(krx-service main.cpp)\n"
         "target_link_libraries(krx-service PRIVATE krx_core)\n"},
        {QStringLiteral("service/main.cpp"), "#include \"App.h\"\n"},
        {QStringLiteral("service/base/Base.h"), "#pragma once\n"},
        {QStringLiteral("service/left/Left.h"), "#pragma once\n#include \"Base.h\"\n"},
        {QStringLiteral("service/right/Right.h"), "#pragma once\n#include \"Catalogue.h\"\n"},
        {QStringLiteral("service/app/App.h"), "#pragma once\n#include \"left/Left.h\"\nclass Right;\n"},
    };
    return files;
}

void build(const QString& folder, const QHash<QString, QByteArray>& files)
{
    for (auto file = files.cbegin(); file != files.cend(); ++file) {
        const QString path = QDir(folder).filePath(file.key());
        QFile out(path);
        if (!QFileInfo(path).dir().mkpath(QStringLiteral(".")) || !out.open(QIODevice::WriteOnly) ||
            out.write(*file) != file->size())
            qFatal("a house to test with cannot be built");
    }
}

} // namespace

/// Who may know whom: the house rules that the compiler does not see.
class TestLayers : public QObject
{
    Q_OBJECT

private slots:
    void theTreeIsAsItsPlanSays()
    {
        const House house(root());
        QVERIFY2(house.faults().isEmpty(),
                 qUtf8Printable(QLatin1Char('\n') + house.faults().join(QLatin1Char('\n'))));
        QVERIFY(house.includeCount() > 500);
        QVERIFY(house.linkCount() > 20);
    }

    void aSoundHouseHasNoFaults()
    {
        QTemporaryDir folder;
        build(folder.path(), soundHouse());
        const House house(folder.path());
        QCOMPARE(house.faults(), QStringList());
        QCOMPARE(house.includeCount(), 11);
        QCOMPARE(house.linkCount(), 7);
        QCOMPARE(house.rooms(),
                 QString::fromLatin1("host catalogue src/low src/high src/high/top service/left/inner "
                                     "service/base service/left service/right service/app")
                     .split(QLatin1Char(' ')));
    }

    void aBreakIsFound_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("more");
        QTest::addColumn<QString>("fault");
        const auto row = [](const char* name, const char* file, const char* more, const char* fault) {
            QTest::newRow(name) << QString::fromUtf8(file) << QByteArray(more) << QString::fromUtf8(fault);
        };
        row("source up", "src/low/Other.cpp", "#include \"High.h\"\n",
            "Other.cpp of src/low may not know High.h of src/high");
        row("room of a room up", "src/high/inner/Inner.cpp", "#include \"Top.h\"\n",
            "Inner.cpp of src/high may not know Top.h of src/high/top");
        row("header up, though listed", "src/low/Low.h", "#include \"High.h\"\n`Low.h` → `High.h`",
            "Low.h of src/low may not know High.h of src/high");
        row("ground up", "src/Export.h", "#include \"Low.h\"\n",
            "Export.h of src may not know Low.h of src/low");
        row("to the next room", "service/left/Left.cpp", "#include \"Right.h\"\n",
            "Left.cpp of service/left may not know Right.h of service/right");
        row("declared only", "service/base/Base.h", "class Left;\n",
            "Base.h of service/base may not know Left.h of service/left");
        row("with a path", "service/left/Left.cpp", "#include \"app/App.h\"\n",
            "Left.cpp of service/left may not know App.h of service/app");
        row("from building to building", "service/app/App.cpp", "#include \"Host.h\"\n",
            "App.cpp of service/app may not know Host.h of host");
        row("host knows the module", "host/Host.h", "#include \"Low.h\"\n",
            "Host.h of host may not know Low.h of src/low");
        row("link up", "service/CMakeLists.txt", "target_link_libraries(krx_core PUBLIC krx_module)\n",
            "krx_core of service may not know krx_module of src");
        row("link by alias", "catalogue/CMakeLists.txt",
            "target_link_libraries(krx_catalogue\n    PUBLIC # why\n    KRX::Host)\n",
            "krx_catalogue of catalogue may not know KRX::Host of host");
        row("link in a generator expression", "catalogue/CMakeLists.txt",
            "target_link_libraries(krx_catalogue PUBLIC $<$<CONFIG:Debug>:KRX::Host>)\n",
            "krx_catalogue of catalogue may not know KRX::Host of host");
        row("made of another's source", "service/CMakeLists.txt",
            "add_library(krx_more STATIC ../src/low/Low.cpp)\n",
            "krx_more is made of ../src/low/Low.cpp, which is not in service");
        row("made of another's source by its whole path", "service/CMakeLists.txt",
            "target_sources(krx_core PRIVATE \"${PROJECT_SOURCE_DIR}/src/low/Low.cpp\")\n",
            "krx_core is made of ${PROJECT_SOURCE_DIR}/src/low/Low.cpp, which is not in service");
        row("made of a source beside its own", "service/CMakeLists.txt",
            "target_sources(krx_core PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/../src/low/Low.cpp)\n",
            "krx_core is made of ${CMAKE_CURRENT_SOURCE_DIR}/../src/low/Low.cpp, which is not in service");
        row("made of another's objects", "service/CMakeLists.txt",
            "add_library(krx_more STATIC $<TARGET_OBJECTS:krx_module>)\n",
            "krx_more of service may not know krx_module of src");
        row("link from above all buildings", "CMakeLists.txt",
            "target_link_libraries(krx_core PRIVATE krx_module)\n",
            "krx_core of service may not know krx_module of src");
        row("link from a file of functions", "cmake/More.cmake",
            "target_link_libraries(krx_catalogue PUBLIC KRX::Host)\n",
            "krx_catalogue of catalogue may not know KRX::Host of host");
        row("source from outside", "tests/CMakeLists.txt", "target_sources(krx_core PRIVATE more.cpp)\n",
            "krx_core is made of more.cpp, which is not in service");
        row("helper of a room", "service/left/inner/Inner.cpp", "#include \"Base.h\"\n",
            "Inner.cpp of service/left/inner may not know Base.h of service/base");
        row("link from a room", "service/base/CMakeLists.txt",
            "add_library(krx_base STATIC)\ntarget_link_libraries(krx_base krx_core)\n",
            "krx_base of service/base may not know krx_core of service");
        row("link to what is not made", "src/CMakeLists.txt",
            "target_link_libraries(krx_module PRIVATE krx_none)\n",
            "krx_module links to krx_none, which no building makes");
        row("more than Qt Core", "service/CMakeLists.txt",
            "target_link_libraries(krx_core PRIVATE ${KRX_QT}::Widgets)\n",
            "krx_core links to ${KRX_QT}::Widgets, and service is built on Qt Core only");
        row("room without a floor", "src/attic/Attic.cpp", "\n", "the room src/attic has no floor");
        row("two of one name", "service/app/Top.h", "\n", "two headers are called Top.h");
        row("listed and not there", "docs/architecture.md", "`Top.cpp` → `None.h`\n",
            "docs/architecture.md lists `Top.cpp` → `None.h`, which is not there");
        row("no such building", "docs/architecture.md", "\n| building | | |\n| `cellar` | | |\n",
            "cellar is planned and not there");
    }

    void aBreakIsFound()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, more);
        QFETCH(QString, fault);
        QTemporaryDir folder;
        QHash<QString, QByteArray> files = soundHouse();
        files[file] += more;
        build(folder.path(), files);
        QCOMPARE(House(folder.path()).faults(), QStringList{fault});
    }

    void anArrowBackThatIsListedIsNoFault()
    {
        QTemporaryDir folder;
        QHash<QString, QByteArray> files = soundHouse();
        files[QStringLiteral("docs/architecture.md")] += "| `Left.cpp` → `App.h` | why |\n";
        files[QStringLiteral("service/left/Left.cpp")] = "#include \"App.h\"\n";
        build(folder.path(), files);
        QCOMPARE(House(folder.path()).faults(), QStringList());
    }

    void aTreeWithoutAPlanIsToldSo()
    {
        QTemporaryDir folder;
        QCOMPARE(House(folder.path()).faults(),
                 QStringList{QStringLiteral("docs/architecture.md has no table of buildings")});
    }

    void whatThePageNamesIsThere()
    {
        // Paths are given from the top or from any room, and a class stands for its files.
        QSet<QString> known;
        const auto learn = [&known](QString path) {
            const QString suffix = QFileInfo(path).suffix();
            const bool isCode = suffix == QLatin1String("h") || suffix == QLatin1String("cpp");
            for (; !path.isEmpty(); path = path.section(QLatin1Char('/'), 1)) {
                known.insert(path);
                if (isCode)
                    known.insert(path.section(QLatin1Char('.'), 0, -2));
            }
        };
        const QDir top(root());
        const QStringList files = top.entryList(QDir::Files);
        std::for_each(files.cbegin(), files.cend(), learn);
        for (const char* folder : {"host", "catalogue", "src", "desk", "service", "tests", "icons",
                                   "packaging", "cmake", "examples", "benchmarks", "fuzz"}) {
            learn(QLatin1String(folder));
            QDirIterator entries(top.filePath(QLatin1String(folder)),
                                 QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot,
                                 QDirIterator::Subdirectories);
            while (entries.hasNext())
                learn(top.relativeFilePath(entries.next()));
        }
        QFile page(root() + QStringLiteral("/docs/architecture.md"));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString text = QString::fromUtf8(page.readAll());
        const QString table =
            text.section(QLatin1String("## Where what lives"), 1).section(QLatin1String("\n## "), 0, 0);
        static const QRegularExpression quoted(QStringLiteral("`([^` ]+)`"));
        static const QRegularExpression quotedFile(QStringLiteral("`([^` ]+\\.(?:h|cpp))`"));
        QStringList missing;
        int count = 0;
        const auto look = [&](const QString& where, const QRegularExpression& form) {
            auto names = form.globalMatch(where);
            while (names.hasNext()) {
                QString name = names.next().captured(1);
                ++count;
                if (name.endsWith(QLatin1Char('/')))
                    name.chop(1);
                if (!known.contains(name))
                    missing.append(name);
            }
        };
        look(table, quoted);
        look(text, quotedFile);
        QVERIFY(count > 50);
        QVERIFY2(missing.isEmpty(), qUtf8Printable(missing.join(QLatin1String(", "))));
    }

    // Whoever looks for a thing finds the room: by its path, or by the end of it that only one room has.
    void eachRoomHasARowInTheTable()
    {
        QFile page(root() + QStringLiteral("/docs/architecture.md"));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString table = QString::fromUtf8(page.readAll())
                                  .section(QLatin1String("## Where what lives"), 1)
                                  .section(QLatin1String("\n## "), 0, 0);
        static const QRegularExpression quoted(QStringLiteral("`([^` ]+)`"));
        QSet<QString> names;
        auto found = quoted.globalMatch(table);
        while (found.hasNext())
            names.insert(found.next().captured(1));
        const auto isNamed = [&names](const QString& folder) {
            return std::any_of(names.cbegin(), names.cend(), [&folder](const QString& name) {
                return name == folder || name.startsWith(folder + QLatin1Char('/'));
            });
        };

        const QStringList rooms = House(root()).rooms();
        QVERIFY(rooms.size() > 40);
        QStringList missing;
        for (const QString& room : rooms) {
            bool hasRow = isNamed(room);
            for (QString end = room.section(QLatin1Char('/'), 1); !hasRow && !end.isEmpty();
                 end = end.section(QLatin1Char('/'), 1)) {
                const auto endsSo = [&end](const QString& other) {
                    return other.endsWith(QLatin1Char('/') + end);
                };
                hasRow = names.contains(end) && std::count_if(rooms.cbegin(), rooms.cend(), endsSo) == 1;
            }
            if (!hasRow)
                missing.append(room);
        }
        const QDir top(root());
        for (const char* parent : {".", "packaging"}) {
            const QStringList folders =
                QDir(top.filePath(QLatin1String(parent))).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
            for (const QString& folder : folders) {
                const QString path = QDir::cleanPath(QLatin1String(parent) + QLatin1Char('/') + folder);
                // What is built, and where this page stands.
                if (path != QLatin1String("build") && path != QLatin1String("docs") && !isNamed(path))
                    missing.append(path);
            }
        }
        QVERIFY2(missing.isEmpty(), qUtf8Printable(missing.join(QLatin1String(", "))));
    }

    // Each line of defence that docs/security.md claims has the tests that it names.
    void whatHoldsEachDefenceIsThere()
    {
        QHash<QString, QString> programs;
        QDirIterator sources(root() + QStringLiteral("/tests"), {QStringLiteral("test_*.cpp")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (sources.hasNext()) {
            QFile source(sources.next());
            QVERIFY(source.open(QIODevice::ReadOnly));
            programs.insert(sources.fileInfo().completeBaseName(), QString::fromUtf8(source.readAll()));
        }
        QFile page(root() + QStringLiteral("/docs/security.md"));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(page.readAll()).split(QLatin1Char('\n'));
        static const QRegularExpression quoted(QStringLiteral("`(?:(\\w+): )?(\\w+)`"));
        QStringList missing;
        int count = 0;
        for (const QString& line : lines) {
            if (!line.startsWith(QLatin1String("| ")) || line.endsWith(QLatin1String("| Test |")))
                continue;
            QString program;
            auto names = quoted.globalMatch(line.section(QLatin1Char('|'), -2, -2));
            int inLine = 0;
            for (; names.hasNext(); ++inLine) {
                const auto name = names.next();
                if (!name.captured(1).isEmpty())
                    program = name.captured(1).startsWith(QLatin1String("test_"))
                                  ? name.captured(1)
                                  : QStringLiteral("test_service_") + name.captured(1);
                if (!programs.value(program).contains(QStringLiteral("void %1()").arg(name.captured(2))))
                    missing << program + QStringLiteral(": ") + name.captured(2);
            }
            if (inLine == 0)
                missing << line.left(60);
            count += inLine;
        }
        QVERIFY(count > 60);
        QVERIFY2(missing.isEmpty(), qUtf8Printable(missing.join(QLatin1Char('\n'))));
    }

    void noSourceIsTooLong_data()
    {
        QTest::addColumn<int>("most");
        for (const char* folder :
             {"host", "catalogue", "src", "desk", "service", "benchmarks", "examples", "fuzz"})
            QTest::newRow(folder) << kLongestSource;
        QTest::newRow("tests") << kLongestTest;
    }

    void noSourceIsTooLong()
    {
        QFETCH(int, most);
        QStringList tooLong;
        int count = 0;
        QDirIterator sources(QDir(root()).filePath(QLatin1String(QTest::currentDataTag())),
                             {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files,
                             QDirIterator::Subdirectories);
        while (sources.hasNext()) {
            const QString path = sources.next();
            const int lines = lineCount(path);
            ++count;
            if (lines > most)
                tooLong.append(QStringLiteral("%1: %2 lines").arg(path).arg(lines));
        }
        QVERIFY(count > 0);
        QVERIFY2(tooLong.isEmpty(), qUtf8Printable(tooLong.join(QLatin1Char('\n'))));
    }

    void dialogsOfTheHostAreOpenedInOnePlace()
    {
        // Who opens one elsewhere can be deleted under it.
        const QRegularExpression call(
            QStringLiteral("HostQtShell::(showManagedMessageBox|chooseDirectory)\\b|QFileDialog|QMessageBox::"
                           "(question|warning|information|critical|about)\\b"));
        int calls = 0;
        QDirIterator sources(QDir(root()).filePath(QStringLiteral("src")), {QStringLiteral("*.cpp")},
                             QDir::Files, QDirIterator::Subdirectories);
        while (sources.hasNext()) {
            QFile source(sources.next());
            QVERIFY(source.open(QIODevice::ReadOnly));
            // What every operation of the host goes through is no caller.
            if (source.fileName().endsWith(QLatin1String("/hostcalls/KRXHost.cpp")))
                continue;
            const int found = QString::fromUtf8(source.readAll()).count(call);
            QVERIFY2(found == 0 || source.fileName().endsWith(QLatin1String("/KRXModal.cpp")),
                     qPrintable(source.fileName()));
            calls += found;
        }
        QCOMPARE(calls, 2);
    }
};

QTEST_GUILESS_MAIN(TestLayers)
#include "test_layers.moc"

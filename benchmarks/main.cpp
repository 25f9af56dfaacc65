#include "Bench.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QTextStream>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral(
        "Measures KRX Folders and prints one table; the floor is the same work done with bare means."));
    options.addHelpOption();
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Also write the rows to FILE as JSON."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption only(QStringLiteral("only"),
                                  QStringLiteral("Measure one area: access, view, sections, actions, "
                                                 "windows, service, drops, door, copies, "
                                                 "consolidate, desk, media."),
                                  QStringLiteral("AREA"));
    options.addOption(json);
    options.addOption(only);
    options.process(application);

    struct Area
    {
        const char* name;
        void (*measure)(KRXBench::Table&);
    };
    constexpr Area kAreas[] = {
        {"access", &KRXBench::measureServiceAccess},
        {"view", &KRXBench::measureFolderView},
        {"sections", &KRXBench::measureSections},
        {"actions", &KRXBench::measureActions},
        {"windows", &KRXBench::measureWindows},
        {"service", &KRXBench::measureService},
        {"service", &KRXBench::measureManyFolders},
        {"drops", &KRXBench::measureDrops},
        {"door", &KRXBench::measureDoor},
        {"copies", &KRXBench::measureCopies},
        {"consolidate", &KRXBench::measureConsolidation},
        {"desk", &KRXBench::measureDesk},
        {"media", &KRXBench::measureMedia},
    };

    KRXBench::Table table;
    for (const Area& area : kAreas) {
        if (options.isSet(only) && options.value(only) != QLatin1String(area.name))
            continue;
        area.measure(table);
    }
    QTextStream(stdout) << table.text();
    if (options.isSet(json)) {
        QFile file(options.value(json));
        if (!file.open(QIODevice::WriteOnly) || file.write(table.json()) < 0) {
            QTextStream(stderr) << "krx-bench: cannot write " << file.fileName() << ": " << file.errorString()
                                << '\n';
            return 2;
        }
    }
    return table.allMet() ? 0 : 1;
}

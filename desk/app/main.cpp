#include "DeskApplication.h"
#include "DeskOptions.h"
#include "DeskVersion.h"
#include "tour/Tour.h"

#include "StandInHost.h"

#include <QApplication>
#include <QLocale>

#include <cstdio>
#include <cstring>

namespace {

/// Help and version are printed without a display.
bool answersWithoutDisplay(const DeskOptions& options)
{
    if (options.mode == DeskOptions::Mode::ShowHelp)
        std::fputs(qPrintable(DeskOptions::helpText()), stdout);
    else if (options.mode == DeskOptions::Mode::ShowVersion)
        std::printf("krx-desk %s\n", KRX_DESK_VERSION);
    else
        return false;
    return true;
}

QStringList textsOf(int argc, char** argv)
{
    QStringList texts;
    for (int i = 0; i < argc; ++i)
        texts << QString::fromLocal8Bit(argv[i]);
    return texts;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setOrganizationName(QStringLiteral("KRX"));
    QCoreApplication::setApplicationName(QStringLiteral("krx-desk"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KRX_DESK_VERSION));
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);

    const QStringList arguments = textsOf(argc, argv);
    DeskOptions options;
    QString error;
    // What Qt takes for itself ("-platform" and the like) is gone from the list once there is an application;
    // help and version come before that, because they need no display.
    if (DeskOptions::parse(arguments, options, error) && answersWithoutDisplay(options))
        return 0;
    QApplication application(argc, argv);
    options = DeskOptions();
    if (!DeskOptions::parse(QCoreApplication::arguments(), options, error)) {
        std::fprintf(stderr, "krx-desk: %s\nTry krx-desk --help.\n", qPrintable(error));
        return 2;
    }
    QGuiApplication::setApplicationDisplayName(QStringLiteral("KRX Desk"));
    StandInHost::setLanguage(options.language.isEmpty() ? QLocale::system().name().left(2) : options.language);
    return options.mode == DeskOptions::Mode::Tour ? Tour::run(options) : DeskApplication::runWindow(options);
}

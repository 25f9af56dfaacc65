#include "DeskApplication.h"
#include "DeskExtras.h"
#include "DeskOptions.h"
#include "DeskVersion.h"

#include "StandInHost.h"

#include <QApplication>
#include <QLocale>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int kWrongCommandLine = 2;

int refuse(const QString& error)
{
    std::fprintf(stderr, "krx-desk: %s\nTry krx-desk --help.\n", qPrintable(error));
    return kWrongCommandLine;
}

/// Whether an argument is for Qt ("-platform" and the like), which takes it out of the list.
bool isForQt(const QString& argument)
{
    return argument.size() > 2 && argument.startsWith(QLatin1Char('-')) &&
           !argument.startsWith(QLatin1String("--"));
}

/// Answers what needs no display: help, version, and a command line that makes no sense or asks for what is
/// not installed.
/// \return the exit code; -1 when there is more to do.
int answerWithoutDisplay(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    DeskOptions options;
    QString error;
    if (!DeskOptions::parse(arguments, options, error))
        return std::any_of(arguments.begin(), arguments.end(), isForQt) ? -1 : refuse(error);
    if (options.mode == DeskOptions::Mode::ShowHelp)
        std::fputs(qPrintable(DeskOptions::helpText()), stdout);
    else if (options.mode == DeskOptions::Mode::ShowVersion)
        std::printf("krx-desk %s\n", KRX_DESK_VERSION);
    else if (options.mode == DeskOptions::Mode::Describe)
        std::fputs(qPrintable(DeskOptions::description(QStringLiteral(KRX_DESK_VERSION))), stdout);
    else if (options.needsExtras() && DeskExtras::find(DeskExtras::places()).isEmpty())
        return DeskApplication::refuseMissingExtras();
    else
        return -1;
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication::setOrganizationName(QStringLiteral("KRX"));
    QCoreApplication::setApplicationName(QStringLiteral("krx-desk"));
    QCoreApplication::setApplicationVersion(QStringLiteral(KRX_DESK_VERSION));
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);

    const int answered = answerWithoutDisplay(argc, argv);
    if (answered >= 0)
        return answered;
    const QApplication application(argc, argv);
    DeskOptions options;
    QString error;
    if (!DeskOptions::parse(QCoreApplication::arguments(), options, error))
        return refuse(error);
    QGuiApplication::setApplicationDisplayName(QStringLiteral("KRX Desk"));
    StandInHost::setLanguage(options.language.isEmpty() ? QLocale::system().name().left(2)
                                                        : options.language);
    return DeskApplication::run(options);
}

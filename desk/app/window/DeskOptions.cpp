#include "DeskOptions.h"

#include <QCommandLineParser>
#include <QFileInfo>

namespace {

const QLatin1String kProject("project");
const QLatin1String kServiceData("service-data");
const QLatin1String kServiceProgram("service-program");
const QLatin1String kDemo("demo");
const QLatin1String kTour("tour");
const QLatin1String kSkin("skin");
const QLatin1String kLanguage("language");
const QLatin1String kHelp("help");
const QLatin1String kVersion("version");

/// One option that takes a path, and where it goes.
struct PathOption
{
    QLatin1String name;
    const char* help;
    const char* valueName;
    QString DeskOptions::*member;
};

const PathOption kPaths[] = {
    {kProject, "Open (or make) this project file.", "FILE", &DeskOptions::project},
    {kServiceData, "Data folder of a service that the desk starts.", "DIR", &DeskOptions::serviceData},
    {kServiceProgram, "The service's program, if not krx-service beside this one.", "FILE",
     &DeskOptions::serviceProgram},
    {kDemo, "Open on a demo in this folder: generated media, a project and a service of its own.", "DIR",
     &DeskOptions::demo},
    {kTour, "Play the guided tour by itself; pictures and tour.txt go to this folder.", "DIR",
     &DeskOptions::tour},
};

void fill(QCommandLineParser& parser)
{
    parser.setApplicationDescription(
        QStringLiteral("KRX Desk: watch folders for a video editor, on a small desk."));
    for (const PathOption& option : kPaths) {
        parser.addOption(QCommandLineOption(option.name, QString::fromUtf8(option.help),
                                            QString::fromUtf8(option.valueName)));
    }
    parser.addOption(QCommandLineOption(kSkin, QStringLiteral("How the desk looks: light or dark."),
                                        QStringLiteral("SKIN")));
    parser.addOption(QCommandLineOption(kLanguage,
                                        QStringLiteral("Language of the texts, for example en or de."),
                                        QStringLiteral("LANGUAGE")));
    parser.addOption(QCommandLineOption({QStringLiteral("h"), kHelp}, QStringLiteral("Print this help.")));
    parser.addOption(
        QCommandLineOption({QStringLiteral("v"), kVersion}, QStringLiteral("Print the version.")));
}

bool readSkin(const QCommandLineParser& parser, DeskOptions& options, QString& error)
{
    options.skinGiven = parser.isSet(kSkin);
    const QString skin = parser.value(kSkin);
    if (skin == QLatin1String("dark"))
        options.skin = DeskOptions::Skin::Dark;
    else if (options.skinGiven && skin != QLatin1String("light")) {
        error = QStringLiteral("--skin takes light or dark, not \"%1\".").arg(skin);
        return false;
    }
    return true;
}

} // namespace

bool DeskOptions::parse(const QStringList& arguments, DeskOptions& options, QString& error)
{
    QCommandLineParser parser;
    fill(parser);
    if (!parser.parse(arguments)) {
        error = parser.errorText();
        return false;
    }
    if (!parser.positionalArguments().isEmpty()) {
        error =
            QStringLiteral("\"%1\" is not an option of krx-desk.").arg(parser.positionalArguments().first());
        return false;
    }
    for (const PathOption& option : kPaths) {
        const QString value = parser.value(option.name);
        if (parser.isSet(option.name) && value.isEmpty()) {
            error = QStringLiteral("--%1 needs a path.").arg(QString(option.name));
            return false;
        }
        options.*option.member = value.isEmpty() ? value : QFileInfo(value).absoluteFilePath();
    }
    if (!readSkin(parser, options, error))
        return false;
    options.language = parser.value(kLanguage);
    if (parser.isSet(kHelp))
        options.mode = Mode::ShowHelp;
    else if (parser.isSet(kVersion))
        options.mode = Mode::ShowVersion;
    else if (!options.tour.isEmpty())
        options.mode = Mode::Tour;
    return true;
}

QString DeskOptions::helpText()
{
    QCommandLineParser parser;
    fill(parser);
    return parser.helpText();
}

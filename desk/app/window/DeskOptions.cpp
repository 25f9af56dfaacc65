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
const QLatin1String kDescribe("describe"); ///< for programs, and so in no list for people

const char kPurpose[] = "watch folders for a video editor, on a small desk";

/// One option. Where it takes a path, the member says where that goes.
struct OptionRow
{
    QLatin1String name;
    const char* letter; ///< the short form, or empty
    const char* valueName;
    const char* values; ///< for shells: "file", "dir", words divided by "|", or empty
    const char* help;
    QString DeskOptions::*path;
};

const OptionRow kRows[] = {
    {kProject, "", "FILE", "file", "Open (or make) this project file.", &DeskOptions::project},
    {kServiceData, "", "DIR", "dir", "Data folder of a service that the desk starts.",
     &DeskOptions::serviceData},
    {kServiceProgram, "", "FILE", "file", "The service's program, if not krx-service beside this one.",
     &DeskOptions::serviceProgram},
    {kDemo, "", "DIR", "dir",
     "Open on a demo in this folder: generated media, a project and a service of its own.",
     &DeskOptions::demo},
    {kTour, "", "DIR", "dir", "Play the guided tour by itself; pictures and tour.txt go to this folder.",
     &DeskOptions::tour},
    {kSkin, "", "SKIN", "light|dark", "How the desk looks: light or dark.", nullptr},
    {kLanguage, "", "LANGUAGE", "en|de", "Language of the texts, for example en or de.", nullptr},
    {kHelp, "h", "", "", "Print this help.", nullptr},
    {kVersion, "v", "", "", "Print the version.", nullptr},
};

void fill(QCommandLineParser& parser)
{
    parser.setApplicationDescription(QStringLiteral("KRX Desk: %1.").arg(QString::fromUtf8(kPurpose)));
    for (const OptionRow& row : kRows) {
        QStringList names{row.name};
        if (*row.letter != 0)
            names.prepend(QString::fromUtf8(row.letter));
        parser.addOption(
            QCommandLineOption(names, QString::fromUtf8(row.help), QString::fromUtf8(row.valueName)));
    }
    QCommandLineOption describe(kDescribe);
    describe.setFlags(QCommandLineOption::HiddenFromHelp);
    parser.addOption(describe);
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
        error = QStringLiteral("\"%1\" is not an option of krx-desk.")
                    .arg(parser.positionalArguments().constFirst());
        return false;
    }
    for (const OptionRow& option : kRows) {
        if (!option.path)
            continue;
        const QString value = parser.value(option.name);
        if (parser.isSet(option.name) && value.isEmpty()) {
            error = QStringLiteral("--%1 needs a path.").arg(QString(option.name));
            return false;
        }
        options.*option.path = value.isEmpty() ? value : QFileInfo(value).absoluteFilePath();
    }
    if (!readSkin(parser, options, error))
        return false;
    options.language = parser.value(kLanguage);
    if (parser.isSet(kHelp))
        options.mode = Mode::ShowHelp;
    else if (parser.isSet(kVersion))
        options.mode = Mode::ShowVersion;
    else if (parser.isSet(kDescribe))
        options.mode = Mode::Describe;
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

QString DeskOptions::description(const QString& version)
{
    QString result = QStringLiteral("program\tkrx-desk\t%1\t%2\n").arg(QString::fromUtf8(kPurpose), version);
    for (const OptionRow& row : kRows) {
        result += QStringLiteral("option\t\t%1\t%2\t%3\t%4\n")
                      .arg(row.name, QString::fromUtf8(row.valueName), QString::fromUtf8(row.values),
                           QString::fromUtf8(row.help));
    }
    return result +
           QStringLiteral(
               "section\tENVIRONMENT\t"
               "KRX_CONNECT_PORT\\n   the port of the service to ask (or to start), in place of the socket\\n"
               "KRX_CONNECT_USER\\n   the user whose service may be asked besides the own one\\n"
               "XDG_RUNTIME_DIR\\n   below it is the service's socket, krx-service/socket\\n\n"
               "section\tSIGNALS\tSIGTERM, SIGINT and SIGHUP end it as closing its window does.\\n\n"
               "section\tEXIT STATUS\tIt ends with 0 when its window was closed or every step of the tour "
               "held,\\nwith 1 when no project can be opened, the demo cannot be made or a step of the tour "
               "failed,\\nwith 2 for a wrong command line, and with 3 when the demo or the tour is asked for "
               "and\\nnot installed.\\n\n"
               "see\tkrx-service\n");
}

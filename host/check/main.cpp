// krx-host-check: looks at the host that it is linked with. Prints what is wrong and what there is none of,
// and on standard error what it looks at; ends with 1 when something is wrong, with 2 when it is called
// wrongly.
#include "HostCheck.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace {

void print(const char* kind, const QStringList& lines)
{
    for (const QString& line : lines)
        std::printf("%s: %s\n", kind, qUtf8Printable(line));
    std::fflush(stdout);
}

void tellStep(const char* what)
{
    std::fprintf(stderr, "looking at %s ...\n", what);
}

constexpr char kUsage[] =
    "usage: %s [--no-dialogs]\n"
    "Calls all that the host in this program offers to KRX Folders, and prints what is \"wrong\" and what "
    "there\n"
    "is \"none\" of. Ends with 1 when something is wrong or missing.\n"
    "  --no-dialogs  leaves out the message box and the chooser, which open and are closed again\n"
    "Qt's own options, such as \"-platform offscreen\", are understood, too.\n";

} // namespace

int main(int argc, char** argv)
{
    // Before a display is looked for.
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::printf(kUsage, argv[0]);
        return 0;
    }
    QApplication application(argc, argv);
    QStringList options = QApplication::arguments().mid(1);
    const bool noDialogs = options.removeAll(QStringLiteral("--no-dialogs")) > 0;
    if (!options.isEmpty()) {
        std::fprintf(stderr, "%s: \"%s\" is not known\n", argv[0], qUtf8Printable(options.first()));
        std::fprintf(stderr, kUsage, argv[0]);
        return 2;
    }
    const HostOperations host = krxHostToCheck();
    HostFindings findings(&tellStep);
    findings.step("the table");
    HostCheck::checkTable(host, findings);
    if (!findings.faults().isEmpty()) {
        print("missing", findings.faults());
        return 1;
    }
    findings.step("the texts");
    HostCheck::checkTexts(host, findings);
    findings.step("the volumes");
    HostCheck::checkVolumes(host, findings);
    findings.step("the media engine");
    HostCheck::checkMediaEngine(host, findings);
    findings.step("the skin");
    HostCheck::checkShells(host, findings);
    // A host whose dialogs are not Qt's needs a person who closes them.
    if (!noDialogs) {
        findings.step("the dialogs, which are closed by themselves (\"--no-dialogs\" leaves them out)");
        HostCheck::checkDialogs(host, findings);
    }
    HostCheck::checkRestClient(host, findings);
    print("wrong", findings.faults());
    print("none", findings.nones());
    std::printf("%d wrong, %d that this host has none of\n", int(findings.faults().size()),
                int(findings.nones().size()));
    return findings.faults().isEmpty() ? 0 : 1;
}

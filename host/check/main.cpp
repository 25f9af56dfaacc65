// krx-host-check: looks at the host that it is linked with. Prints what is wrong and what there is none of;
// ends with 1 when something is wrong.
#include "HostCheck.h"

#include <QApplication>

#include <cstdio>

namespace {

void print(const char* kind, const QStringList& lines)
{
    for (const QString& line : lines)
        std::printf("%s: %s\n", kind, qUtf8Printable(line));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    const HostOperations host = krxHostToCheck();
    HostFindings findings;
    HostCheck::checkTable(host, findings);
    if (!findings.faults().isEmpty()) {
        print("missing", findings.faults());
        return 1;
    }
    HostCheck::checkTexts(host, findings);
    HostCheck::checkVolumes(host, findings);
    HostCheck::checkMediaEngine(host, findings);
    HostCheck::checkShells(host, findings);
    // A host whose dialogs are not Qt's needs a person who closes them.
    if (!QApplication::arguments().contains(QStringLiteral("--no-dialogs")))
        HostCheck::checkDialogs(host, findings);
    HostCheck::checkRestClient(host, findings);
    print("wrong", findings.faults());
    print("none", findings.nones());
    std::printf("%d wrong, %d that this host has none of\n", int(findings.faults().size()),
                int(findings.nones().size()));
    return findings.faults().isEmpty() ? 0 : 1;
}

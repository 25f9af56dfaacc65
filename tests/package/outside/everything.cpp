// The headers stand first, so that each brings what it needs or an earlier one did.
#include "headers.h"

#include <QApplication>

#include <cstdio>
#include <cstring>

namespace {

class Section : public KRXTwistWidget
{
    Q_OBJECT

public:
    Section()
        : KRXTwistWidget(nullptr, QStringLiteral("Section"))
    {
    }
};

HostStatus noFactory(const HostIdentifier&, IHostComponentFactory**)
{
    return kHostStatusFailed;
}

} // namespace

/// everything [no-host|no-text]: without a host, or with one that lacks an operation.
int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    const char* mode = argc > 1 ? argv[1] : "";
    HostOperations host = HostDefaults::operations();
    host.getComponentFactory = &noFactory;
    if (std::strcmp(mode, "no-text") == 0)
        host.HostCore_translateText = nullptr;
    if (std::strcmp(mode, "no-host") != 0 && !krxTakeHost(&host, nullptr))
        return 3;
    KRXWindow panel(nullptr, nullptr);
    const Section section;
    std::puts(section.metaObject()->className());
    return section.inherits("KRXTwistWidget") ? 0 : 1;
}

#include "everything.moc"

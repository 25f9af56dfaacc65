#include "HostDefaults.h"
#include "KRXHost.h"
#include "KRXTwistWidget.h"

#include <QApplication>

/// A class that needs moc, derived from one of the module's that does.
class Section : public KRXTwistWidget
{
    Q_OBJECT

public:
    Section()
        : KRXTwistWidget(nullptr, QStringLiteral("Section"))
    {
    }
};

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    HostOperations host = HostDefaults::operations();
    host.getComponentFactory = [](const HostIdentifier&, IHostComponentFactory**) {
        return kHostStatusFailed;
    };
    if (!krxTakeHost(&host, nullptr))
        return 2;
    const Section section;
    return section.inherits("KRXTwistWidget") ? 0 : 1;
}

#include "main.moc"

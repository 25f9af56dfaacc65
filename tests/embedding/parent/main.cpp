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
    const Section section;
    return section.inherits("KRXTwistWidget") ? 0 : 1;
}

#include "main.moc"

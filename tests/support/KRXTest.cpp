#include "KRXTest.h"

#include <QRegularExpression>

namespace KRXTest {

QString withSortedAttributes(const QString& xml)
{
    static const QRegularExpression tag(
        QStringLiteral(R"(<([^\s<>/?!]+)((?:\s+[^\s=<>]+="[^"]*")+)(\s*/?)>)"));
    static const QRegularExpression attribute(QStringLiteral(R"(\s+([^\s=<>]+="[^"]*"))"));
    QString sorted;
    int last = 0;
    auto tags = tag.globalMatch(xml);
    while (tags.hasNext()) {
        const auto match = tags.next();
        QStringList attributes;
        auto found = attribute.globalMatch(match.captured(2));
        while (found.hasNext())
            attributes << found.next().captured(1);
        attributes.sort();
        sorted += xml.mid(last, match.capturedStart() - last);
        sorted += QStringLiteral("<%1 %2%3>")
                      .arg(match.captured(1), attributes.join(QLatin1Char(' ')), match.captured(3));
        last = match.capturedEnd();
    }
    return sorted + xml.mid(last);
}

} // namespace KRXTest

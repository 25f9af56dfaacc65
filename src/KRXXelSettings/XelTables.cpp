#include "XelTables.h"

#include "HostMediaEngine.h"
#include "KRXLinkOptionsSettings.h"
#include "KRXText.h"

#include <QButtonGroup>
#include <QLabel>
#include <QVariant>

namespace XelTables {

namespace {

QString groupingText(const QLabel* label, const KRXFields::Field&)
{
    const QVariant grouping = label->property(KRXLinkOptionsSettings::kGroupingProperty);
    return grouping.isValid() ? grouping.toString() : QString::fromLatin1(kNoGrouping);
}

void setGrouping(QLabel* label, const KRXFields::Field&, const QString& text)
{
    label->setProperty(KRXLinkOptionsSettings::kGroupingProperty, text);
    label->setText(text == QLatin1String(kNoGrouping)
                       ? KRXText::localised("None")
                       : HostMediaEngine::channelGroupsFromText(text).displayText);
}

} // namespace

const KRXFields::Kind kGrouping = KRXFields::bind<QLabel, groupingText, setGrouping>();

bool isBinNameExplicit(const QWidget* bins)
{
    return KRXFields::objectOf<QButtonGroup>(bins, kBinFields[BinNamingMethod].element)->checkedId() ==
           ExplicitName;
}

QDomElement linkDetailAtEnd(QDomDocument& doc, QDomElement& parent)
{
    const QString name = QLatin1String(kLink.element);
    QDomElement detail = parent.firstChildElement(name);
    if (detail.isNull())
        detail = doc.createElement(name);
    parent.appendChild(detail);
    return detail;
}

} // namespace XelTables

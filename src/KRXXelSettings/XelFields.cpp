#include "XelFields.h"

#include "KRXXml.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QVariant>

#include <algorithm>

namespace XelFields {

void write(QDomDocument& doc, QDomElement& parent, const List& fields)
{
    for (const Field& field : fields) {
        if (!field.isWritten || field.isWritten())
            KRXXml::appendTextElement(doc, parent, field.element, field.value());
    }
}

void read(const QDomElement& element, const List& fields)
{
    for (QDomElement child = element.firstChildElement(); !child.isNull();
         child = child.nextSiblingElement()) {
        const QString tag = child.tagName();
        const auto field = std::find_if(fields.begin(), fields.end(),
                                        [&tag](const Field& candidate) { return candidate.element == tag; });
        if (field != fields.end())
            field->setValue(child.text());
    }
}

QDomElement linkDetailAtEnd(QDomDocument& doc, QDomElement& parent)
{
    const QString name = QStringLiteral("linkDetail");
    QDomElement detail = parent.firstChildElement(name);
    if (detail.isNull())
        detail = doc.createElement(name);
    parent.appendChild(detail);
    return detail;
}

Field bindRadios(const QString& element, QButtonGroup* group, const RadioChoice* choices, std::size_t count,
                 int unknownChoice)
{
    const auto value = [group, choices]() -> QString {
        const int checked = group->checkedId();
        return checked < 0 ? QString() : QString::fromLatin1(choices[checked].value);
    };
    const auto setValue = [group, choices, count, unknownChoice](const QString& text) {
        const RadioChoice* end = choices + count;
        const RadioChoice* found = std::find_if(
            choices, end, [&text](const RadioChoice& choice) { return text == QLatin1String(choice.value); });
        const int id = found != end ? static_cast<int>(found - choices) : unknownChoice;
        if (id != kKeepWhenUnknown)
            group->button(id)->setChecked(true);
    };
    return {element, value, setValue};
}

Field bindComboBox(const QString& element, QComboBox* box, ItemPart written, ItemPart matched)
{
    const auto value = [box, written] {
        return written == ItemPart::Data ? box->currentData().toString() : box->currentText();
    };
    const int role = matched == ItemPart::Data ? Qt::UserRole : Qt::DisplayRole;
    const auto setValue = [box, role](const QString& text) {
        box->setCurrentIndex(std::max(0, box->findData(text, role, Qt::MatchFixedString)));
    };
    return {element, value, setValue};
}

Field bindComboBoxNumber(const QString& element, QComboBox* box)
{
    const auto value = [box] { return QString::number(box->currentIndex() + 1); };
    const auto setValue = [box](const QString& text) {
        const int number = text.toInt();
        box->setCurrentIndex(number > 0 && number <= box->count() ? number - 1 : -1);
    };
    return {element, value, setValue};
}

Field bindLineEdit(const QString& element, QLineEdit* edit)
{
    return {element, [edit] { return edit->text(); }, [edit](const QString& text) { edit->setText(text); }};
}

Field bindCheckBox(const QString& element, QCheckBox* box)
{
    const auto value = [box] { return box->isChecked() ? QStringLiteral("TRUE") : QStringLiteral("FALSE"); };
    const auto setValue = [box](const QString& text) { box->setChecked(text == QLatin1String("true")); };
    return {element, value, setValue};
}

} // namespace XelFields

#include "KRXFields.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>

#include <algorithm>

namespace KRXFields {

namespace {

QString enabledAttribute()
{
    return QStringLiteral("enabled");
}

QString checkText(const QCheckBox* box, const Field&)
{
    return boolText(box->isChecked());
}

QString upperCaseCheckText(const QCheckBox* box, const Field&)
{
    return box->isChecked() ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
}

void setCheck(QCheckBox* box, const Field&, const QString& text)
{
    box->setChecked(isTrue(text));
}

QString radiosText(const QButtonGroup* group, const Field& field)
{
    const int checked = group->checkedId();
    return checked < 0 ? QString() : QString::fromLatin1(field.choices.rows[checked].value);
}

void setRadios(QButtonGroup* group, const Field& field, const QString& text)
{
    const int row = field.choices.rowOf(text);
    if (row != kKeepWhenUnknown)
        group->button(row)->setChecked(true);
}

QString lineEditText(const QLineEdit* edit, const Field&)
{
    return edit->text();
}

void setLineEdit(QLineEdit* edit, const Field&, const QString& text)
{
    edit->setText(text);
}

QString comboText(const QComboBox* box, const Field&)
{
    return box->currentText();
}

QString comboData(const QComboBox* box, const Field&)
{
    return box->currentData().toString();
}

template <int role>
void setComboBy(QComboBox* box, const Field&, const QString& text)
{
    box->setCurrentIndex(std::max(0, box->findData(text, role, Qt::MatchFixedString)));
}

void setComboNumber(QComboBox* box, const Field&, const QString& text)
{
    selectNumber(box, text);
}

QString comboIndex(const QComboBox* box, const Field&)
{
    return QString::number(box->currentIndex() + 1);
}

void setComboIndex(QComboBox* box, const Field&, const QString& text)
{
    const int number = text.toInt();
    box->setCurrentIndex(number > 0 && number <= box->count() ? number - 1 : -1);
}

} // namespace

const Kind kCheck = bind<QCheckBox, checkText, setCheck>();
const Kind kUpperCaseCheck = bind<QCheckBox, upperCaseCheckText, setCheck>();
const Kind kRadios = bind<QButtonGroup, radiosText, setRadios>();
const Kind kLineEdit = bind<QLineEdit, lineEditText, setLineEdit>();
const Kind kComboText = bind<QComboBox, comboText, setComboBy<Qt::DisplayRole>>();
const Kind kComboData = bind<QComboBox, comboData, setComboBy<Qt::UserRole>>();
const Kind kComboDataByText = bind<QComboBox, comboData, setComboBy<Qt::DisplayRole>>();
const Kind kComboNumber = bind<QComboBox, comboData, setComboNumber>();
const Kind kComboIndex = bind<QComboBox, comboIndex, setComboIndex>();

int Choices::rowOf(const QString& value) const
{
    const Choice* found = std::find_if(
        begin(), end(), [&value](const Choice& choice) { return value == QLatin1String(choice.value); });
    return found != end() ? static_cast<int>(found - begin()) : unknown;
}

int Fields::rowOf(const QString& element) const
{
    const Field* found = std::find_if(
        begin(), end(), [&element](const Field& field) { return element == QLatin1String(field.element); });
    return found != end() ? static_cast<int>(found - begin()) : -1;
}

QDomElement appendSection(QDomDocument& doc, QDomElement& parent, const Section& section, const QWidget* root)
{
    QDomElement element = doc.createElement(QLatin1String(section.element));
    parent.appendChild(element);
    write(doc, element, section.fields, root);
    return element;
}

QDomElement findSection(const QDomNode& from, const Section& section)
{
    return KRXXml::firstElement(from, QLatin1String(section.element));
}

void readSection(const QDomNode& from, const Section& section, QWidget* root)
{
    read(findSection(from, section), section.fields, root);
}

QString textOf(const QDomElement& section, const Field& field)
{
    return section.firstChildElement(QLatin1String(field.element)).text();
}

void write(QDomDocument& doc, QDomElement& parent, Fields fields, const QWidget* root)
{
    for (const Field& field : fields) {
        if (field.isWritten && !field.isWritten(root))
            continue;
        const char* widget = field.writtenFrom ? field.writtenFrom : field.element;
        QDomElement element = KRXXml::appendTextElement(doc, parent, QLatin1String(field.element),
                                                        field.kind->text(root, widget, field));
        if (field.kind->addAttributes)
            field.kind->addAttributes(root, field, element);
        if (field.enabledBy) {
            const bool enabled = objectOf<QCheckBox>(root, field.enabledBy)->isChecked();
            element.setAttribute(enabledAttribute(), boolText(enabled));
        }
    }
}

void read(const QDomElement& parent, Fields fields, QWidget* root)
{
    forEach(parent, fields, [&fields, root](int row, const QDomElement& child) {
        readField(child, fields.begin()[row], root);
    });
}

void readField(const QDomElement& element, const Field& field, QWidget* root)
{
    field.kind->setText(root, field.element, field, element.text());
    if (field.enabledBy)
        objectOf<QCheckBox>(root, field.enabledBy)->setChecked(isEnabled(element));
}

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

bool isTrue(const QString& text)
{
    return text == QLatin1String("true");
}

bool isEnabled(const QDomElement& element)
{
    return isTrue(element.attribute(enabledAttribute()));
}

void selectNumber(QComboBox* box, quint32 number)
{
    if (!selectNumberIfFound(box, number))
        box->setCurrentIndex(0);
}

void selectNumber(QComboBox* box, const QString& text)
{
    selectNumber(box, text.toUInt());
}

bool selectNumberIfFound(QComboBox* box, qint64 number)
{
    // Item data are numbers of several types; as decimal texts they all compare alike.
    const int index = box->findData(QString::number(number), Qt::UserRole, Qt::MatchFixedString);
    if (index >= 0)
        box->setCurrentIndex(index);
    return index >= 0;
}

} // namespace KRXFields

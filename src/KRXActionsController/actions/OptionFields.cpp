#include "OptionFields.h"

#include "CompressionXml.h"
#include "CopyToPathWidget.h"
#include "KRXXml.h"

#include <QCheckBox>
#include <QComboBox>

namespace OptionFields {

namespace {

QString enabledAttribute()
{
    return QStringLiteral("enabled");
}

/// The option widget of that name; each table names only widgets that its action has built.
template <class Widget>
Widget* optionWidget(const QWidget* options, const char* name)
{
    auto* widget = options->findChild<Widget*>(QLatin1String(name));
    Q_ASSERT(widget);
    return widget;
}

void writeField(QDomDocument& doc, QDomElement& parent, const Field& field, const QWidget* options)
{
    const QString name = QLatin1String(field.name);
    QDomElement element;
    switch (field.kind) {
    case ValueKind::Check:
        element = KRXXml::appendTextElement(
            doc, parent, name, boolText(optionWidget<QCheckBox>(options, field.name)->isChecked()));
        break;
    case ValueKind::ComboText:
        element = KRXXml::appendTextElement(doc, parent, name,
                                            optionWidget<QComboBox>(options, field.name)->currentText());
        break;
    case ValueKind::ComboData:
        element = KRXXml::appendTextElement(
            doc, parent, name, optionWidget<QComboBox>(options, field.name)->currentData().toString());
        break;
    case ValueKind::Path:
        element = KRXXml::appendTextElement(doc, parent, name,
                                            optionWidget<CopyToPathWidget>(options, field.name)->path());
        break;
    case ValueKind::Compression:
    case ValueKind::CompressionWithDescriptor: {
        const auto* codec = optionWidget<QComboBox>(options, field.name);
        const quint32 id = codec->currentData().toUInt();
        element = KRXXml::appendTextElement(doc, parent, name, QString::number(id));
        element.setAttribute(QStringLiteral("name"), codec->currentText());
        if (field.kind == ValueKind::CompressionWithDescriptor)
            CompressionXml::writeDescriptor(element, id);
        break;
    }
    }
    if (field.enabledBy) {
        const bool enabled = optionWidget<QCheckBox>(options, field.enabledBy)->isChecked();
        element.setAttribute(enabledAttribute(), boolText(enabled));
    }
}

} // namespace

const Field* Fields::find(const QString& name) const
{
    for (const Field& field : *this) {
        if (name == QLatin1String(field.name))
            return &field;
    }
    return nullptr;
}

void write(QDomDocument& doc, QDomElement& parent, Fields fields, const QWidget* options)
{
    for (const Field& field : fields)
        writeField(doc, parent, field, options);
}

void read(const QDomElement& parent, Fields fields, QWidget* options)
{
    for (const QDomElement& element : KRXXml::childElements(parent)) {
        if (const Field* field = fields.find(element.tagName()))
            readField(element, *field, options);
    }
}

void readField(const QDomElement& element, const Field& field, QWidget* options)
{
    const QString text = element.text();
    switch (field.kind) {
    case ValueKind::Check:
        optionWidget<QCheckBox>(options, field.name)->setChecked(isTrue(text));
        break;
    case ValueKind::ComboText:
        selectText(optionWidget<QComboBox>(options, field.name), text);
        break;
    case ValueKind::ComboData:
    case ValueKind::Compression:
    case ValueKind::CompressionWithDescriptor:
        selectNumber(optionWidget<QComboBox>(options, field.name), text);
        break;
    case ValueKind::Path:
        optionWidget<CopyToPathWidget>(options, field.name)->setPath(text);
        break;
    }
    if (field.enabledBy)
        optionWidget<QCheckBox>(options, field.enabledBy)
            ->setChecked(isTrue(element.attribute(enabledAttribute())));
}

QString boolText(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

bool isTrue(const QString& text)
{
    return text == QLatin1String("true");
}

void selectText(QComboBox* box, const QString& text)
{
    box->setCurrentIndex(qMax(0, box->findText(text, Qt::MatchFixedString)));
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

} // namespace OptionFields

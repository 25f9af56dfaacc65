#pragma once

#include "KRXXml.h"

#include <QDomDocument>
#include <QDomElement>
#include <QString>
#include <QWidget>

class QComboBox;

/// How editing widgets and the elements of a profile are bound: by tables. A row names an element, which is
/// the object name of its widget too, and says what kind of value it holds. Writer, reader and whoever only
/// shows a profile go by the same table.
namespace KRXFields {

struct Field;

/// How the value of one kind of widget stands in an element. Made by bind().
struct Kind
{
    /// The text to write for the widget below \a root that has that name.
    QString (*text)(const QWidget* root, const char* widgetName, const Field& field);
    /// Sets the widget of that name below \a root from a text that was read.
    void (*setText)(QWidget* root, const char* widgetName, const Field& field, const QString& text);
    /// Adds attributes to the element that was written; null when the kind has none.
    void (*addAttributes)(const QWidget* root, const Field& field, QDomElement& element) = nullptr;
};

/// One of the values that radio buttons choose from: the English text and tooltip of its button (the latter
/// may be null), and the text that stands for it in documents.
struct Choice
{
    const char* text;
    const char* toolTip;
    const char* value;
};

/// Texts that are none of the choices leave the buttons alone.
constexpr int kKeepWhenUnknown = -1;

/// The choices of one field.
struct Choices
{
    constexpr Choices() = default;
    /// \param otherwise the row that every other text stands for, or \ref kKeepWhenUnknown.
    template <int length>
    constexpr Choices(const Choice (&choices)[length], int otherwise = kKeepWhenUnknown)
        : rows(choices)
        , count(length)
        , unknown(otherwise)
    {
    }
    const Choice* begin() const { return rows; }
    const Choice* end() const { return rows + count; }
    /// The row that \a value stands for (exact); \ref unknown for any other text.
    int rowOf(const QString& value) const;

    const Choice* rows = nullptr;
    int count = 0;
    int unknown = kKeepWhenUnknown;
};

/// One row of a table.
struct Field
{
    /// The element's name and the widget's object name.
    const char* element;
    const Kind* kind;
    /// What \ref kRadios choose from.
    Choices choices = {};
    /// Object name of the check box whose state is the element's attribute "enabled"; null for none.
    const char* enabledBy = nullptr;
    /// Object name of the widget whose value is written where that is another than the one that is read to.
    const char* writtenFrom = nullptr;
    /// Whether the element is written at present; null means always.
    bool (*isWritten)(const QWidget* root) = nullptr;
};

/// A table, so that it can be handed on whole.
struct Fields
{
    template <int count>
    constexpr Fields(const Field (&rows)[count])
        : m_rows(rows)
        , m_count(count)
    {
    }
    const Field* begin() const { return m_rows; }
    const Field* end() const { return m_rows + m_count; }
    /// The number of the row with that element name (exact); -1 when there is none.
    int rowOf(const QString& element) const;

private:
    const Field* m_rows;
    int m_count;
};

/// An element that holds the elements of a table.
struct Section
{
    const char* element;
    Fields fields;
};

/// Appends \a section with its fields to \a parent, from the widgets below \a root. \return the new element.
QDomElement appendSection(QDomDocument& doc, QDomElement& parent, const Section& section,
                          const QWidget* root);
/// The first \a section anywhere below \a from; null when there is none.
QDomElement findSection(const QDomNode& from, const Section& section);
/// The text of the first child of \a section that one row of its table names; empty when there is none.
QString textOf(const QDomElement& section, const Field& field);
/// Sets the widgets below \a root from the first \a section anywhere below \a from.
void readSection(const QDomNode& from, const Section& section, QWidget* root);

/// Appends one element for each row to \a parent, in the table's order.
void write(QDomDocument& doc, QDomElement& parent, Fields fields, const QWidget* root);
/// Sets the widgets below \a root from the children of \a parent that the table names; a repeated child
/// overwrites the earlier one, others are skipped. \a parent may be null.
void read(const QDomElement& parent, Fields fields, QWidget* root);
/// Sets the widget of one row from its element.
void readField(const QDomElement& element, const Field& field, QWidget* root);

/// Hands each child of \a parent that the table names to \a visit(row, child), in document order.
template <class Visit>
void forEach(const QDomElement& parent, Fields fields, Visit visit)
{
    for (const QDomElement& child : KRXXml::childElements(parent)) {
        const int row = fields.rowOf(child.tagName());
        if (row >= 0)
            visit(row, child);
    }
}

/// The object of that name below \a root, or the one that a panel of that name holds. Tables name only what
/// has been built.
template <class Object>
Object* objectOf(const QWidget* root, const char* name)
{
    const QLatin1String wanted(name);
    Object* object = root->findChild<Object*>(wanted);
    if (!object) {
        const auto* panel = root->findChild<QWidget*>(wanted);
        object = panel ? panel->findChild<Object*>() : nullptr;
    }
    Q_ASSERT(object);
    return object;
}

/// The kind of value that \a get takes from an object and \a set puts into it.
template <class Object, QString (*get)(const Object*, const Field&),
          void (*set)(Object*, const Field&, const QString&)>
constexpr Kind bind(void (*addAttributes)(const QWidget*, const Field&, QDomElement&) = nullptr)
{
    return {[](const QWidget* root, const char* name, const Field& field) {
                return get(objectOf<Object>(root, name), field);
            },
            [](QWidget* root, const char* name, const Field& field, const QString& text) {
                set(objectOf<Object>(root, name), field, text);
            },
            addAttributes};
}

/// A check box: "true" or "false"; only exactly "true" reads as checked.
extern const Kind kCheck;
/// A check box: "TRUE" or "FALSE". Only "true" reads as checked, so that what is written reads as unchecked;
/// the service depends on the one and profiles of other writers on the other.
extern const Kind kUpperCaseCheck;
/// A button group: the value of the choice whose row is the checked button's id.
extern const Kind kRadios;
/// A line edit: its text.
extern const Kind kLineEdit;
// Combo boxes. What fits no item selects the first one.
/// The current text.
extern const Kind kComboText;
/// The current item's data, as a text.
extern const Kind kComboData;
/// The current item's data is written; what is read is looked up among the texts.
extern const Kind kComboDataByText;
/// The current item's data, a number. What is read and is no 32-bit unsigned number counts as 0.
extern const Kind kComboNumber;
/// The current index plus one. A text that is no number of an item selects nothing.
extern const Kind kComboIndex;

/// "true" or "false".
QString boolText(bool value);
/// Whether a stored text means true: only exactly "true" does.
bool isTrue(const QString& text);
/// Whether the attribute "enabled" of \a element means true.
bool isEnabled(const QDomElement& element);

/// Selects the item whose data is that number, else the first.
void selectNumber(QComboBox* box, quint32 number);
/// As selectNumber() for a number as it stands in a document; what is no 32-bit unsigned number counts as 0.
void selectNumber(QComboBox* box, const QString& text);
/// Selects the item whose data is that number; without one the selection stays. \return whether there is one.
bool selectNumberIfFound(QComboBox* box, qint64 number);

} // namespace KRXFields

#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QString>

class QCheckBox;
class QComboBox;
class QWidget;

/// How the option widgets of the actions and the elements of an activity are bound: an element is named after
/// its widget's object name, and one table per element that holds options drives writing and reading.
namespace OptionFields {

/// How a widget's value stands in its element.
enum class ValueKind {
    /// A check box: "true" or "false".
    Check,
    /// A combo box: its current display text.
    ComboText,
    /// A combo box: its current item's data, a number.
    ComboData,
    /// A CopyToPathWidget: its path.
    Path,
    /// A CodecBox: the compression id; attribute "name" has the codec's display text.
    Compression,
    /// As Compression, with what the host's media engine knows of the compression in further attributes.
    CompressionWithDescriptor,
};

/// One row of such a table.
struct Field
{
    /// The element's name and the widget's object name.
    const char* name;
    ValueKind kind;
    /// Object name of the check box whose state is the element's attribute "enabled"; null for none.
    const char* enabledBy = nullptr;
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
    /// The row of that name; null when there is none.
    const Field* find(const QString& name) const;

private:
    const Field* m_rows;
    int m_count;
};

/// Appends one element per row to \a parent, in the table's order, with the values of the widgets below
/// \a options.
void write(QDomDocument& doc, QDomElement& parent, Fields fields, const QWidget* options);
/// Sets the widgets below \a options from the child elements of \a parent that the table names; the others
/// are skipped.
void read(const QDomElement& parent, Fields fields, QWidget* options);
/// Sets the widget of one row from its element.
void readField(const QDomElement& element, const Field& field, QWidget* options);

/// "true" or "false".
QString boolText(bool value);
/// Whether a stored text means true: only exactly "true" does.
bool isTrue(const QString& text);

/// Selects the item with that display text (in any case), else the first.
void selectText(QComboBox* box, const QString& text);
/// Selects the item whose data is that number, else the first.
void selectNumber(QComboBox* box, quint32 number);
/// As selectNumber() for a number as it stands in a document; what is no 32-bit unsigned number counts as 0.
void selectNumber(QComboBox* box, const QString& text);
/// Selects the item whose data is that number; without one the selection stays. \return whether there is one.
bool selectNumberIfFound(QComboBox* box, qint64 number);

} // namespace OptionFields

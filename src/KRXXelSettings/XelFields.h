#pragma once

#include <QDomDocument>
#include <QDomElement>
#include <QString>

#include <cstddef>
#include <functional>
#include <vector>

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLineEdit;

/// Ties the widgets of the link-settings groups to the elements of a profile document. A group has one list
/// of fields that its writer and its reader share, and each kind of widget is bound by one function.
namespace XelFields {

/// One value of a group.
struct Field
{
    QString element;
    /// The text to write.
    std::function<QString()> value;
    /// Sets the widget from the text that was read.
    std::function<void(const QString&)> setValue;
    /// Whether the element is written at present; empty means always.
    std::function<bool()> isWritten = {};
};

using List = std::vector<Field>;

/// Appends one element for each field, in order.
void write(QDomDocument& doc, QDomElement& parent, const List& fields);
/// Hands each child of \a element to the field of that name; a repeated child overwrites the earlier one.
void read(const QDomElement& element, const List& fields);

/// The element that the plug-in and the link options share: the first "linkDetail" child of \a parent or a
/// new one, moved to the end of the children in either case. The service expects it behind whatever was
/// written in between.
QDomElement linkDetailAtEnd(QDomDocument& doc, QDomElement& parent);

/// One radio button: its English text and tooltip (may be null), and the text that stands for it in
/// documents.
struct RadioChoice
{
    const char* text;
    const char* toolTip;
    const char* value;
};

/// Texts that are none of the choices leave the buttons alone.
constexpr int kKeepWhenUnknown = -1;

/// The checked button of \a group, whose ids are rows of \a choices.
/// \param unknownChoice the row that every other text stands for, or \ref kKeepWhenUnknown.
Field bindRadios(const QString& element, QButtonGroup* group, const RadioChoice* choices, std::size_t count,
                 int unknownChoice = kKeepWhenUnknown);
template <std::size_t Count>
Field bindRadios(const QString& element, QButtonGroup* group, const RadioChoice (&choices)[Count],
                 int unknownChoice = kKeepWhenUnknown)
{
    return bindRadios(element, group, choices, Count, unknownChoice);
}

/// What of a combo box's item is written, and what the text that was read is compared with.
enum class ItemPart { Text, Data };
/// The current item of \a box; a text that fits no item selects the first one.
Field bindComboBox(const QString& element, QComboBox* box, ItemPart written, ItemPart matched);
/// The current index of \a box plus one. A text that is no number of an item selects nothing.
Field bindComboBoxNumber(const QString& element, QComboBox* box);
/// The text of \a edit.
Field bindLineEdit(const QString& element, QLineEdit* edit);
/// \a box as "TRUE" or "FALSE". Only "true" reads as checked, so that what is written reads as unchecked; the
/// service depends on the one and profiles of other writers on the other.
Field bindCheckBox(const QString& element, QCheckBox* box);

} // namespace XelFields

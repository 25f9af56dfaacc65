#pragma once

#include <QString>

class QCheckBox;
class QVBoxLayout;
class QWidget;

/// How the option widgets of the actions are built and laid out.
namespace OptionLayout {

/// The width in pixels that the editor, as it opens, leaves for options beside a vertical scroll bar.
constexpr int kRoom = 456;

/// A new option widget of that fixed height in pixels, without a parent, with an empty column as its layout.
QWidget* makeOptions(int height);
/// The column of makeOptions().
QVBoxLayout* columnOf(QWidget* options);
/// A check box with its object name, no wider than kRoom; texts localised, the tool tip may be empty.
QCheckBox* makeCheck(QWidget* parent, const char* name, const QString& text,
                     const QString& toolTip = QString());
/// Lets the lines of the finished options shrink, so that they fit the fixed height with large fonts too.
void allowCompactLines(QWidget* options);

} // namespace OptionLayout

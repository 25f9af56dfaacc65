#pragma once

#include "KRXFields.h"

#include <QString>

#include <initializer_list>

class QBoxLayout;
class QButtonGroup;
class QHBoxLayout;
class QVBoxLayout;
class QWidget;

/// How the link-settings groups are laid out, so that all of them look alike.
namespace XelLayout {

/// How far what belongs to the line above is moved in, in pixels.
constexpr int kIndent = 24;
/// Width of the boxes with frame rates and folder levels, in pixels.
constexpr int kNarrowBoxWidth = 180;

/// A group's own layout: top to bottom, narrow.
QVBoxLayout* makeColumn(QWidget* group);
/// Appends a panel with a layout of its own to \a layout.
/// \param objectName the element that the panel stands for. \param indent left margin in pixels.
QWidget* addPanel(QBoxLayout* layout, const QString& objectName, int indent = 0);
/// The layout of a panel that addPanel() made.
QVBoxLayout* panelLayout(QWidget* panel);
/// Appends a row of widgets to \a layout, kept at the left. \return the row, owned by \a layout.
QHBoxLayout* addRow(QBoxLayout* layout, std::initializer_list<QWidget*> widgets, int indent = 0);

/// Appends one radio button for each choice of \a field to \a layout.
/// \param checked the row that is checked at first.
/// \return the buttons, with their rows as ids and the field's name; owned by \a panel.
QButtonGroup* addRadios(QWidget* panel, QBoxLayout* layout, const KRXFields::Field& field, int checked);

} // namespace XelLayout

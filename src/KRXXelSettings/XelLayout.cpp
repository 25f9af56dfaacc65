#include "XelLayout.h"

#include "KRXText.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QRadioButton>
#include <QWidget>

namespace XelLayout {

namespace {

constexpr int kSpacing = 3;
constexpr int kGroupMargin = 3;
constexpr int kRowSpacing = 6;

} // namespace

QVBoxLayout* makeColumn(QWidget* group)
{
    auto* layout = new QVBoxLayout(group);
    layout->setContentsMargins(kGroupMargin, kGroupMargin, kGroupMargin, kGroupMargin);
    layout->setSpacing(kSpacing);
    return layout;
}

QWidget* addPanel(QBoxLayout* layout, const QString& objectName, int indent)
{
    auto* panel = new QWidget;
    panel->setObjectName(objectName);
    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(indent, 0, 0, 0);
    column->setSpacing(kSpacing);
    layout->addWidget(panel);
    return panel;
}

QVBoxLayout* panelLayout(QWidget* panel)
{
    return static_cast<QVBoxLayout*>(panel->layout());
}

QHBoxLayout* addRow(QBoxLayout* layout, std::initializer_list<QWidget*> widgets, int indent)
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(indent, 0, 0, 0);
    row->setSpacing(kRowSpacing);
    for (QWidget* widget : widgets)
        row->addWidget(widget);
    row->addStretch();
    layout->addLayout(row);
    return row;
}

QButtonGroup* addRadios(QWidget* panel, QBoxLayout* layout, const KRXFields::Field& field, int checked)
{
    auto* group = new QButtonGroup(panel);
    group->setObjectName(QLatin1String(field.element));
    int id = 0;
    for (const KRXFields::Choice& choice : field.choices) {
        auto* button = new QRadioButton(KRXText::localised(choice.text));
        if (choice.toolTip)
            button->setToolTip(KRXText::localised(choice.toolTip));
        button->setChecked(id == checked);
        layout->addWidget(button);
        group->addButton(button, id);
        ++id;
    }
    return group;
}

} // namespace XelLayout

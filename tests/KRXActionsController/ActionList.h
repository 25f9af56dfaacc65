#pragma once

#include "ActionTWidget.h"
#include "ActionTypeBox.h"
#include "ActionsWorld.h"
#include "IAction.h"
#include "KRXTwistWidget.h"
#include "ProfileActionsController.h"

#include <QDomDocument>
#include <QLabel>
#include <QString>
#include <QStringList>

#include <memory>

namespace ActionsWorld {

/// A list of actions in an editor of its own section, with a label above the rows as the editor has one.
class List
{
public:
    List()
        : section(std::make_unique<KRXTwistWidget>(&editor, QStringLiteral("Actions")))
        , controller(std::make_unique<ProfileActionsController>(section.get(), &editor))
    {
        section->addWidgetToBody(new QLabel(QStringLiteral("Drag to order:")), 0);
        editor.clearModified();
    }

    ActionTWidget* add(ActionType type, int number = 0)
    {
        auto* row = new ActionTWidget(section.get(), type, number ? number : controller->nextNumber(type));
        controller->addRow(row);
        return row;
    }

    void read(const QString& activities) { controller->readXml(document(profile(activities))); }
    static QString profile(const QString& activities)
    {
        return QStringLiteral("<profile><processDefinition><package><activities>%1</activities></package>"
                              "</processDefinition></profile>")
            .arg(activities);
    }

    /// The names of the activities in the order in which they are written.
    QStringList written()
    {
        QStringList names;
        for (QDomElement activity = activities().firstChildElement(); !activity.isNull();
             activity = activity.nextSiblingElement())
            names.append(activity.attribute(QStringLiteral("name")));
        return names;
    }
    QDomElement activities()
    {
        doc = QDomDocument();
        QDomElement root = doc.createElement(QStringLiteral("profile"));
        doc.appendChild(root);
        controller->writeXml(doc, root);
        return root.firstChildElement().firstChildElement().firstChildElement();
    }

    void select(ActionTWidget* row)
    {
        editor.setCurrentSelectedAction(row);
        row->setSelected(true);
    }
    ActionTypeBox* typeBox(ActionTWidget* row) { return row->findChild<ActionTypeBox*>(); }
    QStringList namesOfRows()
    {
        QStringList names;
        for (const ActionTWidget* row : controller->rows())
            names.append(row->getActionName());
        return names;
    }

    Editor editor;
    std::unique_ptr<KRXTwistWidget> section;
    std::unique_ptr<ProfileActionsController> controller;
    QDomDocument doc;
};

/// An activity without any content.
inline QString activity(const char* id, const QString& name)
{
    return QStringLiteral("<activity id=\"%1\" name=\"%2\"/>").arg(QLatin1String(id), name);
}

} // namespace ActionsWorld

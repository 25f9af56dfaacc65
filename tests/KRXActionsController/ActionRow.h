#pragma once

#include "ActionTWidget.h"
#include "ActionsWorld.h"
#include "CodecBox.h"
#include "IAction.h"
#include "KRXTwistWidget.h"

#include <QCheckBox>
#include <QComboBox>
#include <QString>
#include <QWidget>

namespace ActionsWorld {

/// One action in a row of an editor, with its option widgets by their names.
class ActionRow
{
public:
    explicit ActionRow(ActionType type, int number = 1)
        : row(new ActionTWidget(&section, type, number))
    {
        section.addSubTW(row, 0);
    }

    IAction& action() { return *row->getCurrentAction(); }
    QString written() { return ActionsWorld::written(action()); }
    quint32 read(const QString& activity)
    {
        const QDomDocument doc = document(activity);
        return action().readXml(doc.documentElement());
    }

    QCheckBox* check(const char* name) { return option<QCheckBox>(name); }
    QComboBox* box(const char* name) { return option<QComboBox>(name); }
    CodecBox* codec() { return option<CodecBox>("videoCompressionType"); }
    /// Selects by display text; a text that is not offered is a mistake of the test.
    void choose(const char* name, const QString& text)
    {
        const int index = box(name)->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (index < 0)
            qFatal("The box %s does not offer %s", name, qUtf8Printable(text));
        box(name)->setCurrentIndex(index);
    }
    template <class Widget>
    Widget* option(const char* name)
    {
        auto* widget = action().widget()->findChild<Widget*>(QLatin1String(name));
        if (!widget)
            qFatal("No option is named %s", name);
        return widget;
    }

    Editor editor;
    KRXTwistWidget section{&editor, QString()};
    ActionTWidget* row;
};

} // namespace ActionsWorld

#pragma once

#include "ActionList.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>

namespace ActionsWorld {

/// The events of a drag over a row. They go to the row itself: the application would send them to the row
/// that accepted the last drag to enter.
struct DragEvents
{
    explicit DragEvents(QMimeData* carried)
        : payload(carried)
    {
    }

    bool enter(QWidget* row)
    {
        QDragEnterEvent event(QPoint(5, 5), Qt::MoveAction, payload, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        send(row, event);
        return event.isAccepted();
    }
    void leave(QWidget* row)
    {
        QDragLeaveEvent event;
        send(row, event);
    }
    bool drop(QWidget* row)
    {
        QDropEvent event(QPointF(5, 5), Qt::MoveAction, payload, Qt::LeftButton, Qt::NoModifier);
        event.ignore();
        send(row, event);
        return event.isAccepted();
    }

    static void send(QObject* row, QEvent& event) { row->event(&event); }

    QMimeData* payload;
};

/// Three rows: Copy 1, Copy 2, Copy 3.
class ThreeRows : public List
{
public:
    ThreeRows()
    {
        for (int number = 1; number <= 3; ++number)
            rows.append(add(ActionType::Copy, number));
    }
    QList<int> order()
    {
        QList<int> numbers;
        for (const QString& name : written())
            numbers.append(name.mid(5).toInt());
        return numbers;
    }

    QList<ActionTWidget*> rows;
};

} // namespace ActionsWorld

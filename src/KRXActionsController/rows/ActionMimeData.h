#pragma once

#include "KRXExport.h"

#include <QMimeData>
#include <QPointer>

class ActionTWidget;

/// What a drag of an action row carries: the row. It has no formats; a drop is recognised by this class.
class KRX_EXPORT ActionMimeData : public QMimeData
{
    Q_OBJECT

public:
    /// \param row not owned.
    explicit ActionMimeData(ActionTWidget* row);
    ~ActionMimeData() override;

    /// The dragged row; null once it is gone.
    ActionTWidget* row() const;

private:
    QPointer<ActionTWidget> m_row;
};

#include "ActionMimeData.h"

#include "ActionTWidget.h"

ActionMimeData::ActionMimeData(ActionTWidget* row)
    : m_row(row)
{
}

ActionMimeData::~ActionMimeData() = default;

ActionTWidget* ActionMimeData::row() const
{
    return m_row;
}

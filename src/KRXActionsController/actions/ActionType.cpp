#include "ActionType.h"

#include "KRXText.h"

namespace {

struct TypeRow
{
    ActionType type;
    const char* id;
    const char* name;
};

// In the order of the types' values.
constexpr TypeRow kTypes[kActionTypeCount] = {
    {ActionType::Copy, "copy", QT_TRID_NOOP("Copy to Folder")},
    {ActionType::Consolidate, "consolidate", QT_TRID_NOOP("Consolidate")},
    {ActionType::Transcode, "transcode", QT_TRID_NOOP("Transcode")},
};

const TypeRow* findRow(ActionType type)
{
    for (const TypeRow& row : kTypes) {
        if (row.type == type)
            return &row;
    }
    return nullptr;
}

} // namespace

QString activityId(ActionType type)
{
    const TypeRow* row = findRow(type);
    return row ? QString::fromLatin1(row->id) : QString();
}

ActionType actionTypeFromId(const QString& id)
{
    for (const TypeRow& row : kTypes) {
        if (id == QLatin1String(row.id))
            return row.type;
    }
    return ActionType::Unknown;
}

QString actionTypeName(ActionType type)
{
    const TypeRow* row = findRow(type);
    return row ? KRXText::localised(row->name) : QString();
}

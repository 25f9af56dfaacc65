#pragma once

#include "KRXExport.h"

#include <QString>

/// What an action does. The values are those of the entries in a row's type box.
enum class ActionType : qint32 { Copy = 0, Consolidate = 1, Transcode = 2, Unknown = 3 };

/// How many types there are to choose from.
constexpr int kActionTypeCount = 3;

/// The id of an activity of that type in a profile; empty for Unknown.
KRX_EXPORT QString activityId(ActionType type);
/// The type of an activity with that id (exact); Unknown for any other text.
KRX_EXPORT ActionType actionTypeFromId(const QString& id);
/// The localised name of a type, as the type box shows it; empty for Unknown.
KRX_EXPORT QString actionTypeName(ActionType type);

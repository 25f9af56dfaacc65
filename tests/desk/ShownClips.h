#pragma once

#include "ServiceClip.h"

#include <QAbstractItemModel>
#include <QString>
#include <QStringList>

/// Clips as the desk shows them.
namespace ShownClips {

inline QString s(const char* text)
{
    return QString::fromUtf8(text);
}

inline ServiceClip clip(const char* id, ClipState state, const char* folder = "f1")
{
    ServiceClip clip;
    clip.id = s(id);
    clip.name = s(id) + s(".mov");
    clip.path = s("/in/") + clip.name;
    clip.folderId = s(folder);
    clip.state = state;
    clip.reason = s("because of ") + clip.id;
    clip.shownBy = s("job-") + clip.id;
    return clip;
}

inline ClipNews all(const QVector<ServiceClip>& clips)
{
    return {true, clips, clips.size()};
}

inline ClipNews some(const QVector<ServiceClip>& clips, int known)
{
    return {false, clips, known};
}

inline QStringList column(const QAbstractItemModel& model, int column)
{
    QStringList texts;
    for (int row = 0; row < model.rowCount(); ++row)
        texts << model.index(row, column).data().toString();
    return texts;
}

} // namespace ShownClips

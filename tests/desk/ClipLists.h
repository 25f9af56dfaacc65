#pragma once

#include <QByteArray>
#include <QString>

/// Lists of clips as a service sends them.
namespace ClipLists {

inline QByteArray clipXml(const char* id, const char* state)
{
    return QByteArray("<clip><id>") + id + "</id><name>" + id + ".mov</name><path>/in/" + id +
           ".mov</path><folderId>f1</folderId><state>" + state + "</state><reason>r</reason></clip>";
}

inline QByteArray listXml(int known, const QByteArray& clips, int version = 5)
{
    return "<clipList total=\"" + QByteArray::number(clips.count("<clip>")) + "\" known=\"" +
           QByteArray::number(known) + "\" version=\"" + QByteArray::number(version) + "\">" + clips +
           "</clipList>";
}
} // namespace ClipLists

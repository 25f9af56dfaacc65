#pragma once

#include <QByteArray>
#include <QObject>
#include <QVariant>

/// What folder and profile records have in common.
namespace KRXRecord {

/// Copies every dynamic property of \a from onto \a to. What \a to has beyond these stays as it was.
inline void copyProperties(const QObject& from, QObject& to)
{
    if (&from == &to)
        return;
    const auto names = from.dynamicPropertyNames();
    for (const QByteArray& name : names)
        to.setProperty(name.constData(), from.property(name.constData()));
}

} // namespace KRXRecord

#pragma once

#include "DeskApi.h"

#include <QDateTime>

#include <functional>
#include <limits>

/// Two clocks at one moment, in milliseconds. Moments are kept on the steady one and shown on the other as
/// that is set when they are shown, so that neither their order nor what lies between them depends on it.
struct KRX_DESK_API ClockReading
{
    /// Stands for a moment that nobody knows.
    static constexpr qint64 kUnknown = std::numeric_limits<qint64>::min();

    qint64 wall = 0;   ///< since 1970; is set now and then, by any amount
    qint64 steady = 0; ///< since whenever; only goes on

    static ClockReading now();
    /// \param moment by the clock on the wall as it is set now; one that lies ahead counts as now.
    /// \return the same by the steady clock; kUnknown for an invalid one.
    qint64 steadyOf(const QDateTime& moment) const;
    /// The other way round, in local time; invalid for kUnknown.
    QDateTime onTheWall(qint64 moment) const;
    /// The same for people: the time of day, and the date where that is not today's; empty for kUnknown.
    QString shown(qint64 moment) const;
};
using Clocks = std::function<ClockReading()>;

#include "ClockReading.h"

#include <QLocale>

#include <chrono>

ClockReading ClockReading::now()
{
    using namespace std::chrono;
    const auto steady = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    return {QDateTime::currentMSecsSinceEpoch(), steady};
}

qint64 ClockReading::steadyOf(const QDateTime& moment) const
{
    return moment.isValid() ? steady - qMax<qint64>(0, wall - moment.toMSecsSinceEpoch()) : kUnknown;
}

QDateTime ClockReading::onTheWall(qint64 moment) const
{
    return moment == kUnknown ? QDateTime() : QDateTime::fromMSecsSinceEpoch(wall - (steady - moment));
}

QString ClockReading::shown(qint64 moment) const
{
    const QDateTime time = onTheWall(moment);
    // Of what is days old nobody needs the seconds.
    return time.date() == onTheWall(steady).date() ? time.toString(QStringLiteral("HH:mm:ss"))
                                                   : QLocale().toString(time, QStringLiteral("d MMM HH:mm"));
}

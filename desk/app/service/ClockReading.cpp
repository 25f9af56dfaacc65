#include "ClockReading.h"

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

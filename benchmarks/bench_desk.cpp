#include "Bench.h"

#include <QProcess>
#include <QStringList>

namespace KRXBench {

namespace {

constexpr int kLongest = 300000; ///< milliseconds that one measure may take

/// The numbers that the desk's part prints.
QList<double> ask(const QStringList& arguments)
{
    QProcess desk;
    desk.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    desk.start(QStringLiteral(KRX_BENCH_DESK), arguments);
    if (!desk.waitForFinished(kLongest) || desk.exitCode() != 0)
        qFatal("the measure means nothing: krx-bench-desk failed");
    QList<double> numbers;
    for (const QByteArray& word : desk.readAllStandardOutput().simplified().split(' '))
        numbers << word.toDouble();
    return numbers;
}

} // namespace

void measureDesk(Table& table)
{
    for (const int count : {1000, 10000}) {
        const QList<double> numbers = ask({QStringLiteral("acquire"), QString::number(count)});
        Row& all = table.add(QStringLiteral("clips acquired by one click"), count, numbers.value(0), 0);
        all.must = count == 10000 ? QStringLiteral("<= 2000 ms") : QString();
        all.met = all.must.isEmpty() || all.ours <= 2000;
        Row& stall = table.add(QStringLiteral("longest stall meanwhile"), count, numbers.value(1), 0);
        stall.must = QStringLiteral("<= 100 ms");
        stall.met = stall.ours <= 100;
    }
    for (const int count : {1000, 10000}) {
        const QString number = QString::number(count);
        Row& rows = table.add(QStringLiteral("longest stall while the panel is refreshed"), count,
                              ask({QStringLiteral("refresh"), number}).value(0), 0);
        rows.must = QStringLiteral("<= 120 ms");
        rows.met = rows.ours <= 120;
        Row& jobs = table.add(QStringLiteral("longest stall while jobs are scrolled"), count,
                              ask({QStringLiteral("scroll"), number}).value(0), 0);
        jobs.must = QStringLiteral("<= 50 ms");
        jobs.met = jobs.ours <= 50;
    }
    const QList<double> late = ask({QStringLiteral("show"), QStringLiteral(KRX_SERVICE_PROGRAM)});
    Row& shown =
        table.add(QStringLiteral("change at the service until the desk shows it"), 1, late.value(0), 0);
    shown.must = QStringLiteral("<= 150 ms");
    shown.met = shown.ours <= 150;
}

} // namespace KRXBench

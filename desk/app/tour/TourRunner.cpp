#include "TourRunner.h"

#include "RealInput.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPixmap>
#include <QRegion>
#include <QScreen>
#include <QWidget>

#include <cstdio>

namespace {

constexpr int kBeat = 40;
/// Time for windows to paint and for effects to end before a picture is taken.
constexpr int kPaintTime = 350;
constexpr QRgb kBackground = 0xff8d949c;
constexpr double kMillisecondsPerSecond = 1000;

} // namespace

TourRunner::TourRunner(const QString& directory, QWidget* window, RealInput& input,
                       const std::function<void(bool)>& setDark, QObject* parent)
    : QObject(parent)
    , m_directory(directory)
    , m_window(window)
    , m_input(input)
    , m_setDark(setDark)
    , m_report(QDir(directory).filePath(QStringLiteral("tour.txt")))
{
    m_timer.setInterval(kBeat);
    connect(&m_timer, &QTimer::timeout, this, &TourRunner::tick);
}

void TourRunner::start()
{
    // Pictures of an earlier tour would pass for this one's.
    QDir directory(m_directory);
    const QStringList old = directory.entryList({QStringLiteral("[0-9][0-9]-*.png")}, QDir::Files);
    for (const QString& picture : old)
        directory.remove(picture);
    if (!m_report.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        fail(m_report.errorString());
        return;
    }
    m_sinceStart.start();
    m_sinceStep.start();
    enter(Phase::Before);
    m_timer.start();
}

void TourRunner::takePicture(const QString& name)
{
    QRegion covered = m_window->frameGeometry();
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (const QWidget* window : windows) {
        if (window->isVisible() && window->windowType() != Qt::Desktop)
            covered |= window->frameGeometry();
    }
    const QRect area = covered.boundingRect();
    QScreen* screen = m_window->screen();
    QPixmap picture = screen->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    // What lies beside the windows is none of ours.
    QPainter painter(&picture);
    painter.setClipRegion((QRegion(area) - covered).translated(-area.topLeft()));
    painter.fillRect(picture.rect(), kBackground);
    painter.end();
    const QString file = QStringLiteral("%1-%2.png").arg(++m_pictures, 2, 10, QLatin1Char('0')).arg(name);
    if (!picture.save(QDir(m_directory).filePath(file)))
        fail(QStringLiteral("the picture %1 cannot be written").arg(file));
}

void TourRunner::note(const QString& text)
{
    const QByteArray line = QString(text + QLatin1Char('\n')).toUtf8();
    std::fputs(line.constData(), stdout);
    std::fflush(stdout);
    m_report.write(line);
    m_report.flush();
}

void TourRunner::fail(const QString& reason)
{
    if (m_ended)
        return;
    m_ended = true;
    m_timer.stop();
    report(QStringLiteral("FAILED: %1").arg(reason));
    takePicture(QStringLiteral("failed"));
    emit finished(false);
}

void TourRunner::tick()
{
    if (m_ended)
        return;
    if (m_current >= m_steps.size()) {
        m_ended = true;
        m_timer.stop();
        note(QStringLiteral("All %1 steps held in %2 s.")
                 .arg(m_steps.size())
                 .arg(static_cast<double>(m_sinceStart.elapsed()) / kMillisecondsPerSecond, 0, 'f', 1));
        emit finished(true);
        return;
    }
    const TourStep& step = m_steps.at(m_current);
    switch (m_phase) {
    case Phase::Before:
        if (holds(step.before))
            enter(Phase::Settling);
        break;
    case Phase::Settling:
        if (!m_input.isSettled())
            break;
        enter(Phase::After);
        if (step.action)
            step.action();
        break;
    case Phase::After:
        if (holds(step.after))
            enter(Phase::Picture);
        break;
    case Phase::Picture:
    case Phase::DarkPicture:
        takePictureOfStep();
        break;
    }
}

void TourRunner::takePictureOfStep()
{
    const QString name = m_steps.at(m_current).picture;
    if (name.isEmpty()) {
        finishStep();
        return;
    }
    if (!m_sincePhase.hasExpired(kPaintTime))
        return;
    if (m_phase == Phase::Picture) {
        takePicture(name);
        m_setDark(true);
        enter(Phase::DarkPicture);
        return;
    }
    --m_pictures; // both pictures of a step have its number
    takePicture(QString(name + QLatin1String("-dark")));
    m_setDark(false);
    finishStep();
}

void TourRunner::enter(Phase phase)
{
    m_phase = phase;
    m_sincePhase.start();
}

void TourRunner::finishStep()
{
    if (m_ended)
        return;
    report(QStringLiteral("ok"));
    ++m_current;
    m_sinceStep.start();
    enter(Phase::Before);
}

bool TourRunner::holds(const TourStep::Condition& condition)
{
    if (!condition)
        return true;
    m_missing = condition();
    if (m_missing.isEmpty())
        return true;
    if (m_sincePhase.hasExpired(m_steps.at(m_current).patience))
        fail(m_missing);
    return false;
}

void TourRunner::report(const QString& result)
{
    const QString name = m_current < m_steps.size() ? m_steps.at(m_current).name : QString();
    const double seconds =
        m_sinceStep.isValid() ? static_cast<double>(m_sinceStep.elapsed()) / kMillisecondsPerSecond : 0;
    note(QStringLiteral("%1  %2 s  %3  %4")
             .arg(m_current + 1, 2, 10, QLatin1Char('0'))
             .arg(seconds, 6, 'f', 2)
             .arg(name, result));
}

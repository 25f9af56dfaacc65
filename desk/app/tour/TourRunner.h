#pragma once

#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVector>

#include <functional>

class RealInput;

/// Something to do and what must come of it.
struct TourStep
{
    /// Empty when it holds, else what is still missing, for the report.
    using Condition = std::function<QString()>;

    QString name;
    /// What must be so before the action can be done; may be empty.
    Condition before;
    /// May be empty. Must not wait: what it sets off is awaited by \ref after.
    std::function<void()> action;
    /// May be empty.
    Condition after;
    /// Name of the picture taken at the end; none when empty.
    QString picture;
    /// Milliseconds that each of the two conditions may take to hold.
    int patience = 30000;
};

/// Plays steps one after the other from a timer of the GUI thread, so that it goes on inside modal dialogs
/// and menus, and writes down what came of each.
class TourRunner : public QObject
{
    Q_OBJECT

public:
    /// \param directory where pictures and tour.txt go; it must exist. \param window what pictures are cut
    /// to. \param setDark switches between the two skins; every picture of a step is taken in both.
    TourRunner(const QString& directory, QWidget* window, RealInput& input,
               const std::function<void(bool)>& setDark, QObject* parent = nullptr);

    void add(const TourStep& step) { m_steps.append(step); }
    void start();
    /// Takes a numbered picture at once, in the skin of now, of the window and of whatever lies over it.
    void takePicture(const QString& name);
    /// Writes a line into the report.
    void note(const QString& text);
    /// Ends the tour as failed.
    void fail(const QString& reason);

signals:
    /// The last step held, or one did not.
    void finished(bool held);

private:
    enum class Phase { Before, Settling, After, Picture, DarkPicture };

    void tick();
    void enter(Phase phase);
    void finishStep();
    void takePictureOfStep();
    bool holds(const TourStep::Condition& condition);
    void report(const QString& result);

    QString m_directory;
    QWidget* m_window;
    RealInput& m_input;
    std::function<void(bool)> m_setDark;
    QFile m_report;
    QTimer m_timer;
    QVector<TourStep> m_steps;
    int m_current = 0;
    int m_pictures = 0;
    Phase m_phase = Phase::Before;
    QString m_missing;
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceStep;
    QElapsedTimer m_sincePhase;
    bool m_ended = false;
};

#pragma once

#include <QObject>

/// Ends the event loops of the program in good order when the system or a terminal tells it to end (SIGTERM,
/// SIGINT, SIGHUP). One at a time.
class QuitSignals : public QObject
{
    Q_OBJECT

public:
    explicit QuitSignals(QObject* parent = nullptr);
    ~QuitSignals() override;
};

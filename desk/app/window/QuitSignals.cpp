#include "QuitSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGTERM, SIGINT, SIGHUP};
enum End { ReadEnd, WriteEnd };

/// A handler may do next to nothing, but it may write a byte for the event loop to find.
int thePipe[2] = {-1, -1};

void handle(int)
{
    const char byte = 0;
    const ssize_t written = ::write(thePipe[WriteEnd], &byte, 1);
    static_cast<void>(written);
}

} // namespace

QuitSignals::QuitSignals(QObject* parent)
    : QObject(parent)
{
    if (::pipe2(thePipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto* notifier = new QSocketNotifier(thePipe[ReadEnd], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [notifier] {
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
    for (const int signal : kSignals)
        std::signal(signal, handle);
}

QuitSignals::~QuitSignals()
{
    for (const int signal : kSignals)
        std::signal(signal, SIG_DFL);
    for (int& end : thePipe) {
        if (end >= 0)
            ::close(end);
        end = -1;
    }
}

#include "app/DataLock.h"
#include "app/EndGuard.h"
#include "app/Entrances.h"
#include "app/Invariants.h"
#include "app/Routes.h"
#include "app/Service.h"
#include "app/Supervisor.h"
#include "app/VersionAnswer.h"
#include "base/Log.h"
#include "base/Options.h"
#include "client/Commands.h"
#include "confinement/Landlock.h"
#include "http/HttpListener.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace krxservice;
using Clock = std::chrono::steady_clock;

enum ExitCode { kDone = 0, kFailure = 1, kWrongUsage = 2, kInUse = 3 };

constexpr std::chrono::milliseconds kTimeToTell{300}; ///< for the last lines of the log
constexpr int kBeatsInInterval = 3;                   ///< signs of life in the time in which one is expected

/// Turns the signals that end or reload into something readable. Before any thread is started: they inherit
/// the mask.
int catchSignals()
{
    sigset_t caught;
    sigemptyset(&caught);
    sigaddset(&caught, SIGTERM);
    sigaddset(&caught, SIGINT);
    // Whoever was started to outlive the terminal has SIGHUP ignored.
    struct sigaction before
    {
    };
    if (::sigaction(SIGHUP, nullptr, &before) != 0 || before.sa_handler != SIG_IGN)
        sigaddset(&caught, SIGHUP);
    pthread_sigmask(SIG_BLOCK, &caught, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return ::signalfd(-1, &caught, SFD_CLOEXEC);
}

/// How the program learns that it is to end or to reload.
struct Signals
{
    int caught;    ///< readable when there is one
    bool attended; ///< SIGHUP means that a person's terminal was closed
};

int signalFrom(int caught)
{
    signalfd_siginfo information{};
    return ::read(caught, &information, sizeof information) == static_cast<ssize_t>(sizeof information)
               ? static_cast<int>(information.ssi_signo)
               : SIGTERM;
}

/// True when a person's terminal started the program, whose closing is then meant to end it.
bool hasTerminal()
{
    const int terminal = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal >= 0)
        ::close(terminal);
    return terminal >= 0;
}

void setUpLog(const Options& options)
{
    log::setLevel(static_cast<log::Level>(options.logLevel));
    if (const auto reason = log::setFile(options.logFile); !reason.empty())
        log::warning("no log file: " + reason);
}

/// Reads the configuration again and puts into force what can be changed while running.
void reload(const std::vector<std::string>& arguments, Options& options, HttpListener& listener)
{
    const auto fresh = Options::parse(arguments);
    if (!fresh)
        return log::warning("the configuration was not read again: " + fresh.refusal().text);
    const auto users = usersCalled(fresh->allowedUsers);
    if (!users)
        return log::warning("the configuration was not read again: " + users.refusal().text);
    setUpLog(*fresh);
    listener.setAllowed(*users);
    std::string later;
    for (std::size_t i = 0; i < fresh->shown.size(); ++i) {
        const auto& one = fresh->shown[i];
        const bool atOnce = one.name.rfind("log-", 0) == 0 || one.name == "allow-user";
        if (!atOnce && one.value != options.shown[i].value)
            later += (later.empty() ? "" : ", ") + one.name;
    }
    log::info("read the configuration again" +
              (later.empty() ? std::string() : "; changed at the next start only: " + later));
}

ServiceFacts factsOf(const HttpListener& listener, const Entrances& entrances, const Options& options,
                     Clock::time_point start)
{
    const RefusalCounts& counts = listener.refusals();
    return {KRX_VERSION,
            entrances.places(),
            options.dataFolder,
            std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start),
            listener.mostConnections(),
            counts.strangers,
            counts.unknown,
            counts.requests,
            counts.pushedOut,
            log::dropped(),
            Landlock::abi()};
}

/// Tells a service manager that all is well as long as the connections' thread answers.
void showSignsOfLife(QTimer& timer, HttpListener& listener)
{
    const auto interval = supervisor::watchdogInterval();
    if (interval.count() == 0)
        return;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&listener] {
        if (listener.beats())
            supervisor::notify("WATCHDOG=1");
    });
    timer.start(std::chrono::duration_cast<std::chrono::milliseconds>(interval / kBeatsInInterval));
}

/// Runs until a signal ends it.
void waitForTheEnd(const Signals& notices, QCoreApplication& application,
                   const std::function<void()>& onReload)
{
    QSocketNotifier notifier(notices.caught, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application, [&] {
        const int signal = signalFrom(notices.caught);
        if (signal == SIGHUP && !notices.attended)
            return onReload();
        log::info(signal == SIGHUP ? "ending, since the terminal was closed" : "ending");
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
}

int serve(const std::vector<std::string>& arguments, Options& options, std::vector<uid_t> users,
          const Signals& notices, QCoreApplication& application)
{
    const auto start = Clock::now();
    std::optional<EndGuard> ending; // outlives all that may hang
    DataLock lock;
    bool inUse = false;
    if (const auto reason = lock.acquire(options.dataFolder, inUse); !reason.empty()) {
        log::error(reason);
        return inUse ? kInUse : kFailure;
    }
    setUpLog(options);
    Service service(options);
    Routes routes(service);
    Entrances entrances;
    HttpListener* door = nullptr;
    HttpListener listener(
        [&](const RequestHead& head, const Target& target, const std::string& body) {
            const bool version = target.segments.size() == 1 && target.segments.front() == "version";
            return version ? versionAnswer(head.method, factsOf(*door, entrances, options, start))
                           : routes.handle(head, target, body);
        },
        std::move(users));
    door = &listener;
    if (const auto reason = entrances.open(listener, options, inUse); !reason.empty()) {
        log::error(reason);
        return inUse ? kInUse : kFailure;
    }
    service.start();
    listener.start();
    log::info("data in " + options.dataFolder);
    if (Landlock::abi() == 0)
        log::info(
            "this kernel has no Landlock, which would be one more wall around the programs that read media");
    std::printf("listening on %s\n", entrances.address().c_str());
    std::fflush(stdout);
    QTimer life;
    showSignsOfLife(life, listener);
    supervisor::notify("READY=1\nSTATUS=listening on " + entrances.address());
    waitForTheEnd(notices, application, [&] {
        supervisor::notify("RELOADING=1");
        reload(arguments, options, listener);
        supervisor::notify("READY=1");
    });
    ending.emplace(kDone);
    supervisor::notify("STOPPING=1");
    service.changes().endWaits();
    listener.stop();
    service.stop();
    return kDone;
}

/// Tells what does not agree in the data folder.
int check(const Options& options)
{
    DataLock lock;
    bool inUse = false;
    if (const auto reason = lock.acquire(options.dataFolder, inUse); !reason.empty()) {
        log::error(reason);
        return inUse ? kInUse : kFailure;
    }
    const auto faults = invariants::faultsIn(options.dataFolder);
    for (const auto& fault : faults)
        std::printf("%s\n", fault.c_str());
    std::printf("%zu faults\n", faults.size());
    return faults.empty() ? kDone : kFailure;
}

int refuse(const Refusal& refusal)
{
    std::fprintf(stderr, "krx-service: %s\n", refusal.text.c_str());
    return kWrongUsage;
}

} // namespace

int main(int argc, char** argv)
{
    // What the program makes for itself is its user's alone, whatever the umask says.
    ::umask(077);
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    auto options = Options::parse(arguments);
    if (!options)
        return refuse(options.refusal());
    switch (options->wish) {
    case Options::Wish::Help:
        std::fputs(Options::helpText().c_str(), stdout);
        return kDone;
    case Options::Wish::Version:
        std::printf("krx-service %s\n", KRX_VERSION);
        return kDone;
    case Options::Wish::PrintConfig:
        std::fputs(options->configText().c_str(), stdout);
        return kDone;
    case Options::Wish::Diagnose:
        if (const auto users = usersCalled(options->allowedUsers); !users)
            options->problems.push_back(users.refusal().text);
        return commands::diagnose(*options, KRX_VERSION);
    case Options::Wish::Command:
        return commands::run(*options, KRX_VERSION);
    case Options::Wish::Describe:
        std::fputs(Options::description(KRX_VERSION).c_str(), stdout);
        return kDone;
    case Options::Wish::Check:
    case Options::Wish::Run:
        break;
    }
    auto users = usersCalled(options->allowedUsers);
    if (!users)
        return refuse(users.refusal());
    // At once: when a terminal is closed it is too late to ask whether there was one.
    const Signals notices{catchSignals(), hasTerminal()};
    QCoreApplication application(argc, argv);
    int code = kFailure;
    try {
        code = options->wish == Options::Wish::Check
                   ? check(*options)
                   : serve(arguments, *options, std::move(*users), notices, application);
    } catch (const std::exception& failure) {
        log::error(failure.what());
    }
    log::flush(kTimeToTell);
    return code;
}

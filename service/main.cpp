#include "app/DataLock.h"
#include "app/Invariants.h"
#include "app/Routes.h"
#include "app/Service.h"
#include "base/Log.h"
#include "base/Options.h"
#include "http/HttpListener.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <sys/signalfd.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

enum ExitCode { kDone = 0, kFailure = 1, kWrongUsage = 2, kInUse = 3 };

/// Turns SIGTERM and SIGINT into something readable. Before any thread is started: they inherit the mask.
int catchSignals()
{
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGTERM);
    sigaddset(&endings, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    return signalfd(-1, &endings, SFD_CLOEXEC);
}

/// Ends the process when it does not come to its end by itself: a request or a look at a file may hang on a
/// dead volume for minutes. Nothing is lost by that, since whatever was under way is taken up as after a
/// crash.
class EndGuard
{
public:
    EndGuard()
        : m_thread([this] {
            std::unique_lock lock(m_mutex);
            if (m_done.wait_for(lock, kTimeToEnd, [this] { return m_isDone; }))
                return;
            krxservice::log::warning("some work does not come to its end and is taken up at the next start");
            std::_Exit(kDone);
        })
    {
    }
    ~EndGuard()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_isDone = true;
        }
        m_done.notify_one();
        m_thread.join();
    }
    EndGuard(const EndGuard&) = delete;
    EndGuard& operator=(const EndGuard&) = delete;

private:
    static constexpr std::chrono::milliseconds kTimeToEnd{1800};

    std::mutex m_mutex;
    std::condition_variable m_done;
    bool m_isDone = false;
    std::thread m_thread;
};

int serve(const krxservice::Options& options, int caught, QCoreApplication& application)
{
    using namespace krxservice;
    std::optional<EndGuard> ending; // outlives all that may hang
    DataLock lock;
    bool inUse = false;
    if (const auto reason = lock.acquire(options.dataFolder, inUse); !reason.empty()) {
        log::error(reason);
        return inUse ? kInUse : kFailure;
    }
    Service service(options);
    Routes routes(service);
    HttpListener listener([&routes](const RequestHead& head, const Target& target, const std::string& body) {
        return routes.handle(head, target, body);
    });
    std::string error;
    const int port = listener.bind(options.port, error, inUse);
    if (port == 0) {
        log::error(error);
        return inUse ? kInUse : kFailure;
    }
    service.start();
    listener.start();
    log::info("data in " + options.dataFolder);
    std::printf("listening on http://127.0.0.1:%d\n", port);
    std::fflush(stdout);

    QSocketNotifier notifier(caught, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &application,
                     [&application] { application.quit(); });
    QCoreApplication::exec();
    log::info("ending");
    ending.emplace();
    listener.stop();
    service.stop();
    return kDone;
}

/// Tells what does not agree in the data folder.
int check(const krxservice::Options& options)
{
    using namespace krxservice;
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

} // namespace

int main(int argc, char** argv)
{
    const auto options = krxservice::Options::parse(std::vector<std::string>(argv + 1, argv + argc));
    if (!options) {
        std::fprintf(stderr, "krx-service: %s\n", options.refusal().text.c_str());
        return kWrongUsage;
    }
    if (options->wish == krxservice::Options::Wish::Help) {
        std::fputs(krxservice::Options::helpText().c_str(), stdout);
        return kDone;
    }
    if (options->wish == krxservice::Options::Wish::Version) {
        std::printf("krx-service %s\n", KRX_VERSION);
        return kDone;
    }
    const int caught = catchSignals();
    QCoreApplication application(argc, argv);
    try {
        return options->wish == krxservice::Options::Wish::Check ? check(*options)
                                                                 : serve(*options, caught, application);
    } catch (const std::exception& failure) {
        krxservice::log::error(failure.what());
        return kFailure;
    }
}

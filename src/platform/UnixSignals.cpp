#include "platform/UnixSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace UnixSignals {
namespace {

int g_pipe[2] = { -1, -1 };

void onSignal(int signo)
{
    const char byte = char(signo);
    [[maybe_unused]] const ssize_t n = ::write(g_pipe[1], &byte, 1);
}

} // namespace

void quitOnTermination()
{
    std::signal(SIGPIPE, SIG_IGN);
    if (g_pipe[0] >= 0 || ::pipe2(g_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(g_pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [] {
        char buf[16];
        while (::read(g_pipe[0], buf, sizeof(buf)) > 0) { }
        QCoreApplication::quit();
    });
    struct sigaction sa {
    };
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    sigaction(SIGINT, &sa, nullptr);
    sigaction(SIGTERM, &sa, nullptr);
}

} // namespace UnixSignals

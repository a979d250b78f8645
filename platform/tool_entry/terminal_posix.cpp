// The terminal off Windows. The handler of the signals only stores a number.

#include "platform/tool_entry/terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <initializer_list>

namespace kvtterminal {

namespace {

volatile int g_interrupted = 0;

void Interrupt(int) {
    g_interrupted = 1;
}

}  // namespace

bool ErrorsAreSeen() {
    return ::isatty(STDERR_FILENO) != 0;
}

int Width() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0 ? size.ws_col : 80;
}

InterruptGuard::InterruptGuard() {
    g_interrupted = 0;
    struct sigaction action {};
    action.sa_handler = Interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
}

InterruptGuard::~InterruptGuard() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        ::signal(signal, SIG_DFL);
    }
}

const volatile int* InterruptGuard::Flag() const {
    return &g_interrupted;
}

}  // namespace kvtterminal

// The terminal off Windows. The handler of the signals only stores a number.

#include "platform/tool_entry/terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>

namespace kvtterminal {

namespace {

constexpr std::array kSignals = {SIGINT, SIGTERM, SIGHUP};

volatile int g_interrupted = 0;
std::array<struct sigaction, kSignals.size()> g_before;

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
    for (size_t i = 0; i < kSignals.size(); ++i) {
        ::sigaction(kSignals[i], nullptr, &g_before[i]);
        // What whoever started the process has it ignore stays ignored.
        if (g_before[i].sa_handler != SIG_IGN) {
            ::sigaction(kSignals[i], &action, nullptr);
        }
    }
}

InterruptGuard::~InterruptGuard() {
    for (size_t i = 0; i < kSignals.size(); ++i) {
        ::sigaction(kSignals[i], &g_before[i], nullptr);
    }
}

const volatile int* InterruptGuard::Flag() const {
    return &g_interrupted;
}

}  // namespace kvtterminal

// The console of Windows. Its handler runs on a thread of its own and only stores a number.

#include "platform/tool_entry/terminal.h"

#include <windows.h>

namespace kvtterminal {

namespace {

volatile int g_interrupted = 0;

BOOL WINAPI Interrupt(DWORD) {
    // The second request goes on to the system's own handler, which ends the process.
    const BOOL first = g_interrupted == 0;
    g_interrupted = 1;
    return first;
}

}  // namespace

bool ErrorsAreSeen() {
    DWORD mode = 0;
    return ::GetConsoleMode(::GetStdHandle(STD_ERROR_HANDLE), &mode) != 0;
}

int Width() {
    CONSOLE_SCREEN_BUFFER_INFO info;
    const bool known = ::GetConsoleScreenBufferInfo(::GetStdHandle(STD_ERROR_HANDLE), &info) != 0;
    return known ? info.srWindow.Right - info.srWindow.Left + 1 : 80;
}

InterruptGuard::InterruptGuard() {
    g_interrupted = 0;
    ::SetConsoleCtrlHandler(Interrupt, TRUE);
}

InterruptGuard::~InterruptGuard() {
    ::SetConsoleCtrlHandler(Interrupt, FALSE);
}

const volatile int* InterruptGuard::Flag() const {
    return &g_interrupted;
}

}  // namespace kvtterminal

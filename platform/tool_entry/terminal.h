#pragma once

// What a command that runs for long needs of its terminal.

namespace kvtterminal {

/// Whether standard error goes to a terminal.
bool ErrorsAreSeen();

/// Columns of that terminal; 80 when it does not tell.
int Width();

/// While it lives, the first Ctrl-C (or other request to end) raises a flag in place of ending the process; the second
/// ends it. One at a time.
class InterruptGuard {
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

    /// Non-zero once the end was asked for.
    const volatile int* Flag() const;
};

}  // namespace kvtterminal

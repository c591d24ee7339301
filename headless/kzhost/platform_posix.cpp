#include "headless/kzhost/platform.h"
#include "headless/kzhost/script_call.h"

#include <execinfo.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace KzHost {

namespace {

constexpr int crashes[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
struct sigaction formerActions[std::size(crashes)];
std::array<void*, 16> calls; // global, because a signal handler must not allocate

void print(const char* text) {
    static_cast<void>(!write(STDERR_FILENO, text, std::strlen(text)));
}

/// Also prints the library of each call, which identifies the module that crashed.
void onCrash(int signal) {
    if (const char* const client = runningClient()) {
        print("kzhost: crashed in the client ");
        print(client);
        print("\n");
    }
    print("kzhost: crashed in these calls, the innermost first:\n");
    backtrace_symbols_fd(calls.data(), backtrace(calls.data(), static_cast<int>(calls.size())),
                         STDERR_FILENO);
    // Raised again when the handler has returned, so that the signal ends the process as without a handler.
    for (std::size_t at = 0; at < std::size(crashes); ++at) {
        sigaction(crashes[at], &formerActions[at], nullptr);
    }
    raise(signal);
}

} // namespace

std::string programFolder() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? "." : program.parent_path().string(); // fallback: the working folder
}

bool isInputTyped() {
    return isatty(STDIN_FILENO) != 0;
}

void handleSignals() {
    std::signal(SIGPIPE, [](int) {});              // not SIG_IGN, which child processes would inherit
    static_cast<void>(backtrace(calls.data(), 1)); // now, because the first call allocates
    static char stack[1 << 16];                    // the normal stack may have overflowed
    const stack_t ownStack = {stack, 0, sizeof stack};
    sigaltstack(&ownStack, nullptr);
    struct sigaction action {};
    action.sa_handler = onCrash;
    action.sa_flags = SA_ONSTACK;
    for (std::size_t at = 0; at < std::size(crashes); ++at) {
        sigaction(crashes[at], &action, &formerActions[at]);
    }
}

} // namespace KzHost

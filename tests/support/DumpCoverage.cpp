// Part of every program and of every shared library of a coverage build: writes what was covered
// when the process ends in a way that the compiler's own code does not notice (quick_exit, _Exit,
// SIGABRT), as most that use the section manager do. Each library counts, and dumps, for itself.

#include <unistd.h>

#include <csignal>
#include <cstdlib>

extern "C" void __gcov_dump();

namespace {

struct sigaction s_before;
const pid_t s_process = ::getpid();

// Not in a forked child, where another thread of its parent may have had the dump's lock.
void Dump() {
    if (::getpid() == s_process) {
        __gcov_dump();
    }
}

void DumpAndGoOn(int signal) {
    Dump();
    if (s_before.sa_handler != SIG_DFL && s_before.sa_handler != SIG_IGN) {
        s_before.sa_handler(signal);  // another library's
    }
}  // back into abort(), which ends the process

[[gnu::constructor]] void DumpAtEveryEnd() {
    std::at_quick_exit(Dump);
    struct sigaction action {};
    action.sa_handler = DumpAndGoOn;
    ::sigaction(SIGABRT, &action, &s_before);
}

}  // namespace

// In the place of _Exit: what that leaves out is what quick_exit calls.
extern "C" void __wrap__Exit(int status) {
    std::quick_exit(status);
}

// Linked into every program and shared library of a coverage build. It writes the coverage when the
// process ends by quick_exit, _Exit or SIGABRT, which the compiler's own code does not notice. Most
// processes that use the section manager end so. Each library counts its own lines and writes them
// itself.

#include <unistd.h>

#include <csignal>
#include <cstdlib>

extern "C" void __gcov_dump();

namespace {

struct sigaction s_before;
const pid_t s_process = ::getpid();

// A forked child does not write: in the parent another thread may have held the lock when it was
// forked.
void Dump() {
    if (::getpid() == s_process) {
        __gcov_dump();
    }
}

void DumpAndGoOn(int signal) {
    Dump();
    if (s_before.sa_handler != SIG_DFL && s_before.sa_handler != SIG_IGN) {
        s_before.sa_handler(signal);  // the handler of another library
    }
}  // back into abort(), which ends the process

[[gnu::constructor]] void DumpAtEveryEnd() {
    std::at_quick_exit(Dump);
    struct sigaction action {};
    action.sa_handler = DumpAndGoOn;
    ::sigaction(SIGABRT, &action, &s_before);
}

}  // namespace

// Replaces _Exit: calls the handlers that quick_exit would call.
extern "C" void __wrap__Exit(int status) {
    std::quick_exit(status);
}

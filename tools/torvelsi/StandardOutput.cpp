#include "tools/torvelsi/StandardOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>

namespace tool {

namespace {

using Clock = std::chrono::steady_clock;

/// One of the two descriptors.
struct Stream {
    int descriptor;
    std::atomic<Clock::rep> since{0};  ///< when the write in progress began; 0: there is none
};
Stream s_output{STDOUT_FILENO};
Stream s_errors{STDERR_FILENO};

bool IsFile(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// Writes everything, or returns how much was written before the error in errno.
ssize_t Write(void* cookie, const char* bytes, std::size_t size) {
    auto& output = *static_cast<Stream*>(cookie);
    // A reader that goes on, however slowly, soon makes room for a piece of this size in a pipe.
    const std::size_t piece = IsFile(output.descriptor) ? size : PIPE_BUF;
    std::size_t done = 0;
    while (done < size) {
        output.since = Clock::now().time_since_epoch().count();
        const ssize_t count =
            ::write(output.descriptor, bytes + done, std::min(size - done, piece));
        output.since = 0;
        if (count >= 0) {
            done += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            break;
        }
    }
    return static_cast<ssize_t>(done);
}

/// Leaves the stream as it is when there is no memory for another one.
void Watch(Stream& output, std::FILE*& stream, int buffering) {
    cookie_io_functions_t functions{};
    functions.write = Write;
    if (std::FILE* const watched = ::fopencookie(&output, "w", functions)) {
        std::setvbuf(watched, nullptr, buffering, BUFSIZ);
        stream = watched;
    }
}

}  // namespace

void WatchOutput() {
    Watch(s_output, stdout, ::isatty(STDOUT_FILENO) != 0 ? _IOLBF : _IOFBF);
    Watch(s_errors, stderr, _IONBF);
}

std::chrono::milliseconds OutputStall() {
    Clock::duration longest{0};
    for (const Stream* const output : {&s_output, &s_errors}) {
        if (const Clock::rep since = output->since; since != 0) {
            longest = std::max(longest, Clock::now().time_since_epoch() - Clock::duration(since));
        }
    }
    return std::chrono::duration_cast<std::chrono::milliseconds>(longest);
}

}  // namespace tool

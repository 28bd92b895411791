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

/// Standard output or standard error.
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

/// Writes all bytes. On an error it returns how many were written before; errno has the error.
ssize_t Write(void* cookie, const char* bytes, std::size_t size) {
    auto& output = *static_cast<Stream*>(cookie);
    // A pipe is written in small pieces: even a slow reader soon makes room for one, so only a
    // reader that has stopped makes a write take long.
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

/// Replaces `stream` by one whose writes are timed. Without memory for it, `stream` stays.
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

#include "softplatform/log/PlatformLog.h"

#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "platform/Log.h"
#include "softplatform/base/Mutex.h"

namespace tvservice {

namespace {

std::atomic<int> g_lowestPriority{LOG_PRIORITY_WARNING};

// Without a receiver no lock is taken. So a child process that is forked while another thread
// writes a line can still write to the log.
std::atomic<bool> g_hasReceiver{false};
constinit Mutex g_receiverMutex;
LogReceiver* g_receiver TV_GUARDED_BY(g_receiverMutex) = nullptr;
static_assert(std::is_trivially_destructible_v<Mutex>);

char PriorityLetter(int priority) {
    constexpr char kLetters[] = {'D', 'I', 'W', 'E'};
    return kLetters[std::clamp(priority, 3, 6) - 3];
}

// Removes the escape sequences that set colours (ESC [ numbers m) from `size` bytes. Returns how
// many bytes are left.
size_t StripColours(char* text, size_t size) {
    size_t kept = 0;
    for (size_t at = 0; at < size;) {
        if (text[at] == '\033' && at + 1 < size && text[at + 1] == '[') {
            size_t end = at + 2;
            while (end < size && ((text[end] >= '0' && text[end] <= '9') || text[end] == ';')) {
                ++end;
            }
            if (end < size && text[end] == 'm') {
                at = end + 1;
                continue;
            }
        }
        text[kept++] = text[at++];
    }
    return kept;
}

// Writes all pieces with one call, so that lines of several threads and processes do not mix.
void WriteToStderr(std::array<iovec, 5> pieces) {
    size_t next = 0;
    while (next < pieces.size()) {
        const ssize_t written =
            ::writev(STDERR_FILENO, pieces.data() + next, static_cast<int>(pieces.size() - next));
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return;
        }
        size_t left = static_cast<size_t>(written);
        while (next < pieces.size() && left >= pieces[next].iov_len) {
            left -= pieces[next++].iov_len;
        }
        if (left > 0) {
            pieces[next].iov_base = static_cast<char*>(pieces[next].iov_base) + left;
            pieces[next].iov_len -= left;
        }
    }
}

iovec Piece(const char* text, size_t size) {
    return {const_cast<char*>(text), size};
}

void PrintLine(int priority, const char* tag, char* line) {
    size_t size = std::strlen(line);
    if (::isatty(STDERR_FILENO) == 0) {
        size = StripColours(line, size);
    }
    const char start[2] = {PriorityLetter(priority), ' '};
    WriteToStderr({Piece(start, 2), Piece(tag, std::strlen(tag)), Piece(": ", 2), Piece(line, size),
                   Piece("\n", 1)});
}

// Returns false when there is no receiver.
bool CallReceiver(int bufferId, int priority, const char* tag, const char* line) {
    MutexLock lock(g_receiverMutex);
    if (g_receiver == nullptr) {
        return false;
    }
    (*g_receiver)(bufferId, priority, tag, line);
    return true;
}

}  // namespace

void ReplaceLogReceiver(LogReceiver receiver) {
    auto* const next = receiver ? new LogReceiver(std::move(receiver)) : nullptr;
    std::unique_ptr<LogReceiver> previous;
    MutexLock lock(g_receiverMutex);
    previous.reset(std::exchange(g_receiver, next));
    g_hasReceiver.store(next != nullptr, std::memory_order_release);
}

void SetLowestLogPriority(int lowest) {
    g_lowestPriority.store(lowest, std::memory_order_relaxed);
}

}  // namespace tvservice

int LOG(int bufferId, int priority, const char* tag, const char* format, ...) {
    using namespace tvservice;
    if (priority < g_lowestPriority.load(std::memory_order_relaxed)) {
        return 0;
    }
    const int callersErrno = errno;

    char onStack[1024];
    std::unique_ptr<char[]> onHeap;
    char* line = onStack;
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(onStack, sizeof(onStack), format, arguments);
    va_end(arguments);
    if (length < 0) {
        std::snprintf(onStack, sizeof(onStack), "%s", format);  // better than no line
    } else if (static_cast<size_t>(length) >= sizeof(onStack)) {
        const size_t size = static_cast<size_t>(length) + 1;
        onHeap.reset(new (std::nothrow) char[size]);
        if (onHeap != nullptr) {
            line = onHeap.get();
            va_start(arguments, format);
            std::vsnprintf(line, size, format, arguments);
            va_end(arguments);
        }
    }

    if (!g_hasReceiver.load(std::memory_order_acquire) ||
        !CallReceiver(bufferId, priority, tag, line)) {
        PrintLine(priority, tag, line);
    }
    errno = callersErrno;
    return 0;
}

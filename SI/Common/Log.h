#pragma once

#include "platform/Log.h"

// How the SI layer writes to the platform log. Every line goes to buffer 0 with the tag "TORVEL"
// and begins with the source file, the function and the line that wrote it. These macros add all of
// that, so no other file of SI/ calls LOG.
//
// `format` is a string literal, but for SI_LOG_FORMAT. It is joined to the prefix into one literal,
// so that the compiler still checks the arguments against it.

/// What every format begins with: source file, function, line.
#define SI_LOG_PREFIX "%s: %s(%d) > "

/// Logs with the number of the line where the macro stands.
#define SI_LOG(priority, format, ...) \
    SI_LOG_LINE(__LINE__, priority, format __VA_OPT__(, ) __VA_ARGS__)

/// Logs with a fixed line number. People who read receivers' logs know the lines of the section
/// manager, the NIT and BAT parsers and the descriptor records by their numbers, so those stay the
/// same when the source moves.
#define SI_LOG_LINE(number, priority, format, ...) \
    SI_LOG_FORMAT(number, priority, SI_LOG_PREFIX format __VA_OPT__(, ) __VA_ARGS__)

/// The same with a format that comes from a table: a whole one, with SI_LOG_PREFIX.
#define SI_LOG_FORMAT(number, priority, format, ...) \
    LOG(0, priority, "TORVEL", format, __FILE_NAME__, __func__, number __VA_OPT__(, ) __VA_ARGS__)

/// Logs for a helper whose line has to name the place of its caller: `place` is a `LogPlace`.
#define SI_LOG_AT(place, priority, format, ...)                                      \
    LOG(0, priority, "TORVEL", SI_LOG_PREFIX format, (place).file, (place).function, \
        (place).line __VA_OPT__(, ) __VA_ARGS__)

/// The `LogPlace` where the macro stands; `number` is `__LINE__` or a fixed number, see
/// SI_LOG_LINE.
#define SI_LOG_PLACE(number) (::TORVEL_MW::LogPlace{__FILE_NAME__, __func__, (number)})

namespace TORVEL_MW {

/// The place in the source that a log line names.
struct LogPlace {
    const char* file;
    const char* function;
    int line;
};

}  // namespace TORVEL_MW

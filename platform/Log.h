#pragma once

#include "Export.h"

/// Priorities of the platform log, in rising order of urgency.
enum ELogPriority {
    LOG_PRIORITY_DEBUG = 3,    ///< traces
    LOG_PRIORITY_INFO = 4,     ///< expected events
    LOG_PRIORITY_WARNING = 5,  ///< unexpected events that are not failures
    LOG_PRIORITY_ERROR = 6     ///< failures
};

/// Writes one line to the platform log.
///
/// @param bufferId  the log buffer; the SI layer always writes to buffer 0
/// @param priority  3 (debug) to 6 (error), see `ELogPriority`; the SI layer uses no others
/// @param tag       a short name of the writer, never null; the SI layer passes "TORVEL"
/// @param format    a printf format, then its arguments. It does not end in a newline, but it may
///                  contain newlines and ANSI colour escapes
/// @return any integer; the SI layer ignores it
///
/// May be called on any thread, while the caller holds locks, and while the process ends. Therefore
/// it must not call the SI layer. The strings are borrowed for the call.
TVSERVICE_API int LOG(int bufferId, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

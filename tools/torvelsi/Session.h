#pragma once

#include <string>

namespace tool {

/// Makes SIGINT and SIGTERM end the source that plays instead of the process. A second signal ends
/// the process at once. The first one does too, within a second, when nobody reads what the tool
/// writes. Call it on the main thread before any other thread starts.
void CatchInterrupts();

/// Lets a mapped file that becomes shorter fail instead of ending the process (SIGBUS).
void SurviveMappedFiles();

/// Whether a signal has asked for the end.
bool Interrupted();

/// After an input was played: prints an error line when no packets were found in it, and one when
/// its packets have another size than the faults on packets that were asked for assume.
void WarnAboutInput();

/// Writes one error line, "torvelsi: ...", to standard error. Control characters in it are shown as
/// numbers (`Printable`).
void PrintError(const std::string& line);

}  // namespace tool

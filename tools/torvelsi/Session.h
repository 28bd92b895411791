#pragma once

#include <string>

namespace tool {

/// Makes SIGINT and SIGTERM end the playing source instead of the process. A second signal ends the
/// process at once. If the tool's output cannot be written because its reader has stopped, the
/// first signal ends the process too, within a second. Call it on the main thread before any other
/// thread starts.
void CatchInterrupts();

/// Installs a SIGBUS handler. When a mapped file becomes shorter while it is read, the source then
/// ends with an error; without the handler the process would be killed.
void SurviveMappedFiles();

/// Whether SIGINT or SIGTERM has come.
bool Interrupted();

/// Call it after an input was played. Prints an error line when no packets were found, and one when
/// faults were injected into packets that are larger than the 188 bytes that the faults assume.
void WarnAboutInput();

/// Writes one error line, "torvelsi: ...", to standard error. Control characters in it are shown as
/// numbers (`Printable`).
void PrintError(const std::string& line);

}  // namespace tool

#pragma once

#include <string>

#include "softplatform/service/SoftwarePlatform.h"

namespace tool {

/// Opens what the user named: what `tvservice::OpenSource` knows, or "demo:" (optionally
/// "demo:SCENARIO", see `torvelsi generate --list`).
/// @param error  on failure receives one line that names the input and why
/// @return null on failure
tvservice::SourcePtr OpenInput(const std::string& input, const tvservice::SourceOptions& options,
                               std::string& error);

/// What INPUT may be, for help texts.
extern const char* const kInputHelp;

/// Makes SIGINT and SIGTERM end the source that plays instead of the process; a second one ends the
/// process at once. Call it on the main thread before any other thread starts.
void CatchInterrupts();

/// True once a signal has asked for the end.
bool Interrupted();

/// Tells of an input that was played and in which there was nothing like a transport stream, or
/// whose packets are not what faults on packets take them for.
void SayWhatIsAmiss();

/// Writes one error line, "torvelsi: ...", to standard error, `Printable` whatever it quotes.
void PrintError(const std::string& line);

}  // namespace tool

#pragma once

#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "softplatform/service/SoftwarePlatform.h"

namespace tool {

/// The arguments of every command that plays an input: the input, how to read it, and the receiver
/// that it is played on.
struct ReceiverOptions {
    std::string input;
    tvservice::SourceOptions reading;
    tvservice::Config receiver;
};

/// Adds INPUT and the options to a command. The result is filled when the command line is parsed.
std::shared_ptr<ReceiverOptions> AddReceiverOptions(CLI::App& command);

/// Opens the input and starts the receiver. From now on SIGINT and SIGTERM end the playing source
/// (CatchInterrupts). Call it once, on the main thread, before any other thread starts.
///
/// @param source  receives the input
/// @return an `ExitCode`; after anything but `kDone` the error has been printed
int OpenAndStart(const ReceiverOptions& options, tvservice::SourcePtr& source);

}  // namespace tool

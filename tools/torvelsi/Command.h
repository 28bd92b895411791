#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace tool {

/// Adds a subcommand to the command line. When it is the one that was called, `run` is set to what
/// it does; that returns an `ExitCode`.
using Run = std::function<int()>;

void AddScanCommand(CLI::App& app, Run& run);
void AddSectionsCommand(CLI::App& app, Run& run);
void AddGenerateCommand(CLI::App& app, Run& run);
void AddDecodeCommand(CLI::App& app, Run& run);
void AddEncodeCommand(CLI::App& app, Run& run);

}  // namespace tool

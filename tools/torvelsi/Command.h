#pragma once

#include <CLI/App.hpp>
#include <functional>

namespace tool {

/// Adds a subcommand to the command line. If the user called this subcommand, parsing sets `run` to
/// a function that executes it and returns an `ExitCode`. `run` must outlive `app`.
using Run = std::function<int()>;

void AddScanCommand(CLI::App& app, Run& run);
void AddSectionsCommand(CLI::App& app, Run& run);
void AddGenerateCommand(CLI::App& app, Run& run);
void AddDecodeCommand(CLI::App& app, Run& run);
void AddEncodeCommand(CLI::App& app, Run& run);

}  // namespace tool

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>
#include <string>

#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Session.h"
#include "tools/torvelsi/StandardOutput.h"

namespace {

/// Prints what CLI11 returns in place of a parsed command line: help, or an error that may quote
/// the command line.
int PrintInstead(const CLI::App& app, const CLI::Error& error) {
    std::ostringstream help, objection;
    if (app.exit(error, help, objection) == 0) {
        fmt::print("{}", help.str());
        return tool::kDone;
    }
    std::istringstream lines(objection.str());
    std::string line;
    std::getline(lines, line);
    tool::PrintError(line);
    while (std::getline(lines, line)) {
        fmt::print(stderr, "{}\n", tool::Printable(line));
    }
    return tool::kUsage;
}

int RunTool(int argc, char** argv) {
    CLI::App app("Reads the service information of a digital-television multiplex.", "torvelsi");
    app.set_version_flag("--version", TORVELSI_VERSION);
    app.require_subcommand(1);
    app.fallthrough();  // allows --log-level after the command
    app.footer(
        "Data goes to standard output; progress and the log go to standard error.\n"
        "Exit status: 0 done, 1 wrong usage or a filter refused, 2 the input cannot be read, the\n"
        "output cannot be written or memory has run out, 3 incomplete or timed out.");
    std::string logLevel = "off";
    app.add_option("--log-level", logLevel,
                   "The lowest level of log lines to show: debug, info, warning, error, off")
        ->capture_default_str();
    tool::Run run;
    tool::AddScanCommand(app, run);
    tool::AddSectionsCommand(app, run);
    tool::AddGenerateCommand(app, run);
    tool::AddDecodeCommand(app, run);
    tool::AddEncodeCommand(app, run);
    try {
        app.parse(argc, argv);
        tvservice::SetLogPriority(tool::ParseLogLevel(logLevel));
    } catch (const CLI::RequiredError& error) {
        if (app.get_subcommands().empty() && !app.remaining().empty()) {
            tool::PrintError(fmt::format("'{}' is not a command; see torvelsi --help",
                                         tool::Printable(app.remaining().front())));
            return tool::kUsage;
        }
        return PrintInstead(app, error);
    } catch (const CLI::ParseError& error) {
        return PrintInstead(app, error);
    } catch (const std::invalid_argument& error) {
        tool::PrintError(error.what());
        return tool::kUsage;
    }
    return run();
}

/// The new-handler: runs on the thread whose allocation failed, and ends the process.
[[noreturn]] void LeaveWithoutMemory() {
    constexpr char kLine[] = "torvelsi: out of memory\n";
    static_cast<void>(!::write(STDERR_FILENO, kLine, sizeof(kLine) - 1));
    std::_Exit(tool::kUnreadable);
}

/// Opens standard descriptors that are closed, because otherwise the next file that is opened would
/// get their number. Input is opened for writing only and output for reading only, so that using
/// them fails. Standard error is opened so that its text is dropped.
void OpenClosedStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0) {
            // open returns the lowest free number, which is this one.
            static_cast<void>(
                ::open("/dev/null", descriptor == STDOUT_FILENO ? O_RDONLY : O_WRONLY));
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::set_new_handler(LeaveWithoutMemory);
    OpenClosedStandardDescriptors();
    tool::WatchOutput();
    int status = tool::kUnreadable;
    try {
        status = RunTool(argc, argv);
    } catch (const std::exception& error) {
        tool::PrintError(error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        tool::PrintError("standard output cannot be written");
        status = tool::kUnreadable;
    }
    // quick_exit destroys no static objects. A return from main would destroy them, and a process
    // that has a section manager would then end through the termination handler (SIGABRT).
    std::quick_exit(status);
}

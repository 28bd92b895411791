#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "client/MultiplexScanner.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Progress.h"
#include "tools/torvelsi/ReceiverOptions.h"
#include "tools/torvelsi/ScanDocument.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

int Scan(const ReceiverOptions& options, bool json,
         std::optional<std::chrono::milliseconds> timeout) {
    tvservice::SourcePtr source;
    if (const int failure = OpenAndStart(options, source); failure != kDone) {
        return failure;
    }
    client::MultiplexScanner scanner;
    tvservice::InputEnd end;
    {
        const tvservice::SourceInfo info = tvservice::Describe(*source);
        const Progress progress(info.size, [&scanner, twice = info.rewindable && !info.live] {
            return twice ? fmt::format("pass {} of 2, ", scanner.Pass()) : std::string();
        });
        end = scanner.Scan(source, timeout);
    }
    WarnAboutInput();
    client::Multiplex multiplex = scanner.Result();
    if (end.reason != tvservice::InputEnd::kEndOfInput) {
        multiplex.complete = false;
        multiplex.missing.push_back({.what = client::Missing::kRestOfInput});
    }
    const Output output = [](std::string_view text) {
        // The result is ignored, because main checks stdout for errors at the end.
        static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout));
    };
    (json ? WriteScanDocument : WriteScanText)(multiplex, output);
    if (const auto refused = tvservice::SoftwarePlatform::Instance().Counter(
            tvservice::Counter::kRefusedSubscriptions);
        refused > 0) {
        PrintError(
            fmt::format("the receiver refused {} of the filters that the scan needs", refused));
    }
    if (end.reason == tvservice::InputEnd::kFailed) {
        PrintError(end.error);
        return kUnreadable;
    }
    return multiplex.complete ? kDone : kIncomplete;
}

}  // namespace

void AddScanCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string format = "text";
        std::string timeout = "30s";
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "scan",
        "Show the content of a multiplex: programs, services, events, networks, bouquets and "
        "the software updates that they announce");
    const auto receiver = AddReceiverOptions(*command);
    command->add_option("--format", options->format, "text to read, json for programs")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    const CLI::Option* given =
        command
            ->add_option("--timeout", options->timeout,
                         "Time-out for a live input, e.g. 500ms, 30s, 2min. The scan ends when it "
                         "has passed, or earlier when nothing is missing. If given, it applies to "
                         "a pipe too; without it a pipe is read to its end")
            ->capture_default_str();
    command->callback([options, receiver, given, &run] {
        std::optional<std::chrono::milliseconds> timeout;
        if (given->count() > 0) {
            try {
                timeout = std::chrono::milliseconds(ParseDuration(options->timeout));
            } catch (const std::invalid_argument& why) {
                throw CLI::ValidationError("--timeout", why.what());
            }
        }
        run = [options, receiver, timeout] {
            return Scan(*receiver, options->format == "json", timeout);
        };
    });
}

}  // namespace tool

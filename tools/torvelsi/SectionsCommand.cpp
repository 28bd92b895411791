#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/FirstClient.h"
#include "tools/torvelsi/Progress.h"
#include "tools/torvelsi/ReceiverOptions.h"
#include "tools/torvelsi/SectionsDocument.h"
#include "tools/torvelsi/SectionsPrinter.h"
#include "tools/torvelsi/SectionsRequest.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

using TORVEL_MW::ISectionManager;
using tvservice::InputEnd;
using tvservice::SoftwarePlatform;

unsigned int Subscribe(const SectionsRequest& request, SectionsPrinter& printer) {
    ISectionManager& manager = *ISectionManager::Instance();
    if (!request.tableId) {
        return manager.Subscribe(request.pid, request.pattern, request.mask, request.mode, printer,
                                 request.filterMode, request.timeout);
    }
    if (request.extension) {
        return manager.Subscribe(request.pid, *request.tableId, *request.extension, printer,
                                 request.filterMode, request.timeout);
    }
    return manager.Subscribe(request.pid, *request.tableId, printer, request.filterMode,
                             request.timeout, request.fromCache);
}

void BeginOutput(const SectionsRequest& request, unsigned int subscription) {
    if (request.format == SectionsRequest::kJson) {
        fmt::print("{}", SectionsBegin(subscription));
    }
}

/// Subscribes for the printer and begins its document.
/// @return false when the platform refused the filter
bool Begin(const SectionsRequest& request, SectionsPrinter& printer) {
    const unsigned int id = Subscribe(request, printer);
    if (id == 0) {
        return false;
    }
    printer.Subscribed();
    BeginOutput(request, id);
    return true;
}

void EndOutput(const SectionsRequest& request, const SectionsPrinter& printer,
               const std::string& name) {
    const SoftwarePlatform& platform = SoftwarePlatform::Instance();
    const SectionsSummary summary{
        printer.Sections(),
        printer.TimedOut(),
        {name, platform.PacketSize(), platform.Counter(tvservice::Counter::kPackets),
         platform.Counter(tvservice::Counter::kBytes)},
        platform.Counters(),
        platform.FaultCounts()};
    if (request.format == SectionsRequest::kJson) {
        fmt::print("{}", SectionsEnd(summary));
    } else {
        fmt::print(stderr, "{}", SummaryText(summary));
    }
}

int Refused() {
    PrintError("the platform refused the filter");
    return kUsage;
}

InputEnd Play(tvservice::SourcePtr source, const tvservice::SourceInfo& info) {
    const Progress progress(info.size);
    tvservice::PlayOptions options;
    // A toggling filter is replaced when its section has been handled. In lock-step the next packet
    // waits for that, so no section is lost in between.
    options.reading = tvservice::PlayOptions::kLockStep;
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    return platform.Play(std::move(source), options)
               ? platform.WaitEnd()
               : InputEnd{InputEnd::kFailed, info.name + ": cannot be played"};
}

int Sections(const SectionsRequest& request) {
    tvservice::SourcePtr source;
    if (const int failure = OpenAndStart(request.receiver, source); failure != kDone) {
        return failure;
    }
    const tvservice::SourceInfo info = tvservice::Describe(*source);
    // These live to the end of the process, because the event thread may call them until then.
    static SectionsPrinter& printer = *new SectionsPrinter(request);
    [[maybe_unused]] static client::Barrier& barrier = *new client::Barrier;
    FirstClient* const first = request.fromCache
                                   ? new FirstClient([request] { return Begin(request, printer); })
                                   : nullptr;
    if (!(first != nullptr ? first->Subscribe(request.pid, *request.tableId)
                           : Begin(request, printer))) {
        return Refused();
    }
    std::optional<TimeoutWatch> watch;
    if (info.live || !info.rewindable) {
        watch.emplace(printer);
    }
    const InputEnd end = Play(std::move(source), info);
    watch.reset();
    const FirstClient::Outcome outcome = first != nullptr ? first->End() : FirstClient::kBegun;
    if (outcome == FirstClient::kRefused) {
        return Refused();
    }
    const bool isBegun = outcome == FirstClient::kBegun;
    if (isBegun) {
        printer.WaitForTimeout();
    } else {
        BeginOutput(request, 0);
    }
    printer.Close();
    WarnAboutInput();
    EndOutput(request, printer, info.name);
    if (end.reason == InputEnd::kFailed) {
        PrintError(end.error);
        return kUnreadable;
    }
    if (!isBegun && !Interrupted()) {
        PrintError("the table did not repeat, so no section came from the cache");
        return kIncomplete;
    }
    if (printer.TimedOut()) {
        return kIncomplete;
    }
    return printer.GotAllWanted() ? kDone : kIncomplete;
}

}  // namespace

void AddSectionsCommand(CLI::App& app, Run& run) {
    CLI::App* command = app.add_subcommand("sections", "Show the sections that pass one filter");
    auto options = std::make_shared<SectionsOptions>(*command);
    command->callback(
        [options, &run] { run = [request = options->Request()] { return Sections(request); }; });
}

}  // namespace tool

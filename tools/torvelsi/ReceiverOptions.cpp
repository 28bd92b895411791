#include "tools/torvelsi/ReceiverOptions.h"

#include <CLI/CLI.hpp>

#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Session.h"

namespace tool {

std::shared_ptr<ReceiverOptions> AddReceiverOptions(CLI::App& command) {
    auto options = std::make_shared<ReceiverOptions>();
    command.add_option("INPUT", options->input, kInputHelp)->required();

    constexpr const char* kInput = "Input";
    command.add_flag("--loop", options->reading.loop, "start a file again at its end")
        ->group(kInput);
    command
        .add_flag("--follow", options->reading.follow, "wait at the end of a file for more of it")
        ->group(kInput);
    command
        .add_flag("--pace{1}", options->reading.pace,
                  "play a file in real time by its PCRs; --pace=10 is ten times as fast")
        ->group(kInput);
    command
        .add_flag(
            "--dvr", options->reading.dvr,
            "of dvb:ADAPTER take the packets of its dvr device, not the sections of its demux")
        ->group(kInput);

    constexpr const char* kReceiver = "Receiver";
    command
        .add_option("--filters", options->receiver.filters,
                    "how many section filters the receiver has, 1 to 4096")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str()
        ->group(kReceiver);
    command
        .add_option("--cache-bytes", options->receiver.cacheBytes,
                    "room for the sections that come from the cache; 0: none")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str()
        ->group(kReceiver);
    command
        .add_option("--fault", options->receiver.faults,
                    "a fault to suffer on purpose, e.g. drop=1/1000 or refuse-subscribe@3; may be "
                    "given several times, see docs/faults.md")
        ->allow_extra_args(false)
        ->group(kReceiver);
    command
        .add_option("--fault-seed", options->receiver.faultSeed,
                    "the same faults and seed injure the same things")
        ->check(CLI::NonNegativeNumber)
        ->capture_default_str()
        ->group(kReceiver);
    return options;
}

int OpenAndStart(const ReceiverOptions& options, tvservice::SourcePtr& source) {
    std::string error;
    if (!tvservice::SoftwarePlatform::Instance().Start(options.receiver, error)) {
        PrintError(error);
        return kUsage;
    }
    source = OpenInput(options.input, options.reading, error);
    if (!source) {
        PrintError(error);
        return kUnreadable;
    }
    return kDone;
}

}  // namespace tool

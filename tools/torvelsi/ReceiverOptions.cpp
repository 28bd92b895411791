#include "tools/torvelsi/ReceiverOptions.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

/// An option that takes a number as ParseNumber does: CLI11 takes 010 for eight.
template <class Value>
void AddNumber(CLI::App& command, const std::string& name, Value& value, const std::string& help) {
    const auto read = [name, &value](const std::string& text) {
        try {
            value = static_cast<Value>(ParseNumber(text, std::numeric_limits<Value>::max()));
        } catch (const std::invalid_argument& why) {
            throw CLI::ValidationError(name, why.what());
        }
    };
    command.add_option_function<std::string>(name, read, help)
        ->default_str(std::to_string(value))
        ->type_name("NUMBER")
        ->group("Receiver");
}

}  // namespace

std::shared_ptr<ReceiverOptions> AddReceiverOptions(CLI::App& command) {
    auto options = std::make_shared<ReceiverOptions>();
    command.add_option("INPUT", options->input, kInputHelp)->required();

    constexpr const char* kInput = "Input";
    CLI::Option* loop =
        command.add_flag("--loop", options->reading.loop, "start a file again at its end");
    loop->group(kInput);
    command
        .add_flag("--follow", options->reading.follow, "wait at the end of a file for more of it")
        ->excludes(loop)
        ->group(kInput);
    const CLI::Option* pace =
        command
            .add_flag("--pace{1}", options->reading.pace,
                      "play a file in real time by its PCRs; --pace=10 is ten times as fast")
            ->group(kInput);
    command
        .add_flag(
            "--dvr", options->reading.dvr,
            "of dvb:ADAPTER take the packets of its dvr device, not the sections of its demux")
        ->group(kInput);
    command.parse_complete_callback([options, pace] {
        if (pace->count() > 0 &&
            !(options->reading.pace > 0 && std::isfinite(options->reading.pace))) {
            throw CLI::ValidationError("--pace", "it is a number above 0");
        }
        if (options->reading.dvr && options->input.rfind("dvb:", 0) != 0) {
            throw CLI::ValidationError("--dvr", "INPUT is no dvb:ADAPTER");
        }
    });

    AddNumber(command, "--filters", options->receiver.filters,
              "how many section filters the receiver has, 1 to 4096");
    AddNumber(command, "--cache-bytes", options->receiver.cacheBytes,
              "room for the sections that come from the cache; 0: none");
    command
        .add_option("--fault", options->receiver.faults,
                    "a fault to suffer on purpose, e.g. drop=1/1000 or refuse-subscribe@3; may be "
                    "given several times, see docs/faults.md")
        ->allow_extra_args(false)
        ->group("Receiver");
    AddNumber(command, "--fault-seed", options->receiver.faultSeed,
              "the same faults and seed injure the same things");
    return options;
}

int OpenAndStart(const ReceiverOptions& options, tvservice::SourcePtr& source) {
    CatchInterrupts();
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

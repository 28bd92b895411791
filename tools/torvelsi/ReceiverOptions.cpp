#include "tools/torvelsi/ReceiverOptions.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

#include "generator/Scenarios.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

constexpr char kDemo[] = "demo:";  // the only scheme that the tool itself handles

/// Adds an option whose text `parse` turns into a value. CLI11's own conversions are not used,
/// because they read 010 as eight.
template <class Value, class Parse>
CLI::Option* AddParsed(CLI::App& command, const std::string& name, Value& value, Parse parse,
                       const std::string& help) {
    const auto read = [name, &value, parse](const std::string& text) {
        try {
            value = static_cast<Value>(parse(text));
        } catch (const std::invalid_argument& why) {
            throw CLI::ValidationError(name, why.what());
        }
    };
    return command.add_option_function<std::string>(name, read, help);
}

template <class Value>
void AddNumber(CLI::App& command, const std::string& name, Value& value, const std::string& help) {
    const auto parse = [](const std::string& text) {
        return ParseNumber(text, std::numeric_limits<Value>::max());
    };
    AddParsed(command, name, value, parse, help)
        ->default_str(std::to_string(value))
        ->type_name("NUMBER")
        ->group("Receiver");
}

std::string InputHelp() {
    std::string help = "A file; - for standard input; ";
    for (const tvservice::SourceScheme& scheme : tvservice::SourceSchemes()) {
        help += fmt::format("{} for {}; ", scheme.form, scheme.meaning);
    }
    return help + kDemo +
           "[SCENARIO] for a built-in multiplex ('torvelsi generate --list' names the scenarios). "
           "This tool does not tune; programs like dvbv5-zap do";
}

bool MayHaveDvr(const std::string& input) {
    const std::vector<tvservice::SourceScheme> schemes = tvservice::SourceSchemes();
    return std::any_of(schemes.begin(), schemes.end(), [&](const auto& scheme) {
        return scheme.hasDvr && input.rfind(scheme.prefix, 0) == 0;
    });
}

tvservice::SourcePtr Open(const ReceiverOptions& options, std::string& error) {
    const std::string& input = options.input;
    if (input.rfind(kDemo, 0) != 0) {
        return tvservice::OpenSource(input, options.reading, error);
    }
    const std::string scenario = input.substr(sizeof(kDemo) - 1);
    std::vector<std::uint8_t> bytes = generator::MakeScenario(scenario.empty() ? "demo" : scenario);
    if (bytes.empty()) {
        error = fmt::format("{}: there is no scenario of that name; see 'torvelsi generate --list'",
                            Printable(input));
        return nullptr;
    }
    return tvservice::WithOptions(tvservice::MemorySource(input, std::move(bytes)), options.reading,
                                  error);
}

void AddInputOptions(CLI::App& command, ReceiverOptions& options) {
    constexpr const char* kGroup = "Input";
    command.add_option("INPUT", options.input, InputHelp())->required();
    CLI::Option* const loop =
        command.add_flag("--loop", options.reading.loop, "Start a file again at its end");
    loop->group(kGroup);
    command
        .add_flag("--follow", options.reading.follow, "At the end of a file, wait for more data")
        ->excludes(loop)
        ->group(kGroup);
    command
        .add_flag_callback(
            "--no-map", [&options] { options.reading.mapped = false; },
            "Copy a file with read(2) instead of mapping it into memory")
        ->group(kGroup);
    const auto parsePace = [](const std::string& text) {
        return text.empty() ? 1 : ParsePace(text);
    };
    AddParsed(command, "--pace", options.reading.pace, parsePace,
              "Play a file at SPEED times real time, as measured by its PCRs, e.g. 0.5 or 1e2. "
              "Without a number the speed is 1")
        ->expected(0, 1)
        ->type_name("SPEED")
        ->group(kGroup);
    command
        .add_flag("--dvr", options.reading.dvr,
                  "With dvb:ADAPTER, read the packets of the dvr device instead of the sections of "
                  "the demux device")
        ->group(kGroup);
}

void AddReceiver(CLI::App& command, tvservice::Config& receiver) {
    AddNumber(command, "--filters", receiver.filters,
              "The number of section filters that the receiver has, 1 to 4096");
    AddNumber(command, "--cache-bytes", receiver.cacheBytes,
              "The size of the cache of sections in bytes; 0: no cache");
    command
        .add_option("--fault", receiver.faults,
                    "Inject a fault, e.g. drop=1/1000 or refuse-subscribe@3 (see docs/faults.md). "
                    "Give the option several times for several faults")
        ->allow_extra_args(false)
        ->group("Receiver");
    AddNumber(command, "--fault-seed", receiver.faultSeed,
              "The seed of the injected faults: with the same faults and the same seed they happen "
              "at the same places");
}

}  // namespace

std::shared_ptr<ReceiverOptions> AddReceiverOptions(CLI::App& command) {
    auto options = std::make_shared<ReceiverOptions>();
    options->reading.mapped = true;
    AddInputOptions(command, *options);
    AddReceiver(command, options->receiver);
    command.parse_complete_callback([options] {
        if (options->reading.dvr && !MayHaveDvr(options->input)) {
            throw CLI::ValidationError("--dvr", "needs an INPUT of the form dvb:ADAPTER");
        }
        if (options->reading.follow) {
            // On some network file systems a mapping shows appended data late.
            options->reading.mapped = false;
        }
    });
    return options;
}

int OpenAndStart(const ReceiverOptions& options, tvservice::SourcePtr& source) {
    CatchInterrupts();
    SurviveMappedFiles();
    std::string error;
    if (!tvservice::SoftwarePlatform::Instance().Start(options.receiver, error)) {
        PrintError(error);
        return kUsage;
    }
    source = Open(options, error);
    if (!source) {
        PrintError(error);
        return kUnreadable;
    }
    return kDone;
}

}  // namespace tool

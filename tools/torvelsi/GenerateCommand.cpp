#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "generator/Scenarios.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Session.h"
#include "tools/torvelsi/TextOption.h"

namespace tool {

namespace {

int List() {
    for (const generator::ScenarioInfo& scenario : generator::Scenarios()) {
        fmt::print("{:<20}{}\n", scenario.name, scenario.summary);
    }
    return kDone;
}

int Generate(const std::string& path, const std::string& scenario,
             const std::optional<generator::DemoExtent>& extent, std::uint64_t seed) {
    const std::vector<std::uint8_t> stream =
        extent ? generator::MakeDemoStream(*extent, seed) : generator::MakeScenario(scenario, seed);
    if (stream.empty()) {
        PrintError(fmt::format("there is no scenario '{}'; see 'torvelsi generate --list'",
                               Printable(scenario)));
        return kUsage;
    }
    if (path == "-") {
        std::fwrite(stream.data(), 1, stream.size(), stdout);
        return kDone;  // main checks stdout for write errors at the end
    }
    errno = 0;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(stream.data()),
              static_cast<std::streamsize>(stream.size()));
    out.close();
    if (!out) {
        PrintError(fmt::format("{}: cannot be written: {}", Printable(path), std::strerror(errno)));
        return kUnreadable;
    }
    return kDone;
}

/// The extent of the demo; no value when neither option is given.
std::optional<generator::DemoExtent> Extent(const TextOption& rate, const TextOption& duration) {
    constexpr std::uint64_t kBitsPerPacket = 188 * 8;
    constexpr std::uint64_t kHighestRate = 1'000'000'000;
    constexpr std::uint64_t kLargestStream = 4'000'000'000;  // in bits; it is made in memory
    if (!rate.IsGiven() && !duration.IsGiven()) {
        return std::nullopt;
    }
    generator::DemoExtent extent;
    if (rate.IsGiven()) {
        const std::uint64_t packets = rate.Number(kHighestRate) / kBitsPerPacket;
        if (packets < extent.packetsPerSecond) {
            throw CLI::ValidationError("--rate", "must be at least 1203200 (bits per second)");
        }
        extent.packetsPerSecond = static_cast<std::uint32_t>(packets);
    }
    if (duration.IsGiven()) {
        extent.milliseconds = duration.Parsed(ParseDuration);
    }
    const std::uint64_t bits =
        extent.packetsPerSecond * kBitsPerPacket * extent.milliseconds / 1000;
    if (bits < kBitsPerPacket || bits > kLargestStream) {
        throw CLI::ValidationError("--rate and --duration",
                                   fmt::format("the stream would have {} bytes; expected 188 to {}",
                                               bits / 8, kLargestStream / 8));
    }
    return extent;
}

}  // namespace

void AddGenerateCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string path;
        std::string scenario = "demo";
        TextOption rate;
        TextOption duration;
        std::string seed = "0";
        bool list = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("generate", "Write a transport stream for tests");
    CLI::Option* path =
        command->add_option("OUT", options->path, "The file to write; - for standard output");
    CLI::Option* scenario =
        command->add_option("--scenario", options->scenario, "The scenario to write")
            ->capture_default_str();
    command
        ->add_option("--seed", options->seed,
                     "The seed of the random values; the same seed gives the same bytes")
        ->check([](const std::string& text) {
            try {
                ParseNumber(text, UINT64_MAX);
                return std::string();
            } catch (const std::invalid_argument& why) {
                return std::string(why.what());
            }
        })
        ->capture_default_str();
    CLI::Option* rate = options->rate.Add(
        *command, "--rate",
        "The bit rate of the demo in bits per second, 1203200 or more, e.g. 40000000");
    CLI::Option* duration =
        options->duration.Add(*command, "--duration", "The duration of the demo, e.g. 10s, 1min");
    scenario->excludes(rate)->excludes(duration);
    CLI::Option* list = command->add_flag("--list", options->list, "List the scenarios");
    path->excludes(list);
    command->callback([options, &run] {
        if (!options->list && options->path.empty()) {
            throw CLI::RequiredError("OUT");
        }
        const std::optional<generator::DemoExtent> extent =
            Extent(options->rate, options->duration);
        run = [options, extent] {
            return options->list ? List()
                                 : Generate(options->path, options->scenario, extent,
                                            ParseNumber(options->seed, UINT64_MAX));
        };
    });
}

}  // namespace tool

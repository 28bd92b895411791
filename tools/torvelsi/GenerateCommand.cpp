#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "generator/Scenarios.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

int List() {
    for (const generator::ScenarioInfo& scenario : generator::Scenarios()) {
        fmt::print("{:<20}{}\n", scenario.name, scenario.summary);
    }
    return kDone;
}

int Generate(const std::string& path, const std::string& scenario, std::uint64_t seed) {
    const std::vector<std::uint8_t> stream = generator::MakeScenario(scenario, seed);
    if (stream.empty()) {
        PrintError(fmt::format("there is no scenario '{}'; see 'torvelsi generate --list'",
                               Printable(scenario)));
        return kUsage;
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

}  // namespace

void AddGenerateCommand(CLI::App& app, Run& run) {
    struct Options {
        std::string path;
        std::string scenario = "demo";
        std::string seed = "0";
        bool list = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("generate", "Write a transport stream made here");
    CLI::Option* path = command->add_option("OUT", options->path, "the file to write");
    command->add_option("--scenario", options->scenario, "what to make")->capture_default_str();
    command
        ->add_option("--seed", options->seed,
                     "chooses what is random; the same seed, the same bytes")
        ->check([](const std::string& text) {
            try {
                ParseNumber(text, UINT64_MAX);
                return std::string();
            } catch (const std::invalid_argument& why) {
                return std::string(why.what());
            }
        })
        ->capture_default_str();
    CLI::Option* list = command->add_flag("--list", options->list, "list the scenarios");
    path->excludes(list);
    command->callback([options, &run] {
        if (!options->list && options->path.empty()) {
            throw CLI::RequiredError("OUT");
        }
        run = [options] {
            return options->list ? List()
                                 : Generate(options->path, options->scenario,
                                            ParseNumber(options->seed, UINT64_MAX));
        };
    });
}

}  // namespace tool

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>

#include "client/MultiplexScanner.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Progress.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {

Json PatToJson(const client::Pat& pat) {
    Json programs = Json::array();
    for (const client::PatProgram& program : pat.programs) {
        programs.push_back(
            {{"program_number", program.programNumber}, {"pmt_pid", program.pmtPid}});
    }
    return {{"transport_stream_id", pat.transportStreamId},
            {"version", pat.version},
            {"programs", std::move(programs)}};
}

void PrintJson(const client::Multiplex& multiplex) {
    const Json document = {{"schema", "torvelsi-scan/1"},
                           {"complete", multiplex.complete},
                           {"missing", multiplex.missing},
                           {"input", InputToJson(multiplex.input)},
                           {"counters", CountersToJson(multiplex.counters)},
                           {"pat", multiplex.pat ? PatToJson(*multiplex.pat) : Json()},
                           {"cat", nullptr},
                           {"programs", Json::array()},
                           {"services", Json::array()},
                           {"events", Json::array()},
                           {"networks", Json::array()},
                           {"bouquets", Json::array()}};
    fmt::print("{}\n", document.dump(2, ' ', false, Json::error_handler_t::replace));
}

void PrintText(const client::Multiplex& multiplex) {
    const client::InputFacts& input = multiplex.input;
    fmt::print("Input {}, {} bytes, {} packets of {} bytes\n", Printable(input.uri), input.bytes,
               input.packets, input.packetSize);
    if (multiplex.pat) {
        const client::Pat& pat = *multiplex.pat;
        fmt::print("\nTransport stream {}, PAT version {}, {} program{}\n",
                   Id16(pat.transportStreamId), pat.version, pat.programs.size(),
                   pat.programs.size() == 1 ? "" : "s");
        if (!pat.programs.empty()) {
            fmt::print("  {:<16}PMT PID\n", "program");
        }
        for (const client::PatProgram& program : pat.programs) {
            fmt::print("  {:<16}{}\n", Id16(static_cast<unsigned int>(program.programNumber)),
                       Id16(static_cast<unsigned int>(program.pmtPid)));
        }
    }
    fmt::print("\nCounters\n{}", CountersToText(multiplex.counters));
    if (!multiplex.complete) {
        fmt::print("\nMissing: {}\n", fmt::join(multiplex.missing, ", "));
    }
}

int Scan(const std::string& input, bool json) {
    std::string error;
    tvservice::SourcePtr source = OpenInput(input, error);
    if (!source) {
        PrintError(error);
        return kUnreadable;
    }
    tvservice::SoftwarePlatform::Instance().Start();
    client::MultiplexScanner scanner;
    tvservice::InputEnd end;
    {
        const Progress progress(tvservice::Describe(*source).size);
        end = scanner.Scan(std::move(source));
    }
    client::Multiplex multiplex = scanner.Result();
    if (end.reason != tvservice::InputEnd::kEndOfInput) {
        multiplex.complete = false;
        multiplex.missing.emplace_back("rest of the input");
    }
    if (json) {
        PrintJson(multiplex);
    } else {
        PrintText(multiplex);
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
        std::string input;
        std::string format = "text";
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("scan", "Show what a multiplex holds: its programs and their PMT PIDs");
    command->add_option("INPUT", options->input, kInputHelp)->required();
    command->add_option("--format", options->format, "text for people, json for programs")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    command->callback([options, &run] {
        run = [options] { return Scan(options->input, options->format == "json"); };
    });
}

}  // namespace tool

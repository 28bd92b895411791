// Benchmarks that parse one section and read everything in it: each table with the platform's
// parsers and with the SI layer's. The versions alternate, so that no section is a repeat.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "bench/Readers.h"
#include "bench/Streams.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

template <class Reader>
void ReadSections(benchmark::State& state, const bench::SampleTable& table) {
    tvservice::SetLogPriority(7);
    Reader reader;
    std::uint64_t items = 0;
    std::size_t next = 0;
    // Parsers take a pointer to non-const bytes.
    generator::Sections sections = table.versions;
    for ([[maybe_unused]] const auto _ : state) {
        generator::Bytes& section = sections[next++ % sections.size()];
        items +=
            reader.Read(table.pid, section.data(), static_cast<unsigned short>(section.size()));
    }
    if (items == 0) {
        state.SkipWithError("nothing was read");
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(items));
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(sections.front().size()));
}

const bool s_areRegistered = [] {
    for (const bench::SampleTable& table : bench::SampleTables()) {
        benchmark::RegisterBenchmark(("PlatformParser/" + table.kind).c_str(),
                                     [table](benchmark::State& state) {
                                         ReadSections<bench::PlatformReader>(state, table);
                                     });
        if (table.hasSiParser) {
            benchmark::RegisterBenchmark(
                ("SiParser/" + table.kind).c_str(),
                [table](benchmark::State& state) { ReadSections<bench::SiReader>(state, table); });
        }
    }
    return true;
}();

}  // namespace

// Benchmarks of the room syntax: bytes of sections to trees, and to JSON.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "generator/Scenarios.h"
#include "syntax/Decoder.h"
#include "syntax/Json.h"
#include "tests/unit/syntax/StreamSections.h"

namespace {

using namespace syntax;
using syntaxtest::Section;

// Those of a broadcast with every table and descriptor.
const std::set<Section>& Sections() {
    static const std::set<Section> sections =
        syntaxtest::SectionsOfStream(generator::MakeScenario("broadcast"));
    return sections;
}

// Decodes all sections again and again; `visit` has each tree.
template <class Visit>
void DecodeAll(benchmark::State& state, Visit visit) {
    Decoder decoder({});
    Arena arena;
    std::int64_t bytes = 0;
    for ([[maybe_unused]] const auto _ : state) {
        for (const Section& section : Sections()) {
            arena.Reset();
            visit(*decoder.Section({section.data(), section.size()}, arena));
            bytes += static_cast<std::int64_t>(section.size());
        }
    }
    state.SetBytesProcessed(bytes);
}

void ToTree(benchmark::State& state) {
    DecodeAll(state, [](const Node& tree) { benchmark::DoNotOptimize(&tree); });
}
BENCHMARK(ToTree);

void ToJson(benchmark::State& state) {
    std::string json;
    DecodeAll(state, [&json](const Node& tree) {
        json.clear();
        WriteJson(tree, {}, false, json);
        benchmark::DoNotOptimize(json.data());
    });
}
BENCHMARK(ToJson);

}  // namespace

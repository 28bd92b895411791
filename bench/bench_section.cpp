// Benchmarks from bytes to sections: CRC-32, section filters, and the whole way.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "softplatform/base/Counters.h"
#include "softplatform/base/Crc32.h"
#include "softplatform/section/FilterSet.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/section/SectionFilter.h"
#include "softplatform/ts/Continuity.h"
#include "softplatform/ts/PacketSync.h"
#include "softplatform/ts/PidTable.h"
#include "tests/support/TsBytes.h"

namespace {

using namespace tvservice;
using testsupport::Bytes;

// --- CRC-32 of one section of state.range(0) bytes

using CrcFunction = uint32_t (*)(const uint8_t*, size_t, uint32_t);

void Crc(benchmark::State& state, CrcFunction function) {
    if (function == &Crc32CarrylessMultiply && !Crc32HasCarrylessMultiply()) {
        state.SkipWithError("no carry-less multiplication on this processor");
        return;
    }
    std::mt19937 random(1);
    const size_t size = static_cast<size_t>(state.range(0));
    const Bytes bytes = testsupport::RandomBytes(random, size);
    for ([[maybe_unused]] const auto _ : state) {
        benchmark::DoNotOptimize(function(bytes.data(), bytes.size(), kCrc32Initial));
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void CrcSizes(benchmark::internal::Benchmark* benchmark) {
    for (const int64_t size : {16, 48, 64, 128, 183, 512, 1024, 4096}) {
        benchmark->Arg(size);
    }
}

BENCHMARK_CAPTURE(Crc, Bitwise, &testsupport::Crc32Bitwise)->Apply(CrcSizes);
BENCHMARK_CAPTURE(Crc, Slicing, &Crc32Slicing)->Apply(CrcSizes);
BENCHMARK_CAPTURE(Crc, CarrylessMultiply, &Crc32CarrylessMultiply)->Apply(CrcSizes);
BENCHMARK_CAPTURE(Crc, Chosen, &Crc32)->Apply(CrcSizes);

// --- Filters: one section against state.range(0) of them, each for another table id and extension

struct Criteria {
    Bytes pattern;
    Bytes mask;
    Bytes mode;
};

std::vector<Criteria> ManyCriteria(int64_t count) {
    std::vector<Criteria> many;
    for (int64_t i = 0; i < count; ++i) {
        many.push_back({{0x4E, 0, 0, 0x12, static_cast<uint8_t>(i), 0x0A},
                        {0xFF, 0, 0, 0xFF, 0xFF, 0x3E},
                        {0, 0, 0, 0, 0, 0x3E}});
    }
    return many;
}

Bytes SectionThatTheLastAccepts(int64_t count) {
    return testsupport::SectionBytes{
        .table_id = 0x4E,
        .table_id_extension = static_cast<uint16_t>(0x1200 + count - 1),
        .version_number = 9,
        .body = Bytes(100)}
        .Build();
}

void FiltersCompiled(benchmark::State& state) {
    std::vector<SectionFilter> filters;
    for (const Criteria& criteria : ManyCriteria(state.range(0))) {
        filters.push_back(*SectionFilter::Compile(criteria.pattern, criteria.mask, criteria.mode));
    }
    const Bytes section = SectionThatTheLastAccepts(state.range(0));
    int accepted = 0;
    for ([[maybe_unused]] const auto _ : state) {
        accepted = 0;
        for (const SectionFilter& filter : filters) {
            accepted += filter.Matches(section.data(), section.size()) ? 1 : 0;
        }
        benchmark::DoNotOptimize(accepted);
    }
    if (accepted != 1) {
        state.SkipWithError("wrong answer");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

bool MatchesByteByByte(const Criteria& criteria, const Bytes& section) {
    bool asked = false;
    bool differs = false;
    for (size_t i = 0; i < criteria.pattern.size(); ++i) {
        if (i >= section.size() && criteria.mask[i] != 0) {
            return false;
        }
        const int changed = (section[i] ^ criteria.pattern[i]) & criteria.mask[i];
        if ((changed & ~criteria.mode[i]) != 0) {
            return false;
        }
        asked |= (criteria.mask[i] & criteria.mode[i]) != 0;
        differs |= (changed & criteria.mode[i]) != 0;
    }
    return differs || !asked;
}

void FiltersNaive(benchmark::State& state) {
    const std::vector<Criteria> filters = ManyCriteria(state.range(0));
    const Bytes section = SectionThatTheLastAccepts(state.range(0));
    int accepted = 0;
    for ([[maybe_unused]] const auto _ : state) {
        accepted = 0;
        for (const Criteria& criteria : filters) {
            accepted += MatchesByteByByte(criteria, section) ? 1 : 0;
        }
        benchmark::DoNotOptimize(accepted);
    }
    if (accepted != 1) {
        state.SkipWithError("wrong answer");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

// The same section as the receiver compares it: with all filters of a PID at once.
void FiltersOfAPid(benchmark::State& state) {
    FilterSet set;
    for (const Criteria& criteria : ManyCriteria(state.range(0))) {
        set.Add(std::make_unique<Filter>(Filter{
            0x0012, *SectionFilter::Compile(criteria.pattern, criteria.mask, criteria.mode), {}}));
    }
    const Bytes bytes = SectionThatTheLastAccepts(state.range(0));
    const SectionView section = *SectionView::From(bytes.data(), bytes.size());
    int accepted = 0;
    for ([[maybe_unused]] const auto _ : state) {
        accepted = 0;
        set.VisitMatching(section, [&accepted](Filter&) { ++accepted; });
        benchmark::DoNotOptimize(accepted);
    }
    if (accepted != 1) {
        state.SkipWithError("wrong answer");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(FiltersCompiled)->RangeMultiplier(2)->Range(1, 256);
BENCHMARK(FiltersNaive)->RangeMultiplier(2)->Range(1, 256);
BENCHMARK(FiltersOfAPid)->RangeMultiplier(2)->Range(1, 256);

// --- From bytes to sections: items are packets

constexpr size_t kPackets = 4000;
constexpr uint16_t kSectionPid = 0x0012;
constexpr uint16_t kOtherPid = 0x0200;

// In each hundred packets, `sectionPackets` carry sections of 500 bytes; no filter wants the
// others.
Bytes Multiplex(int64_t sectionPackets) {
    const Bytes section = testsupport::SectionOfSize(500);
    Bytes stream;
    uint8_t counter = 0;
    size_t sent = section.size();
    for (size_t i = 0; i < kPackets; ++i) {
        Bytes packet;
        if (static_cast<int64_t>(i % 100) < sectionPackets) {
            const bool starts = sent >= section.size();
            const Bytes next = testsupport::Slice(section, starts ? 0 : sent, starts ? 183 : 184);
            sent = (starts ? 0 : sent) + next.size();
            packet =
                testsupport::PacketBytes{.PID = kSectionPid,
                                         .continuity_counter = counter++,
                                         .payload_unit_start_indicator = starts}
                    .Build(testsupport::Stuffed(starts ? testsupport::Join({{0}, next}) : next));
        } else {
            packet = testsupport::PacketBytes{.PID = kOtherPid}.Build(Bytes(184, 0xAA));
        }
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

// Finds packet boundaries only.
void Sync(benchmark::State& state) {
    const Bytes stream = Multiplex(0);
    Counters counters;
    size_t packets = 0;
    for ([[maybe_unused]] const auto _ : state) {
        PacketSync sync(counters);
        packets = 0;
        const auto onPacket = [&](const uint8_t* bytes) {
            benchmark::DoNotOptimize(bytes);
            ++packets;
            return true;
        };
        sync.Feed(stream.data(), stream.size(), onPacket);
        sync.Finish(onPacket);
    }
    if (packets != kPackets) {
        state.SkipWithError("packets are missing");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(stream.size()));
}
BENCHMARK(Sync);

// The same; in addition, each packet's PID is looked up among this many wanted ones.
void Demux(benchmark::State& state) {
    const Bytes stream = Multiplex(5);
    Counters counters;
    SectionAssembler assembler(counters);
    PidTable<SectionAssembler> wanted;
    for (int64_t i = 0; i < state.range(0); ++i) {
        const auto pid = static_cast<uint16_t>(0x20 + i);
        wanted.Set(pid, pid == kOtherPid ? nullptr : &assembler);
    }
    wanted.Set(kSectionPid, &assembler);
    size_t found = 0;
    for ([[maybe_unused]] const auto _ : state) {
        PacketSync sync(counters);
        found = 0;
        const auto onPacket = [&](const uint8_t* bytes) {
            found += wanted.Find(PacketView(bytes).PID()) != nullptr ? 1 : 0;
            return true;
        };
        sync.Feed(stream.data(), stream.size(), onPacket);
        sync.Finish(onPacket);
    }
    if (found != kPackets / 20) {
        state.SkipWithError("packets are missing");
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(stream.size()));
}
BENCHMARK(Demux)->ArgName("wanted_pids")->Arg(1)->Arg(64)->Arg(1024)->Arg(4000)->Arg(8000);

void PacketsToSections(benchmark::State& state) {
    const Bytes stream = Multiplex(state.range(0));
    Counters counters;
    SectionAssembler assembler(counters);
    Continuity continuity;
    PidTable<SectionAssembler> wanted;
    wanted.Set(kSectionPid, &assembler);
    size_t good = 0;
    for ([[maybe_unused]] const auto _ : state) {
        PacketSync sync(counters);
        continuity.Reset();
        assembler.Discontinuity();
        good = 0;
        const auto onPacket = [&](const uint8_t* bytes) {
            const PacketView packet(bytes);
            if (SectionAssembler* found = wanted.Find(packet.PID())) {
                benchmark::DoNotOptimize(continuity.Check(packet));
                found->Feed(packet.payload(), packet.payload_unit_start_indicator(),
                            [&](SectionView section) { good += CrcIsGood(section) ? 1 : 0; });
            }
            return true;
        };
        sync.Feed(stream.data(), stream.size(), onPacket);
        sync.Finish(onPacket);
    }
    if (good != kPackets / 100 * static_cast<size_t>(state.range(0)) / 3) {
        state.SkipWithError("sections are missing");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(kPackets));
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(stream.size()));
}

BENCHMARK(PacketsToSections)->ArgName("section_packets_of_100")->Arg(0)->Arg(3)->Arg(30)->Arg(99);

}  // namespace

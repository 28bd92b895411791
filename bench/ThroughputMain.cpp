// torvelsi-throughput MODE FILE: measures how fast the file goes through the libraries; see --help.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/Mallocs.h"
#include "bench/Readers.h"
#include "bench/Streams.h"
#include "bench/Throughput.h"
#include "softplatform/base/Crc32.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

using Clock = std::chrono::steady_clock;
using Section = generator::Bytes;

constexpr char kHelp[] =
    "torvelsi-throughput MODE FILE [--no-cache] [--passes N]\n"
    "torvelsi-throughput t [KIND COUNT]\n"
    "torvelsi-throughput make CONTENT FILE MIB [SEED]\n"
    "torvelsi-throughput pids FILE\n"
    "\n"
    "The file is read once, then N times (2), of which the fastest counts. MODE:\n"
    "  a  packets are scanned, nothing is subscribed\n"
    "  b  every section reaches a filter's callback, its CRC_32 checked\n"
    "  p  and is parsed by the platform's parsers, and everything in it is read\n"
    "  P  the same, but the client skips repeats by comparing\n"
    "  d  every section reaches an empty observer of the section manager\n"
    "  c  and is parsed by the SI layer's parsers, and everything in it is read\n"
    "  C  the same, but the client skips repeats by comparing\n"
    "  t  needs no file: one section of each kind of table, parsed, read and freed;\n"
    "     with KIND and COUNT only so many sections of one kind, untimed\n"
    "It prints, with ITEMS the entries of loops and descriptors that were read:\n"
    "  R torvelsi MODE BASENAME SECONDS BYTES SECTIONS SI_BYTES ITEMS 0\n"
    "  T torvelsi KIND NS_WITH_CRC NS_WITHOUT_CRC SECTION_BYTES MALLOCS\n"
    "make writes a stream: CONTENT is mixed (5 % service information), si (nothing else, each\n"
    "table in a new version) or repeats (always the same version). pids prints the PIDs whose\n"
    "sections the other modes ask for.\n";

struct Cost {
    double nanoseconds;
    double mallocs;
};

/// Returns the time of one call, from the fastest of many batches; `call` gets the sections in
/// turn.
Cost Measure(const std::vector<Section>& sections,
             const std::function<void(const Section&)>& call) {
    constexpr int kBatches = 25;
    constexpr auto kBatch = std::chrono::milliseconds(20);
    Cost best{1e18, 0};
    for (int batch = 0; batch < kBatches; ++batch) {
        std::uint64_t calls = 0;
        const std::uint64_t mallocs = bench::MallocsOfThisThread();
        const Clock::time_point begin = Clock::now();
        std::chrono::duration<double, std::nano> took{};
        do {
            for (const Section& section : sections) {
                call(section);
            }
            calls += sections.size();
            took = Clock::now() - begin;
        } while (took < kBatch);
        const auto count = static_cast<double>(calls);
        // The first batch also allocates what is kept from then on.
        best = {std::min(best.nanoseconds, took.count() / count),
                static_cast<double>(bench::MallocsOfThisThread() - mallocs) / count};
    }
    return best;
}

/// Keeps a reader and what it found, so that the compiler cannot remove the work.
template <class Reader>
struct Reading {
    Reader reader;
    std::uint64_t items = 0;
    void Read(const bench::SampleTable& table, const Section& section) {
        // Parsers take a pointer to non-const bytes, but do not change them.
        items += reader.Read(table.pid, const_cast<std::uint8_t*>(section.data()),
                             static_cast<unsigned short>(section.size()));
    }
};

/// Returns 0 when the CRC_32 is right.
std::uint32_t Crc(const Section& section) {
    return tvservice::Crc32(section.data(), section.size(), tvservice::kCrc32Initial);
}

template <class Reader>
void PrintTable(const bench::SampleTable& table, const std::string& kind) {
    Reading<Reader> reading;
    std::uint32_t crc = 0;
    const Cost plain =
        Measure(table.versions, [&](const Section& section) { reading.Read(table, section); });
    const Cost checked = Measure(table.versions, [&](const Section& section) {
        crc |= Crc(section);
        reading.Read(table, section);
    });
    if (reading.items == 0 || crc != 0) {
        throw std::runtime_error(kind + ": nothing was read, or a CRC_32 was wrong");
    }
    std::printf("T torvelsi %s %.0f %.0f %zu %.0f\n", kind.c_str(), checked.nanoseconds,
                plain.nanoseconds, table.versions.front().size(), checked.mallocs);
}

/// Reads this many sections, for tools that count instructions.
template <class Reader>
void ReadTable(const bench::SampleTable& table, std::uint64_t count) {
    Reading<Reader> reading;
    for (std::uint64_t i = 0; i < count; ++i) {
        const Section& section = table.versions[i % table.versions.size()];
        if (Crc(section) == 0) {
            reading.Read(table, section);
        }
    }
    std::printf("%llu items\n", static_cast<unsigned long long>(reading.items));
}

constexpr char kSiSuffix[] = "-si";

void PrintTables() {
    for (const bench::SampleTable& table : bench::SampleTables()) {
        PrintTable<bench::PlatformReader>(table, table.kind);
    }
    for (const bench::SampleTable& table : bench::SampleTables()) {
        if (table.hasSiParser) {
            PrintTable<bench::SiReader>(table, table.kind + kSiSuffix);
        }
    }
}

void ReadTables(const std::string& kind, std::uint64_t count) {
    for (const bench::SampleTable& table : bench::SampleTables()) {
        if (kind == table.kind) {
            return ReadTable<bench::PlatformReader>(table, count);
        }
        if (table.hasSiParser && kind == table.kind + kSiSuffix) {
            return ReadTable<bench::SiReader>(table, count);
        }
    }
    throw std::runtime_error(kind + ": no such table");
}

void PrintThroughput(const std::string& letter, bench::Mode mode, const std::string& file,
                     bool hasCache, int passes) {
    bench::Throughput throughput(file, mode, hasCache ? tvservice::Config().cacheBytes : 0);
    bench::Pass best = throughput.Run();
    for (int pass = 1; pass < passes; ++pass) {
        const bench::Pass next = throughput.Run();
        if (next.sections != best.sections || next.items != best.items) {
            throw std::runtime_error("two passes saw different sections");
        }
        best = next.seconds < best.seconds ? next : best;
    }
    std::printf("R torvelsi %s %s %.6f %llu %llu %llu %llu 0\n", letter.c_str(),
                std::filesystem::path(file).filename().c_str(), best.seconds,
                static_cast<unsigned long long>(throughput.fileSize()),
                static_cast<unsigned long long>(best.sections),
                static_cast<unsigned long long>(best.sectionBytes),
                static_cast<unsigned long long>(best.items));
}

void WriteStream(bench::Content content, const std::string& file, std::uint64_t bytes,
                 std::uint64_t seed) {
    std::ofstream out(file, std::ios::binary);
    bench::MakeStream(content, bytes, seed, [&](const std::vector<std::uint8_t>& piece) {
        out.write(reinterpret_cast<const char*>(piece.data()),
                  static_cast<std::streamsize>(piece.size()));
    });
    out.close();
    if (!out) {
        throw std::runtime_error(file + ": cannot be written");
    }
}

int Usage() {
    std::fputs(kHelp, stderr);
    return 1;
}

int Main(const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        return Usage();
    }
    const std::string& mode = arguments[0];
    if (mode == "--help") {
        std::fputs(kHelp, stdout);
        return 0;
    }
    if (mode == "t" && (arguments.size() == 1 || arguments.size() == 3)) {
        tvservice::SetLogPriority(7);
        if (arguments.size() == 1) {
            PrintTables();
        } else {
            ReadTables(arguments[1], std::stoull(arguments[2]));
        }
        return 0;
    }
    bench::Content content{};
    if (mode == "make" && (arguments.size() == 4 || arguments.size() == 5) &&
        bench::ContentOf(arguments[1], content)) {
        WriteStream(content, arguments[2], std::stoull(arguments[3]) << 20,
                    arguments.size() == 5 ? std::stoull(arguments[4]) : 1);
        return 0;
    }
    if (mode == "pids" && arguments.size() == 2) {
        const bench::Throughput throughput(arguments[1], bench::Mode::kScan, 0);
        for (const unsigned short pid : throughput.pids()) {
            std::printf("%u\n", unsigned{pid});
        }
        return 0;
    }
    bench::Mode known{};
    if (!bench::ModeOf(mode, known) || arguments.size() < 2) {
        return Usage();
    }
    bool hasCache = true;
    int passes = 2;
    for (std::size_t i = 2; i < arguments.size(); ++i) {
        if (arguments[i] == "--no-cache") {
            hasCache = false;
        } else if (arguments[i] == "--passes" && i + 1 < arguments.size()) {
            passes = std::stoi(arguments[++i]);
        } else {
            return Usage();
        }
    }
    PrintThroughput(mode, known, arguments[1], hasCache, passes);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    int status = 2;
    try {
        status = Main({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "torvelsi-throughput: %s\n", error.what());
    }
    std::fflush(nullptr);
    // The section manager lives as long as the process. Returning from main would end in SIGABRT.
    std::quick_exit(status);
}

// Damages real streams at random, scans them and makes what the tool prints. Only a crash, a hang
// or a sanitizer's report counts as a find. This is a plain program, not a libFuzzer one.
//
//     mutated_streams FOLDER COUNT [SEED [FIRST]]
//     mutated_streams --copies OUT FOLDER COUNT [SEED]
//
// Takes COUNT windows of at most 64 KiB of each .ts and .sec file of the folder. SEED, the name of
// the file and the number of the round alone choose the window and the damage. To repeat a find,
// set FIRST to its round, or to a somewhat earlier one, because the section manager keeps its state
// from round to round. Damaged sections count as good whatever their CRC_32 is.
//
// With --copies nothing is scanned: COUNT damaged copies of each whole stream are written to the
// folder OUT.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "client/MultiplexScanner.h"
#include "fuzz/LastingScan.h"
#include "fuzz/TableReaders.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using Random = std::mt19937_64;

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacket = 188;
constexpr std::size_t kMostTimes = 15;  // how often a copy of a long stream is damaged at most

// In one round of this many, the tool's scanner is used. It makes up to 100 of the 65535
// subscriptions that a process can make, so the other rounds use the lasting scan.
constexpr std::uint64_t kScannerRounds = 20;

constexpr unsigned kPatience = 60;  // seconds; a round that takes longer counts as a hang
constexpr int kMaxFinds = 20;       // of one stream

std::size_t Below(Random& random, std::size_t bound) {
    return static_cast<std::size_t>(random() % bound);
}

// Returns the PID that carries a table (ETSI EN 300 468 5.1.3); it is below 256.
std::uint8_t PidOf(std::uint8_t table_id) {
    return table_id <= 0x01                                           ? table_id
           : table_id == 0x40 || table_id == 0x41                     ? 0x10
           : table_id == 0x42 || table_id == 0x46 || table_id == 0x4A ? 0x11
                                                                      : 0x12;
}

// Puts the consecutive sections of a file into packets.
Bytes Packets(const Bytes& sections) {
    Bytes packets;
    std::array<unsigned, 256> counters{};
    for (std::size_t at = 0; at + 3 <= sections.size();) {
        const std::size_t size = 3 + ((sections[at + 1] & 0x0Fu) << 8 | sections[at + 2]);
        const std::size_t end = std::min(at + size, sections.size());
        const std::uint8_t pid = PidOf(sections[at]);
        for (bool isFirst = true; at < end; isFirst = false) {
            const Bytes header = isFirst ? Bytes{0x47, 0x40, pid, 0, 0} : Bytes{0x47, 0, pid, 0};
            const std::size_t begin = packets.size();
            packets.insert(packets.end(), header.begin(), header.end());
            packets[begin + 3] = static_cast<std::uint8_t>(0x10 | (counters[pid]++ & 0xF));
            const std::size_t part = std::min(kPacket - header.size(), end - at);
            packets.insert(packets.end(), sections.begin() + static_cast<std::ptrdiff_t>(at),
                           sections.begin() + static_cast<std::ptrdiff_t>(at + part));
            packets.resize(begin + kPacket, 0xFF);
            at += part;
        }
    }
    return packets;
}

// Returns a window that mostly begins at a packet.
Bytes Window(const Bytes& stream, Random& random) {
    const std::size_t size = std::min(stream.size(), 1 + Below(random, kWindow));
    std::size_t begin = Below(random, stream.size() - size + 1);
    if (Below(random, 8) != 0) {
        begin -= begin % kPacket;
    }
    const auto first = stream.begin() + static_cast<std::ptrdiff_t>(begin);
    return Bytes(first, first + static_cast<std::ptrdiff_t>(size));
}

void Injure(Bytes& bytes, Random& random) {
    for (std::size_t left = 1 + Below(random, 40); left > 0 && bytes.size() > 2 * kPacket; --left) {
        const std::size_t at = Below(random, bytes.size());
        const std::size_t packet = Below(random, bytes.size() / kPacket) * kPacket;
        const auto here = bytes.begin() + static_cast<std::ptrdiff_t>(packet);
        switch (Below(random, 8)) {
            case 0:
                bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ 1u << Below(random, 8));
                break;
            case 1:
                bytes[at] = static_cast<std::uint8_t>(random());
                break;
            case 2:  // near the start of a payload, where headers and lengths are
                bytes[packet + 4 + Below(random, 24)] = static_cast<std::uint8_t>(random());
                break;
            case 3:
                bytes[packet + 4 + Below(random, 24)] = Below(random, 2) == 0 ? 0x00 : 0xFF;
                break;
            case 4:  // another PID
                bytes[packet + 1] =
                    static_cast<std::uint8_t>((bytes[packet + 1] & 0xE0) | Below(random, 2));
                bytes[packet + 2] = static_cast<std::uint8_t>(Below(random, 0x20));
                break;
            case 5:
                bytes.erase(here, here + static_cast<std::ptrdiff_t>(kPacket));
                break;
            case 6: {
                const Bytes copy(here, here + static_cast<std::ptrdiff_t>(kPacket));
                bytes.insert(here, copy.begin(), copy.end());
                break;
            }
            default:
                bytes.resize(bytes.size() - Below(random, kPacket));
                break;
        }
    }
}

Bytes Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes{std::istreambuf_iterator<char>(file), {}};
    return path.extension() == ".sec" ? Packets(bytes) : bytes;
}

Random RandomOf(const std::string& name, std::uint64_t seed, std::uint64_t round) {
    std::seed_seq seeds(name.begin(), name.end());
    std::uint32_t ofName = 0;
    seeds.generate(&ofName, &ofName + 1);
    return Random(seed << 40 ^ std::uint64_t{ofName} << 20 ^ round);
}

// Damages and scans in the rounds from `first` to before `end`, writes the number of the current
// round to `round`, and ends the process.
[[noreturn]] void Scan(const fs::path& path, std::uint64_t seed, std::uint64_t first,
                       std::uint64_t end, std::atomic<std::uint64_t>& round) {
    fuzzing::LastingScan& lasting = fuzzing::LastingScan::Instance();
    const Bytes stream = Read(path);
    const std::string name = path.filename().string();
    std::uint64_t sections = 0;
    std::uint64_t programs = 0;
    for (round = first; round < end && !stream.empty(); ++round) {
        ::alarm(kPatience);
        Random random = RandomOf(name, seed, round);
        Bytes bytes = Window(stream, random);
        Injure(bytes, random);
        const tvservice::SourcePtr source = tvservice::MemorySource(name, std::move(bytes));
        tvservice::InputEnd ended;
        client::Multiplex found;
        if (round % kScannerRounds == 0) {
            lasting.StepAside();
            client::MultiplexScanner scanner;
            ended = scanner.Scan(source);
            found = scanner.Result();
        } else {
            ended = lasting.Scan(source);
            found = lasting.Result();
        }
        if (ended.reason != tvservice::InputEnd::kEndOfInput) {
            std::printf("%s, round %" PRIu64 ": %s\n", name.c_str(), round.load(),
                        ended.error.c_str());
            std::fflush(stdout);
            std::_Exit(EXIT_FAILURE);
        }
        fuzzing::Print(found);
        sections +=
            tvservice::SoftwarePlatform::Instance().Counter(tvservice::Counter::kDeliveredSections);
        programs += found.programs.size();
    }
    std::printf("%s: rounds %" PRIu64 " to %" PRIu64 ", %" PRIu64 " sections, %" PRIu64
                " programs\n",
                name.c_str(), first, end - 1, sections, programs);
    std::fflush(stdout);
    // The section manager lives as long as the process.
    std::quick_exit(EXIT_SUCCESS);
}

// A child process writes the number of its current round here.
std::atomic<std::uint64_t>& SharedRound() {
    void* const page = ::mmap(nullptr, sizeof(std::atomic<std::uint64_t>), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (page) std::atomic<std::uint64_t>(0);
}

// Runs all rounds of one stream in one child process. After a find, another process goes on with
// the next round. Returns the number of finds.
int ScanAll(const fs::path& path, std::uint64_t seed, std::uint64_t first, std::uint64_t end) {
    static std::atomic<std::uint64_t>& round = SharedRound();
    int finds = 0;
    while (first < end && finds < kMaxFinds) {
        round = first;
        const pid_t child = ::fork();
        if (child == 0) {
            Scan(path, seed, first, end, round);
        }
        int status = 0;
        if (child > 0 && ::waitpid(child, &status, 0) == child && status == 0) {
            break;
        }
        ++finds;
        std::printf("%s: status %d in round %" PRIu64 "\n", path.filename().c_str(), status,
                    round.load());
        std::fflush(stdout);
        first = round + 1;
    }
    return finds;
}

// Returns the streams of a folder in order of their names.
std::vector<fs::path> Streams(const char* folder) {
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".ts" || extension == ".sec") {
            paths.push_back(entry.path());
        }
    }
    if (paths.empty()) {
        throw std::runtime_error(std::string("no .ts and no .sec in ") + folder);
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

// The damage is about as dense as in a window.
void WriteCopy(const fs::path& path, std::uint64_t seed, std::uint64_t number,
               const fs::path& out) {
    const std::string name = path.filename().string();
    Random random = RandomOf(name, seed, number);
    Bytes bytes = Read(path);
    for (std::size_t times = 1 + std::min(bytes.size() / kWindow, kMostTimes); times > 0; --times) {
        Injure(bytes, random);
    }
    std::ofstream file(out / (name + "." + std::to_string(number) + ".ts"), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write to " + out.string());
    }
}

std::uint64_t Number(int argc, char** argv, int index, std::uint64_t otherwise) {
    return index < argc ? std::strtoull(argv[index], nullptr, 10) : otherwise;
}

int Run(int argc, char** argv) {
    const bool copies = argc > 1 && std::string(argv[1]) == "--copies";
    const int folder = copies ? 3 : 1;
    if (argc < folder + 2) {
        throw std::runtime_error(
            "usage: mutated_streams FOLDER COUNT [SEED [FIRST]] | mutated_streams --copies OUT "
            "FOLDER COUNT [SEED]");
    }
    const std::uint64_t count = Number(argc, argv, folder + 1, 0);
    const std::uint64_t seed = Number(argc, argv, folder + 2, 1);
    const std::uint64_t first = Number(argc, argv, folder + 3, 0);
    int finds = 0;
    for (const fs::path& path : Streams(argv[folder])) {
        if (!copies) {
            finds += ScanAll(path, seed, first, first + count);
        }
        for (std::uint64_t number = 0; copies && number < count; ++number) {
            WriteCopy(path, seed, number, argv[2]);
        }
    }
    return finds == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "mutated_streams: %s\n", problem.what());
        return EXIT_FAILURE;
    }
}

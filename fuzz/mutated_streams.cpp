// Real streams, injured at random, through the scanner and what the tool prints: nothing but a
// crash, a hang or a sanitizer's report counts. A plain program, not libFuzzer's.
//
//     mutated_streams FOLDER COUNT [SEED]
//
// Takes COUNT windows of at most 64 KiB of each .ts and .sec file of the folder. Stream, window and
// injuries of one round follow from SEED, the name of the file and the number of the round alone.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "client/MultiplexScanner.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/ScanDocument.h"

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using Random = std::mt19937_64;

constexpr std::size_t kWindow = 64 * 1024;
constexpr std::size_t kPacket = 188;

// A process can make 65535 subscriptions, and a scan makes up to 50.
constexpr std::uint64_t kRoundsPerProcess = 1000;

std::size_t Below(Random& random, std::size_t bound) {
    return static_cast<std::size_t>(random() % bound);
}

// The PID on which a table is looked for (ETSI EN 300 468 5.1.3); below 256.
std::uint8_t PidOf(std::uint8_t table_id) {
    return table_id <= 0x01                                           ? table_id
           : table_id == 0x40 || table_id == 0x41                     ? 0x10
           : table_id == 0x42 || table_id == 0x46 || table_id == 0x4A ? 0x11
                                                                      : 0x12;
}

// A file of sections, one behind the other, in packets.
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

// A window that mostly begins at a packet.
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

// Sections reach the parsers only with a good CRC: half of the rounds mend what was injured. Only
// sections within one packet are found here, which is where most tables begin.
void MendCrcs(Bytes& bytes) {
    for (std::size_t packet = 0; packet + kPacket <= bytes.size(); packet += kPacket) {
        const std::uint8_t* const header = bytes.data() + packet;
        if (header[0] != 0x47 || (header[1] & 0x40) == 0 || (header[3] & 0x30) != 0x10) {
            continue;
        }
        const std::size_t at = 5 + header[4];
        if (at + 3 > kPacket) {
            continue;
        }
        std::uint8_t* const section = bytes.data() + packet + at;
        const std::size_t size = 3 + ((section[1] & 0x0Fu) << 8 | section[2]);
        if ((section[1] & 0x80) == 0 || size < 12 || at + size > kPacket) {
            continue;
        }
        std::uint32_t crc = 0xFFFFFFFF;
        for (std::size_t i = 0; i < size - 4; ++i) {
            for (int bit = 7; bit >= 0; --bit) {
                const bool feedback = ((crc >> 31) ^ (section[i] >> bit & 1u)) != 0;
                crc = crc << 1 ^ (feedback ? 0x04C11DB7u : 0u);
            }
        }
        for (std::size_t i = 0; i < 4; ++i) {
            section[size - 4 + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
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

// The rounds from `first` up to `end`; ends the process.
[[noreturn]] void Scan(const fs::path& path, std::uint64_t seed, std::uint64_t first,
                       std::uint64_t end) {
    tvservice::SetLogPriority(7);
    tvservice::SoftwarePlatform::Instance().Start();
    const Bytes stream = Read(path);
    const std::string name = path.filename().string();
    std::uint64_t sections = 0;
    std::uint64_t programs = 0;
    for (std::uint64_t round = first; round < end && !stream.empty(); ++round) {
        Random random = RandomOf(name, seed, round);
        Bytes bytes = Window(stream, random);
        Injure(bytes, random);
        if (round % 2 == 0) {
            MendCrcs(bytes);
        }
        client::MultiplexScanner scanner;
        const tvservice::InputEnd ended =
            scanner.Scan(tvservice::MemorySource(name, std::move(bytes)));
        if (ended.reason != tvservice::InputEnd::kEndOfInput) {
            std::printf("%s, round %" PRIu64 ": %s\n", name.c_str(), round, ended.error.c_str());
            std::fflush(stdout);
            std::_Exit(EXIT_FAILURE);
        }
        const client::Multiplex multiplex = scanner.Result();
        tool::ScanDocument(multiplex);
        sections += tvservice::SoftwarePlatform::Instance().Counter("delivered_sections");
        programs += multiplex.programs.size();
    }
    std::printf("%s: rounds %" PRIu64 " to %" PRIu64 ", %" PRIu64 " sections, %" PRIu64
                " programs\n",
                name.c_str(), first, end - 1, sections, programs);
    std::fflush(stdout);
    // The section manager lives as long as the process.
    std::quick_exit(EXIT_SUCCESS);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: mutated_streams FOLDER COUNT [SEED]\n");
        return EXIT_FAILURE;
    }
    const std::uint64_t count = std::strtoull(argv[2], nullptr, 10);
    const std::uint64_t seed = argc > 3 ? std::strtoull(argv[3], nullptr, 10) : 1;
    std::vector<fs::path> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(argv[1])) {
        const std::string extension = entry.path().extension().string();
        if (extension == ".ts" || extension == ".sec") {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    int failures = 0;
    for (const fs::path& path : paths) {
        for (std::uint64_t first = 0; first < count; first += kRoundsPerProcess) {
            const pid_t child = ::fork();
            if (child == 0) {
                Scan(path, seed, first, std::min(first + kRoundsPerProcess, count));
            }
            int status = 0;
            if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0) {
                ++failures;
                std::printf("%s: status %d in the rounds from %" PRIu64 "\n",
                            path.filename().c_str(), status, first);
                std::fflush(stdout);
            }
        }
    }
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

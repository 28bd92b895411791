// The common part of the programs that do the same work with another library of the field:
//
//     peer-NAME MODE FILE PID...
//
// MODE is one of torvelsi-throughput; PID... are the PIDs whose sections are wanted. The printed
// line has the form of torvelsi-throughput's.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace bench {

constexpr std::size_t kPacketSize = 188;

struct Counts {
    std::uint64_t sections = 0;
    std::uint64_t sectionBytes = 0;
    std::uint64_t items = 0;
};

/// Reads the file in large blocks of whole packets. Calls `take` with the begin and the end of
/// each.
template <class Take>
bool ReadPackets(const char* file, Take take) {
    constexpr std::size_t kBlock = kPacketSize * 4096;
    static std::vector<std::uint8_t> block(kBlock);
    const int descriptor = ::open(file, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    std::size_t held = 0;
    ssize_t got = 0;
    while ((got = ::read(descriptor, block.data() + held, kBlock - held)) > 0) {
        held += static_cast<std::size_t>(got);
        const std::size_t whole = held - held % kPacketSize;
        take(block.data(), block.data() + whole);
        std::memmove(block.data(), block.data() + whole, held - whole);
        held -= whole;
    }
    ::close(descriptor);
    return got == 0;
}

/// Runs the program. Each pass constructs a `Peer` with the mode and the PIDs, gives it the blocks
/// by `Take`, and asks it for its counts. `Peer::Can(mode)` says whether it supports the mode.
template <class Peer>
int PeerMain(const char* name, int argc, char** argv) {
    if (argc < 3 || std::strlen(argv[1]) != 1 || !Peer::Can(argv[1][0])) {
        std::fprintf(stderr, "usage: peer-%s MODE FILE PID...\n", name);
        return 1;
    }
    std::vector<std::uint16_t> pids;
    for (int i = 3; i < argc; ++i) {
        pids.push_back(static_cast<std::uint16_t>(std::strtoul(argv[i], nullptr, 0)));
    }
    const char* const file = argv[2];
    std::uint64_t bytes = 0;
    // The first pass brings the file into the page cache.
    bool isRead = ReadPackets(file, [&](const std::uint8_t* begin, const std::uint8_t* end) {
        bytes += static_cast<std::uint64_t>(end - begin);
    });
    double best = 1e9;
    Counts counts;
    for (int pass = 0; pass < 2; ++pass) {
        Peer peer(argv[1][0], pids);
        const auto begin = std::chrono::steady_clock::now();
        isRead = isRead && ReadPackets(file, [&](std::uint8_t* first, std::uint8_t* last) {
                     peer.Take(first, last);
                 });
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
        best = std::min(best, took.count());
        counts = peer.counts();
    }
    if (!isRead) {
        std::fprintf(stderr, "peer-%s: %s cannot be read\n", name, file);
        return 2;
    }
    const char* const slash = std::strrchr(file, '/');
    std::printf("R %s %s %s %.6f %llu %llu %llu %llu 0\n", name, argv[1],
                slash != nullptr ? slash + 1 : file, best, static_cast<unsigned long long>(bytes),
                static_cast<unsigned long long>(counts.sections),
                static_cast<unsigned long long>(counts.sectionBytes),
                static_cast<unsigned long long>(counts.items));
    return 0;
}

}  // namespace bench

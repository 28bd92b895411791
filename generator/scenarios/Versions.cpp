#include <string>
#include <vector>

#include "generator/Descriptors.h"
#include "generator/Tables.h"
#include "generator/scenarios/Life.h"
#include "generator/scenarios/Streams.h"

namespace generator {
namespace {

constexpr std::uint16_t kTransportStream = 0x0700;
constexpr std::uint16_t kOriginalNetwork = 0xFF10;
constexpr std::uint16_t kPcrPid = 0x0201;

std::uint16_t MapPid(std::uint16_t program_number) {
    return static_cast<std::uint16_t>(0x0100 + 0x10 * program_number);
}

Sections Programs(std::uint8_t version_number, const std::vector<std::uint16_t>& numbers,
                  bool current_next_indicator = true) {
    std::vector<PatProgram> programs{{0, 0x0010}};
    for (const std::uint16_t number : numbers) {
        programs.push_back({number, MapPid(number)});
    }
    return MakePat(
        kTransportStream, programs,
        {.version_number = version_number, .current_next_indicator = current_next_indicator});
}

// A PMT with `streams` elementary streams, so that the content shows which version it is.
Sections Map(std::uint16_t program_number, std::uint8_t version_number, unsigned streams,
             bool current_next_indicator = true) {
    Pmt pmt{program_number, kPcrPid};
    for (unsigned i = 0; i < streams; ++i) {
        pmt.streams.push_back({0x06,
                               static_cast<std::uint16_t>(0x0300 + 0x10 * program_number + i),
                               {StreamIdentifierDescriptor(static_cast<std::uint8_t>(i))}});
    }
    return MakePmt(
        pmt, {.version_number = version_number, .current_next_indicator = current_next_indicator});
}

// Four services in two sections; their names contain `edition`.
Sections Services(std::uint8_t version_number, const std::string& edition) {
    Sdt sdt{kTransportStream, kOriginalNetwork};
    for (std::uint16_t number = 1; number <= 4; ++number) {
        sdt.services.push_back(
            {.service_id = number,
             .descriptors = {ServiceDescriptor(
                 0x01, "Morvane Media", "Service " + std::to_string(number) + ' ' + edition)}});
    }
    return MakeSdt(Scope::kActual, sdt,
                   {.version_number = version_number, .entries_per_section = 2});
}

}  // namespace

PacketList MakeVersions(std::uint64_t seed) {
    Life life(seed, kPcrPid);
    const auto pat = [](const Sections& sections) { return SentTable{0x0000, sections}; };
    const auto sdt = [](const Sections& sections) { return SentTable{0x0011, sections}; };
    const auto pmt = [](std::uint16_t number, const Sections& sections) {
        return SentTable{MapPid(number), sections};
    };

    // Versions count from 31 to 0; programme 3 comes, programme 2 leaves.
    life.Period({pat(Programs(30, {1, 2})), pmt(1, Map(1, 0, 1)), pmt(2, Map(2, 5, 2)),
                 sdt(Services(31, "first"))});
    life.Period({pat(Programs(31, {1, 2, 3})), pmt(1, Map(1, 0, 1)), pmt(2, Map(2, 5, 2)),
                 pmt(3, Map(3, 7, 3)), sdt(Services(31, "first"))});
    life.Period({pat(Programs(0, {1, 3})), pmt(1, Map(1, 0, 1)), pmt(3, Map(3, 7, 3)),
                 sdt(Services(31, "first"))});

    // Programme 2 comes back with the same PMT and version.
    life.Period({pat(Programs(1, {1, 2, 3})), pmt(1, Map(1, 0, 1)), pmt(2, Map(2, 5, 2)),
                 pmt(3, Map(3, 7, 3)), sdt(Services(31, "first"))});

    // The encoder restarts: the version jumps back to a used number, with other content.
    life.Period({pat(Programs(0, {1})), pmt(1, Map(1, 0, 1)), sdt(Services(31, "first"))});

    // Announced only: programme 4, and a larger PMT of programme 1.
    life.Period({pat(Programs(0, {1})), pat(Programs(6, {1, 2, 4}, false)), pmt(1, Map(1, 0, 1)),
                 pmt(1, Map(1, 1, 4, false))});
    life.Period({pat(Programs(6, {1, 2, 4})), pmt(1, Map(1, 1, 4)), pmt(2, Map(2, 5, 2)),
                 pmt(4, Map(4, 0, 1))});

    // Half of one version, then a new version, second section first. A receiver must not mix them.
    const Sections half = Services(0, "never whole");
    const Sections whole = Services(1, "second");
    life.Period({sdt({half[0]})});
    life.Period({sdt({whole[1], whole[0]})});

    // The versions of a PMT from 6 to 31, then from 0 to 6.
    for (std::uint8_t step = 0; step < 33; ++step) {
        life.Period({pmt(2, Map(2, static_cast<std::uint8_t>((6 + step) % 32), 1u + step % 5u))});
    }
    life.Period({pat(Programs(6, {1, 2, 4})), pmt(1, Map(1, 1, 4)), pmt(2, Map(2, 6, 3)),
                 pmt(4, Map(4, 0, 1)), sdt(Services(1, "second"))});
    return life.packets();
}

}  // namespace generator

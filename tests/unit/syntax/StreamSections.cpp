#include "tests/unit/syntax/StreamSections.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include "fuzz/Sections.h"
#include "softplatform/base/Counters.h"
#include "softplatform/base/Crc32.h"
#include "softplatform/section/SectionAssembler.h"
#include "softplatform/ts/PacketSync.h"

namespace syntaxtest {

using tvservice::PacketView;
using tvservice::SectionAssembler;
using tvservice::SectionView;

std::set<Section> SectionsOfStream(const std::vector<std::uint8_t>& stream) {
    constexpr std::uint16_t kFirstOtherPid = 0x20;
    tvservice::Counters counters;
    tvservice::PacketSync sync(counters);
    std::map<std::uint16_t, std::unique_ptr<SectionAssembler>> assemblers;
    std::set<Section> sections;
    const auto onPacket = [&](const std::uint8_t* bytes) {
        const PacketView packet(bytes);
        auto& assembler = assemblers[packet.PID()];
        if (assembler == nullptr) {
            assembler = std::make_unique<SectionAssembler>(counters);
        }
        assembler->Feed(packet.payload(), packet.payload_unit_start_indicator(),
                        [&](SectionView view) {
                            const Section section(view.data(), view.data() + view.size());
                            const bool crc = (section[1] & 0x80) != 0 &&
                                             tvservice::Crc32(section.data(), section.size()) == 0;
                            if (crc || packet.PID() < kFirstOtherPid) {
                                sections.insert(section);
                            }
                        });
        return true;
    };
    sync.Feed(stream.data(), stream.size(), onPacket);
    sync.Finish(onPacket);
    return sections;
}

bool ForEachCapture(
    const std::string& folder,
    const std::function<void(const std::string& name, const std::set<Section>&)>& visit) {
    if (!std::filesystem::exists(folder)) {
        return false;
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string extension = entry.path().extension().string();
        if (extension != ".ts" && extension != ".sec") {
            continue;
        }
        std::ifstream file(entry.path(), std::ios::binary);
        const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
        std::set<Section> found;
        if (extension == ".sec") {
            for (const Section& section : fuzzing::SectionsOf(bytes.data(), bytes.size())) {
                found.insert(section);
            }
        } else {
            found = SectionsOfStream(bytes);
        }
        visit(entry.path().filename().string(), found);
    }
    return true;
}

}  // namespace syntaxtest

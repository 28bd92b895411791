#include <array>
#include <cstddef>
#include <cstdint>

#include "tests/contract/platform/PlatformRig.h"

namespace contract {

Bytes ToPackets(const std::vector<Broadcast>& broadcasts) {
    static std::array<uint8_t, 0x2000> continuity{};
    Bytes packets;
    for (const Broadcast& broadcast : broadcasts) {
        const Bytes payload = testsupport::Join({{0x00}, broadcast.section});  // pointer_field
        for (size_t at = 0; at < payload.size(); at += 184) {
            const Bytes packet =
                testsupport::PacketBytes{.PID = broadcast.pid,
                                         .continuity_counter = continuity.at(broadcast.pid)++,
                                         .payload_unit_start_indicator = at == 0}
                    .Build(testsupport::Stuffed(testsupport::Slice(payload, at, 184)));
            packets.insert(packets.end(), packet.begin(), packet.end());
        }
    }
    return packets;
}

}  // namespace contract

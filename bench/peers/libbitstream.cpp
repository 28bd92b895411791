// libbitstream. Mode a: packets are scanned; b: sections are assembled and their CRC_32 is checked;
// p: in addition every loop is walked. It builds no structures: its accessors read the bytes in
// place.

#include <bitstream/dvb/si.h>
#include <bitstream/mpeg/psi.h>
#include <bitstream/mpeg/ts.h>

#include "bench/peers/Peer.h"

namespace {

/// Walks a loop without its look-up by index, which would begin at the start of the loop each time.
std::uint64_t DescriptorLoop(const std::uint8_t* at, std::uint16_t length) {
    std::uint64_t count = 0;
    for (const std::uint8_t* const end = at + length;
         end - at >= DESC_HEADER_SIZE && end - at >= DESC_HEADER_SIZE + desc_get_length(at);
         at += DESC_HEADER_SIZE + desc_get_length(at)) {
        count += desc_get_tag(at) != 0 ? 1 : 0;
    }
    return count;
}

std::uint64_t Loop(std::uint8_t* descs) {
    return DescriptorLoop(descs + DESCS_HEADER_SIZE, descs_get_length(descs));
}

/// Counts the entries and descriptors of one section.
std::uint64_t Items(std::uint8_t* section) {
    std::uint64_t items = 0;
    const std::uint8_t tableId = psi_get_tableid(section);
    const std::uint8_t* const end =
        section + psi_get_length(section) + PSI_HEADER_SIZE - PSI_CRC_SIZE;
    std::uint8_t* at = nullptr;
    if (tableId == PAT_TABLE_ID) {
        for (at = section + PAT_HEADER_SIZE; at < end; at += PAT_PROGRAM_SIZE) {
            items += patn_get_pid(at) != 0 ? 1 : 0;
        }
    } else if (tableId == PMT_TABLE_ID) {
        items = Loop(pmt_get_descs(section));
        for (at = section + PMT_HEADER_SIZE + pmt_get_desclength(section); at < end;
             at += PMT_ES_SIZE + pmtn_get_desclength(at)) {
            items += 1 + Loop(pmtn_get_descs(at));
        }
    } else if (tableId == CAT_TABLE_ID) {
        items = DescriptorLoop(section + CAT_HEADER_SIZE, cat_get_desclength(section));
    } else if (tableId == NIT_TABLE_ID_ACTUAL || tableId == NIT_TABLE_ID_OTHER ||
               tableId == BAT_TABLE_ID) {
        // Both tables have the same syntax.
        items = Loop(nit_get_descs(section));
        for (at = nit_get_ts(section, 0); at != nullptr && at < end;
             at += NIT_TS_SIZE + nitn_get_desclength(at)) {
            items += 1 + Loop(nitn_get_descs(at));
        }
    } else if (tableId == SDT_TABLE_ID_ACTUAL || tableId == SDT_TABLE_ID_OTHER) {
        for (at = section + SDT_HEADER_SIZE; at < end;
             at += SDT_SERVICE_SIZE + sdtn_get_desclength(at)) {
            items += 1 + Loop(sdtn_get_descs(at));
        }
    } else if (tableId >= EIT_TABLE_ID_PF_ACTUAL && tableId <= EIT_TABLE_ID_SCHED_OTHER_LAST) {
        for (at = section + EIT_HEADER_SIZE; at < end;
             at += EIT_EVENT_SIZE + eitn_get_desclength(at)) {
            items += 1 + Loop(eitn_get_descs(at));
        }
    }
    return items;
}

class Bitstream {
  public:
    static bool Can(char mode) { return mode == 'a' || mode == 'b' || mode == 'p'; }

    Bitstream(char mode, const std::vector<std::uint16_t>& pids) : reads_(mode == 'p') {
        pids_.fill(nullptr);
        if (mode == 'a') {
            return;
        }
        states_.resize(pids.size());
        for (std::size_t i = 0; i < pids.size(); ++i) {
            psi_assemble_init(&states_[i].buffer, &states_[i].used);
            pids_[pids[i] & 0x1FFF] = &states_[i];
        }
    }

    void Take(std::uint8_t* at, const std::uint8_t* end) {
        for (; at < end; at += TS_SIZE) {
            if (!ts_validate(at)) {
                continue;
            }
            State* const state = pids_[ts_get_pid(at)];
            if (state != nullptr && ts_has_payload(at)) {
                Assemble(*state, at);
            }
        }
    }

    bench::Counts counts() const { return counts_; }

  private:
    struct State {
        std::uint8_t* buffer = nullptr;
        std::uint16_t used = 0;
        std::uint8_t counter = 0xFF;
    };

    void Assemble(State& state, std::uint8_t* packet) {
        const std::uint8_t counter = ts_get_cc(packet);
        if (state.counter != 0xFF && ts_check_duplicate(counter, state.counter)) {
            return;
        }
        if (state.counter != 0xFF && ts_check_discontinuity(counter, state.counter)) {
            psi_assemble_reset(&state.buffer, &state.used);
        }
        state.counter = counter;
        const std::uint8_t* payload = ts_section(packet);
        auto length = static_cast<std::uint8_t>(packet + TS_SIZE - payload);
        if (!psi_assemble_empty(&state.buffer, &state.used)) {
            Hand(psi_assemble_payload(&state.buffer, &state.used, &payload, &length));
        }
        payload = ts_next_section(packet);
        length = static_cast<std::uint8_t>(packet + TS_SIZE - payload);
        while (length != 0) {
            Hand(psi_assemble_payload(&state.buffer, &state.used, &payload, &length));
        }
    }

    void Hand(std::uint8_t* section) {
        if (section == nullptr) {
            return;
        }
        if (psi_validate(section) && (!psi_get_syntax(section) || psi_check_crc(section))) {
            ++counts_.sections;
            counts_.sectionBytes += psi_get_length(section) + std::uint64_t{PSI_HEADER_SIZE};
            counts_.items += reads_ ? Items(section) : 0;
        }
        std::free(section);
    }

    bool reads_;
    std::array<State*, 0x2000> pids_;
    std::vector<State> states_;
    bench::Counts counts_;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::PeerMain<Bitstream>("libbitstream", argc, argv);
}

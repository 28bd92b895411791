// libdvbpsi. Mode b: sections are assembled, their CRC_32 is checked, and each is handed to a
// callback; p: in addition they are decoded into structures, descriptors too.

// The headers of libdvbpsi need declarations of those before them.
// clang-format off
#include "bench/peers/Peer.h"
#include <dvbpsi/dvbpsi.h>
#include <dvbpsi/psi.h>
#include <dvbpsi/descriptor.h>
#include <dvbpsi/demux.h>
#include <dvbpsi/pat.h>
#include <dvbpsi/cat.h>
#include <dvbpsi/pmt.h>
#include <dvbpsi/nit.h>
#include <dvbpsi/sdt.h>
#include <dvbpsi/bat.h>
#include <dvbpsi/eit.h>
#include <dvbpsi/dr.h>
// clang-format on

namespace {

/// The counts of one pass. The callbacks get a pointer to it.
struct Work {
    bench::Counts counts;
    std::uint64_t Decode(dvbpsi_descriptor_t* descriptor) {
        std::uint64_t count = 0;
        for (; descriptor != nullptr; descriptor = descriptor->p_next, ++count) {
            switch (descriptor->i_tag) {
                case 0x09:
                    dvbpsi_DecodeCADr(descriptor);
                    break;
                case 0x0A:
                    dvbpsi_DecodeISO639Dr(descriptor);
                    break;
                case 0x40:
                    dvbpsi_DecodeNetworkNameDr(descriptor);
                    break;
                case 0x43:
                    dvbpsi_DecodeSatDelivSysDr(descriptor);
                    break;
                case 0x47:
                    dvbpsi_DecodeBouquetNameDr(descriptor);
                    break;
                case 0x48:
                    dvbpsi_DecodeServiceDr(descriptor);
                    break;
                case 0x4D:
                    dvbpsi_DecodeShortEventDr(descriptor);
                    break;
                case 0x4E:
                    dvbpsi_DecodeExtendedEventDr(descriptor);
                    break;
                case 0x50:
                    dvbpsi_DecodeComponentDr(descriptor);
                    break;
                case 0x52:
                    dvbpsi_DecodeStreamIdentifierDr(descriptor);
                    break;
                case 0x54:
                    dvbpsi_DecodeContentDr(descriptor);
                    break;
                case 0x55:
                    dvbpsi_DecodeParentalRatingDr(descriptor);
                    break;
                default:
                    break;
            }
        }
        return count;
    }
};

Work& WorkOf(void* data) {
    return *static_cast<Work*>(data);
}

void OnPat(void* data, dvbpsi_pat_t* pat) {
    for (const dvbpsi_pat_program_t* at = pat->p_first_program; at != nullptr; at = at->p_next) {
        WorkOf(data).counts.items += at->i_pid != 0 ? 1 : 0;
    }
    dvbpsi_pat_delete(pat);
}

void OnCat(void* data, dvbpsi_cat_t* cat) {
    WorkOf(data).counts.items += WorkOf(data).Decode(cat->p_first_descriptor);
    dvbpsi_cat_delete(cat);
}

void OnPmt(void* data, dvbpsi_pmt_t* pmt) {
    std::uint64_t& items = WorkOf(data).counts.items;
    items += WorkOf(data).Decode(pmt->p_first_descriptor);
    for (const dvbpsi_pmt_es_t* at = pmt->p_first_es; at != nullptr; at = at->p_next) {
        items += 1 + WorkOf(data).Decode(at->p_first_descriptor);
    }
    dvbpsi_pmt_delete(pmt);
}

void OnNit(void* data, dvbpsi_nit_t* nit) {
    std::uint64_t& items = WorkOf(data).counts.items;
    items += WorkOf(data).Decode(nit->p_first_descriptor);
    for (const dvbpsi_nit_ts_t* at = nit->p_first_ts; at != nullptr; at = at->p_next) {
        items += 1 + WorkOf(data).Decode(at->p_first_descriptor);
    }
    dvbpsi_nit_delete(nit);
}

void OnBat(void* data, dvbpsi_bat_t* bat) {
    std::uint64_t& items = WorkOf(data).counts.items;
    items += WorkOf(data).Decode(bat->p_first_descriptor);
    for (const dvbpsi_bat_ts_t* at = bat->p_first_ts; at != nullptr; at = at->p_next) {
        items += 1 + WorkOf(data).Decode(at->p_first_descriptor);
    }
    dvbpsi_bat_delete(bat);
}

void OnSdt(void* data, dvbpsi_sdt_t* sdt) {
    for (const dvbpsi_sdt_service_t* at = sdt->p_first_service; at != nullptr; at = at->p_next) {
        WorkOf(data).counts.items += 1 + WorkOf(data).Decode(at->p_first_descriptor);
    }
    dvbpsi_sdt_delete(sdt);
}

void OnEit(void* data, dvbpsi_eit_t* eit) {
    for (const dvbpsi_eit_event_t* at = eit->p_first_event; at != nullptr; at = at->p_next) {
        WorkOf(data).counts.items += 1 + WorkOf(data).Decode(at->p_first_descriptor);
    }
    dvbpsi_eit_delete(eit);
}

void OnNewTable(dvbpsi_t* handle, std::uint8_t tableId, std::uint16_t extension, void* data) {
    if (tableId == 0x40 || tableId == 0x41) {
        dvbpsi_nit_attach(handle, tableId, extension, OnNit, data);
    } else if (tableId == 0x42 || tableId == 0x46) {
        dvbpsi_sdt_attach(handle, tableId, extension, OnSdt, data);
    } else if (tableId == 0x4A) {
        dvbpsi_bat_attach(handle, tableId, extension, OnBat, data);
    } else if (tableId >= 0x4E && tableId <= 0x6F) {
        dvbpsi_eit_attach(handle, tableId, extension, OnEit, data);
    }
}

// --- Sections alone

/// The decoder of a sub-table. It only counts the sections.
struct Counter {
    DVBPSI_DECODER_COMMON
    Work* work;
};

void CountSection(dvbpsi_t*, dvbpsi_decoder_t* decoder, dvbpsi_psi_section_t* section) {
    bench::Counts& counts = reinterpret_cast<Counter*>(decoder)->work->counts;
    ++counts.sections;
    counts.sectionBytes += section->i_length + std::uint64_t{3};
    dvbpsi_DeletePSISections(section);
}

void DetachCounter(dvbpsi_t* handle, std::uint8_t tableId, std::uint16_t extension) {
    auto* const demux = reinterpret_cast<dvbpsi_demux_t*>(handle->p_decoder);
    dvbpsi_demux_subdec_t* const found = dvbpsi_demuxGetSubDec(demux, tableId, extension);
    if (found != nullptr) {
        dvbpsi_DetachDemuxSubDecoder(demux, found);
        dvbpsi_DeleteDemuxSubDecoder(found);
    }
}

void OnNewSections(dvbpsi_t* handle, std::uint8_t tableId, std::uint16_t extension, void* data) {
    auto* const counter =
        reinterpret_cast<Counter*>(dvbpsi_decoder_new(nullptr, 0, true, sizeof(Counter)));
    counter->work = &WorkOf(data);
    dvbpsi_AttachDemuxSubDecoder(
        reinterpret_cast<dvbpsi_demux_t*>(handle->p_decoder),
        dvbpsi_NewDemuxSubDecoder(tableId, extension, DetachCounter, CountSection,
                                  reinterpret_cast<dvbpsi_decoder_t*>(counter)));
}

class Dvbpsi {
  public:
    static bool Can(char mode) { return mode == 'b' || mode == 'p'; }

    Dvbpsi(char mode, const std::vector<std::uint16_t>& pids) {
        handles_.fill(nullptr);
        for (const std::uint16_t pid : pids) {
            dvbpsi_t* const handle = dvbpsi_new(nullptr, DVBPSI_MSG_NONE);
            handles_[pid & 0x1FFF] = handle;
            if (mode == 'b') {
                dvbpsi_AttachDemux(handle, OnNewSections, &work_);
            } else if (pid == 0) {
                dvbpsi_pat_attach(handle, OnPat, &work_);
            } else if (pid == 1) {
                dvbpsi_cat_attach(handle, OnCat, &work_);
            } else if (pid < 0x20) {
                dvbpsi_AttachDemux(handle, OnNewTable, &work_);
            }
        }
    }

    void Take(std::uint8_t* at, const std::uint8_t* end) {
        for (; at < end; at += bench::kPacketSize) {
            const unsigned pid = (at[1] & 0x1FU) << 8 | at[2];
            dvbpsi_t* const handle = handles_[pid];
            if (handle == nullptr) {
                continue;
            }
            if (handle->p_decoder == nullptr && !AttachPmt(handle, at)) {
                continue;
            }
            dvbpsi_packet_push(handle, at);
        }
    }

    bench::Counts counts() const { return work_.counts; }

  private:
    /// A PMT decoder needs its program number, which the first section of the PID gives.
    bool AttachPmt(dvbpsi_t* handle, const std::uint8_t* packet) {
        const bool hasStart = (packet[1] & 0x40) != 0 && (packet[3] & 0x30) == 0x10;
        if (!hasStart || packet[4] > 170 || packet[5 + packet[4]] != 0x02) {
            return false;
        }
        const std::uint8_t* const section = packet + 5 + packet[4];
        return dvbpsi_pmt_attach(handle, static_cast<std::uint16_t>(section[3] << 8 | section[4]),
                                 OnPmt, &work_);
    }

    Work work_;
    std::array<dvbpsi_t*, 0x2000> handles_;
};

}  // namespace

int main(int argc, char** argv) {
    return bench::PeerMain<Dvbpsi>("libdvbpsi", argc, argv);
}

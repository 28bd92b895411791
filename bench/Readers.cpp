#include "bench/Readers.h"

#include <algorithm>
#include <list>
#include <set>
#include <utility>

#include "platform/TCBaseDesc.h"
#include "platform/TCDVBItemMux.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TCServiceKey.h"
#include "platform/TVSHandle.h"

namespace bench {

namespace {

// ETSI EN 300 468 table 2; ISO/IEC 13818-1 table 2-31.
constexpr unsigned char kPat = 0x00;
constexpr unsigned char kCat = 0x01;
constexpr unsigned char kPmt = 0x02;
constexpr unsigned char kNitActual = 0x40;
constexpr unsigned char kNitOther = 0x41;
constexpr unsigned char kSdtActual = 0x42;
constexpr unsigned char kSdtOther = 0x46;
constexpr unsigned char kBat = 0x4A;
constexpr unsigned char kEitActual = 0x4E;
constexpr unsigned char kLastEit = 0x6F;

const TVSHandle kHandle(1, 0);

unsigned U16(const unsigned char* bytes) {
    return static_cast<unsigned>(bytes[0] << 8 | bytes[1]);
}

unsigned U12(const unsigned char* bytes) {
    return U16(bytes) & 0xFFF;
}

bool IsEit(unsigned char tableId) {
    return tableId >= kEitActual && tableId <= kLastEit;
}

/// section_number is last_section_number.
bool IsLast(const unsigned char* section) {
    return section[6] == section[7];
}

/// Reads every descriptor of a loop: looks at its tag.
template <class Container>
std::uint64_t Descriptors(Container& container) {
    const int count = container.NumOfDescriptors();
    std::uint64_t read = 0;
    for (int i = 0; i < count; ++i) {
        TCBaseDesc* const descriptor = container.DescriptorByIndex(static_cast<unsigned>(i));
        read += descriptor != nullptr && descriptor->Length() > 0 ? 1 : 0;
    }
    return read;
}

template <class Instance>
std::uint64_t MuxTable(Instance& instance) {
    std::uint64_t read = Descriptors(instance);
    for (int i = 0; i < instance.NumOfDVBItemMux(); ++i) {
        read += 1 + Descriptors(*instance.DVBItemMuxOfIndex(static_cast<unsigned>(i)));
    }
    return read;
}

/// Reads the entries of a loop. Their fixed part has `size` bytes; its last two hold the length of
/// the entry's descriptors.
template <class Take>
void ForEachEntry(const unsigned char* at, const unsigned char* end, int size, Take take) {
    while (end - at >= size) {
        take(at);
        at += size + static_cast<std::ptrdiff_t>(U12(at + size - 2));
    }
}

template <class Parser>
Parser& ParserFor(std::map<unsigned char, std::unique_ptr<Parser>>& parsers,
                  unsigned char tableId) {
    std::unique_ptr<Parser>& parser = parsers[tableId];
    if (!parser) {
        parser = std::make_unique<Parser>(tableId, kHandle);
    }
    return *parser;
}

}  // namespace

PlatformReader::PlatformReader() : pat_(kHandle), cat_(kHandle), pmt_(kHandle), bat_(kHandle) {}

std::uint64_t PlatformReader::Read(unsigned short pid, unsigned char* section,
                                   unsigned short length) {
    const auto shortPid = static_cast<short>(pid);
    const unsigned char tableId = section[0];
    std::uint64_t read = 0;
    if (IsEit(tableId)) {
        return ReadEit(pid, section, length);
    }
    switch (tableId) {
        case kPat:
            if (pat_.Parse(shortPid, section) && IsLast(section)) {
                for (int i = 0; i < pat_.NumOfProgramList(); ++i) {
                    read += pat_.ProgramPID(pat_.ProgramNumber(static_cast<unsigned>(i))) != 0;
                }
            }
            return read;
        case kCat:
            return cat_.Parse(shortPid, section) && IsLast(section) ? Descriptors(cat_) : 0;
        case kPmt:
            if (pmt_.Parse(shortPid, section) && IsLast(section)) {
                TCPMTInstance& program = *pmt_.PMTInstance(pmt_.ProgramNumber());
                read = Descriptors(program);
                for (int i = 0; i < program.NumOfElementary(); ++i) {
                    read += 1 + Descriptors(*program.PMTElementary(static_cast<unsigned>(i)));
                }
            }
            return read;
        case kNitActual:
        case kNitOther:
            return ReadNit(pid, section);
        case kSdtActual:
        case kSdtOther:
            return ReadSdt(pid, section);
        case kBat:
            if (bat_.Parse(shortPid, section) && IsLast(section)) {
                read = MuxTable(*bat_.GetInstance(static_cast<unsigned short>(U16(section + 3))));
            }
            return read;
        default:
            return 0;
    }
}

std::uint64_t PlatformReader::ReadEit(unsigned short pid, unsigned char* section,
                                      unsigned short length) {
    std::unique_ptr<TCDVBEITParser>& parser = eits_[section[0]];
    if (!parser) {
        parser = std::make_unique<TCDVBEITParser>(section[0], kHandle);
    }
    if (length < 14 || !parser->Parse(static_cast<short>(pid), section)) {
        return 0;
    }
    TCDVBEITItem item(static_cast<int>(U16(section + 3)),
                      static_cast<unsigned short>(U16(section + 8)),
                      static_cast<unsigned short>(U16(section + 10)), kHandle);
    item.m_Parse(section, length, section[0]);
    std::uint64_t read = 0;
    for (int i = 0; i < item.NumOfDVBEITItemEvent(); ++i) {
        const TCDVBEITItemEvent& event = *item.DVBEITItemEvent(static_cast<unsigned>(i));
        TCDescriptor loop(kHandle);
        TCDescriptorHash descriptors;
        loop.Parse(event.DescriptorLoop(), event.DescriptorLoopLength(), descriptors, section[0]);
        read += 1 + Descriptors(descriptors);
    }
    return read;
}

std::uint64_t PlatformReader::ReadSdt(unsigned short pid, unsigned char* section) {
    TCDVBSDTParser& parser = ParserFor(sdts_, section[0]);
    if (!parser.Parse(static_cast<short>(pid), section) || !IsLast(section)) {
        return 0;
    }
    TCDVBSDTInstance& instance =
        *parser.DVBSDTInstance(static_cast<unsigned short>(U16(section + 8)),
                               static_cast<unsigned short>(U16(section + 3)));
    std::uint64_t read = 0;
    for (int i = 0; i < instance.NumOfDVBSDTItemService(); ++i) {
        read += 1 + Descriptors(*instance.DVBSDTItemServiceOfIndex(static_cast<unsigned>(i)));
    }
    return read;
}

std::uint64_t PlatformReader::ReadNit(unsigned short pid, unsigned char* section) {
    TCDVBNITParser& parser = ParserFor(nits_, section[0]);
    if (!parser.Parse(static_cast<short>(pid), section) || !IsLast(section)) {
        return 0;
    }
    return MuxTable(*parser.GetInstance(static_cast<unsigned short>(U16(section + 3))));
}

SiReader::SiReader() {
    for (TORVEL_MW::ISectionParser* const parser :
         std::initializer_list<TORVEL_MW::ISectionParser*>{pat_.get(), cat_.get(), sdt_.get(),
                                                           eit_.get(), nit_.get(), nitOther_.get(),
                                                           bat_.get()}) {
        parser->Initialize();
    }
}

std::uint64_t SiReader::Read(unsigned short pid, unsigned char* section, unsigned short length) {
    switch (section[0]) {
        case kPat: {
            std::map<int, int> programs;
            if (pat_->Parse(pid, section) && pat_->IsComplete()) {
                pat_->GetProgramList(programs);
            }
            return programs.size();
        }
        case kCat: {
            std::set<unsigned short> ids;
            if (cat_->Parse(pid, section) && cat_->IsComplete()) {
                cat_->GetCASystemIds(ids);
            }
            return ids.size();
        }
        case kPmt: {
            // Makes a new one for each section, because a PMT parser keeps the offers of all
            // sections that it got.
            const auto pmt = TORVEL_MW::IPMTParser::CreatePMTParser();
            pmt->Initialize();
            if (!pmt->Parse(pid, section)) {
                return 0;
            }
            const unsigned short program = pmt->ProgramNumber();
            std::set<unsigned short> ids;
            pmt->GetCASystemIds(ids);
            std::uint64_t read = ids.size();
            for (int i = 0; i < pmt->NumOfElementary(program); ++i) {
                read += pmt->ElementaryPID(program, i) != 0;
            }
            return read;
        }
        case kNitActual:
            return ReadNit(*nit_, pid, section, length);
        case kNitOther:
            return ReadNit(*nitOther_, pid, section, length);
        case kSdtActual:
            return ReadSdt(pid, section, length);
        case kBat: {
            const auto id = static_cast<unsigned short>(U16(section + 3));
            if (!bat_->Parse(pid, section) || !IsLast(section) || !bat_->IsRecv(id)) {
                return 0;
            }
            std::vector<std::unique_ptr<TORVEL_MW::ISSULinkageDesc>> linkages;
            bat_->GetInstance(id)->GetSSULinkageDesc(0xFFFFFFFF, linkages);
            return 1 + linkages.size();
        }
        case kEitActual:
            return ReadEit(pid, section);
        default:
            return others_.Read(pid, section, length);
    }
}

std::uint64_t SiReader::ReadSdt(unsigned short pid, unsigned char* section, unsigned short length) {
    if (length < 15 || !sdt_->Parse(pid, section)) {
        return 0;
    }
    const auto onid = static_cast<unsigned short>(U16(section + 8));
    const auto tsid = static_cast<unsigned short>(U16(section + 3));
    std::uint64_t read = 0;
    // ETSI EN 300 468 5.2.3
    ForEachEntry(section + 11, section + length - 4, 5, [&](const unsigned char* entry) {
        std::vector<TORVEL_MW::ISDTParser::SDTDescriptor> descriptors;
        sdt_->GetDescriptors(onid, tsid, static_cast<unsigned short>(U16(entry)), descriptors);
        read += 1 + descriptors.size();
    });
    return read;
}

std::uint64_t SiReader::ReadEit(unsigned short pid, unsigned char* section) {
    if (!eit_->Parse(pid, section)) {
        return 0;
    }
    std::vector<TORVEL_MW::IEITParser::EITDescriptor> descriptors;
    eit_->GetDescriptors(static_cast<unsigned short>(U16(section + 10)),
                         static_cast<unsigned short>(U16(section + 8)),
                         static_cast<unsigned short>(U16(section + 3)), descriptors);
    return 1 + descriptors.size();
}

std::uint64_t SiReader::ReadNit(TORVEL_MW::INITParser& parser, unsigned short pid,
                                unsigned char* section, unsigned short length) {
    const auto id = static_cast<unsigned short>(U16(section + 3));
    if (length < 16 || !parser.Parse(pid, section) || !IsLast(section) || !parser.IsRecv(id)) {
        return 0;
    }
    const auto network = parser.GetInstance(id);
    std::uint64_t read = 0;
    // ETSI EN 300 468 5.2.1: behind the network's descriptors and the two bytes with the length of
    // the loop
    const unsigned char* const end = section + length - 4;
    const unsigned char* const loop =
        std::min<const unsigned char*>(end, section + 12 + U12(section + 8));
    ForEachEntry(loop, end, 6, [&](const unsigned char* entry) {
        std::vector<std::shared_ptr<TORVEL_MW::IDeliveryDesc>> delivery;
        network->GetDeliveryDescs(static_cast<unsigned short>(U16(entry + 2)),
                                  static_cast<unsigned short>(U16(entry)), delivery);
        read += 1 + delivery.size();
    });
    return read;
}

bool Repeats::IsRepeat(unsigned short pid, const unsigned char* section, unsigned short length) {
    std::uint64_t key = std::uint64_t{pid} << 48 | std::uint64_t{section[0]} << 40;
    if (length >= 12) {
        key |= std::uint64_t{section[6]} << 32 | std::uint64_t{U16(section + 3)} << 16;
        key |= IsEit(section[0]) ? U16(section + 8) : 0;
    }
    std::vector<unsigned char>& held = held_[key];
    if (std::equal(held.begin(), held.end(), section, section + length)) {
        return true;
    }
    held.assign(section, section + length);
    return false;
}

}  // namespace bench

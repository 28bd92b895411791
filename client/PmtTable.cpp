#include "client/PmtTable.h"

#include <list>
#include <map>
#include <set>
#include <utility>

#include "client/Records.h"
#include "client/SubTableReader.h"
#include "platform/TCBaseDesc.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {

constexpr unsigned int kAny = 0xFFFFFFFF;
constexpr unsigned long kNoCarousel = 0xFFFFFFFF;
constexpr int kCaTag = 0x09;
// ISO/IEC 13818-1 2.4.4.9 has one. The SI layer adds the offers of all sections with each.
constexpr unsigned char kMostSections = 16;

}  // namespace

PmtTable::PmtTable()
    : parser_(TORVEL_MW::IPMTParser::CreatePMTParser()), platformParser_(TVSHandle(1, 0)) {
    parser_->Initialize();
}

PmtTable::Key PmtTable::KeyOf(unsigned short pid, const unsigned char* data, unsigned short) {
    return {pid, SectionHeader(data).tableIdExtension};
}

bool PmtTable::Take(unsigned short pid, unsigned char* data, Snapshot& program) {
    if (SectionHeader(data).lastSectionNumber >= kMostSections || !parser_->Parse(pid, data) ||
        !platformParser_.Parse(static_cast<short>(pid), data)) {
        return false;
    }
    const unsigned short number = parser_->ProgramNumber();
    TCPMTInstance* const instance = platformParser_.PMTInstance(number);
    if (instance == nullptr || !parser_->IsComplete(number)) {
        return false;
    }
    program.programNumber = number;
    program.pmtPid = pid;
    program.pcrPid = instance->PCRPID();
    program.version = instance->VersionNumber();
    std::set<unsigned short> caSystemIds;
    parser_->GetCASystemIds(caSystemIds);
    program.caSystemIds.assign(caSystemIds.begin(), caSystemIds.end());
    program.hasCaDescriptor = instance->NumOfDescriptors(kCaTag) > 0;

    std::map<unsigned int, Carousel> carousels;  // by component_tag
    for (int index = 0; index < parser_->NumOfElementary(number); ++index) {
        ElementaryStream stream{};
        stream.pid = parser_->ElementaryPID(number, index);
        stream.isApplication = !parser_->IsElementaryNotApplication(number, index);
        TCPMTElementary& platformStream =
            *instance->PMTElementary(static_cast<unsigned int>(index));
        stream.streamType = platformStream.StreamType();
        program.hasCaDescriptor |= platformStream.NumOfDescriptors(kCaTag) > 0;
        for (int d = 0; d < platformStream.NumOfDescriptors(); ++d) {
            TCBaseDesc& desc = *platformStream.DescriptorByIndex(static_cast<unsigned int>(d));
            stream.descriptors.push_back(
                {static_cast<unsigned char>(desc.Tag()), {}, {}, BytesOf(desc)});
        }
        if (const auto* const identifier = dynamic_cast<TCDescStreamIdentifier*>(
                platformStream.Descriptor(TCDescStreamIdentifier::DESCRIPTOR_ID, 0))) {
            stream.componentTag = identifier->ComponentTag();
            unsigned long carouselId = kNoCarousel;
            unsigned short carouselPid = 0;
            if (parser_->GetCarouselID(identifier->ComponentTag(), carouselId) &&
                parser_->GetPID(identifier->ComponentTag(), carouselPid)) {
                Carousel& carousel = carousels[*stream.componentTag];
                carousel = {*stream.componentTag, {}, carouselPid};
                if (carouselId != kNoCarousel) {
                    carousel.carouselId = carouselId;
                }
                if (carouselPid == stream.pid) {
                    stream.carouselId = carousel.carouselId;
                }
            }
        }
        program.streams.push_back(std::move(stream));
    }
    for (const auto& carousel : carousels) {
        program.carousels.push_back(carousel.second);
    }
    std::list<std::unique_ptr<TORVEL_MW::ISSUInfo>> infos;
    parser_->GetSSUInfo(number, kAny, infos);
    Distinct<SsuStream> ssu;  // each section of a PMT brings the offers of those before it again
    for (const auto& info : infos) {
        unsigned short ssuPid = 0;
        info->GetPID(ssuPid);
        ssu.Add({ssuPid, OffersOf(*info)});
    }
    program.ssu = ssu.Release();
    return true;
}

}  // namespace client

#include "client/PmtTable.h"

#include <list>
#include <map>
#include <set>
#include <utility>

#include "SI/Include/IPMTParser.h"
#include "client/Records.h"
#include "platform/TCBaseDesc.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TCPMTParser.h"
#include "platform/TVSHandle.h"

namespace client {

namespace {

constexpr unsigned long kNoCarousel = 0xFFFFFFFF;
constexpr int kCaTag = 0x09;
// ISO/IEC 13818-1 2.4.4.9 allows one section. With each section the SI layer adds the offers of all
// sections again, so that time and memory grow with the square of their number.
constexpr std::size_t kMostSections = 16;

}  // namespace

PmtTable::Key PmtTable::KeyOf(unsigned short pid, const unsigned char* data, unsigned short) {
    return {pid, SectionHeader(data).tableIdExtension};
}

std::optional<Program> PmtTable::Read(unsigned short pid, Sections& sections) {
    const auto parser = TORVEL_MW::IPMTParser::CreatePMTParser();
    TCPMTParser platformParser(TVSHandle(1, 0));
    parser->Initialize();
    if (sections.size() > kMostSections || !ParseAll(pid, sections, *parser, &platformParser)) {
        return std::nullopt;
    }
    const unsigned short number = parser->ProgramNumber();
    TCPMTInstance* const instance = platformParser.PMTInstance(number);
    if (instance == nullptr || !parser->IsComplete(number)) {
        return std::nullopt;
    }
    Program program{};
    program.programNumber = number;
    program.pmtPid = pid;
    program.pcrPid = instance->PCRPID();
    program.version = instance->VersionNumber();
    std::set<unsigned short> caSystemIds;
    parser->GetCASystemIds(caSystemIds);
    program.caSystemIds.assign(caSystemIds.begin(), caSystemIds.end());
    program.hasCaDescriptor = instance->NumOfDescriptors(kCaTag) > 0;
    std::optional<unsigned int> specifier;
    for (int d = 0; d < instance->NumOfDescriptors(); ++d) {
        AddBroadcast(*instance->DescriptorByIndex(static_cast<unsigned int>(d)), specifier,
                     program.descriptors);
    }
    program.descriptors.ShrinkToFit();

    std::map<unsigned int, Carousel> carousels;  // by component_tag
    for (int index = 0; index < parser->NumOfElementary(number); ++index) {
        ElementaryStream stream{};
        stream.pid = static_cast<std::uint16_t>(parser->ElementaryPID(number, index));
        stream.isApplication = !parser->IsElementaryNotApplication(number, index);
        TCPMTElementary& platformStream =
            *instance->PMTElementary(static_cast<unsigned int>(index));
        stream.streamType = platformStream.StreamType();
        program.hasCaDescriptor |= platformStream.NumOfDescriptors(kCaTag) > 0;
        // ETSI EN 300 468 6.2.31: a private data specifier applies until the end of its loop.
        specifier.reset();
        for (int d = 0; d < platformStream.NumOfDescriptors(); ++d) {
            AddBroadcast(*platformStream.DescriptorByIndex(static_cast<unsigned int>(d)), specifier,
                         stream.descriptors);
        }
        stream.descriptors.ShrinkToFit();
        if (const auto* const identifier = dynamic_cast<TCDescStreamIdentifier*>(
                platformStream.Descriptor(TCDescStreamIdentifier::DESCRIPTOR_ID, 0))) {
            stream.componentTag = identifier->ComponentTag();
            unsigned long carouselId = kNoCarousel;
            unsigned short carouselPid = 0;
            if (parser->GetCarouselID(identifier->ComponentTag(), carouselId) &&
                parser->GetPID(identifier->ComponentTag(), carouselPid)) {
                Carousel& carousel = carousels[*stream.componentTag];
                carousel = {*stream.componentTag, {}, carouselPid};
                if (carouselId != kNoCarousel) {
                    carousel.carouselId = static_cast<std::uint32_t>(carouselId);
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
    parser->GetSSUInfo(number, kAny, infos);
    Distinct<SsuStream> ssu;  // with each section the SI layer repeats the offers of those before
    for (const auto& info : infos) {
        unsigned short ssuPid = 0;
        info->GetPID(ssuPid);
        ssu.Add({ssuPid, OffersOf(*info)});
    }
    program.ssu = ssu.Release();
    program.streams.shrink_to_fit();
    return program;
}

}  // namespace client

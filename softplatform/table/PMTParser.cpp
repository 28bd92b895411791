#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <vector>

#include "platform/TCPMTParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"

using tvservice::ByteView;
using tvservice::DescriptorLoop;

namespace {
constexpr uint8_t kPmtTableId = 0x02;
constexpr size_t kFixedSize = 4;       // PCR_PID, program_info_length
constexpr size_t kStreamHeadSize = 5;  // stream_type, elementary_PID, ES_info_length
}  // namespace

struct TCPMTElementary::Impl {
    uint8_t streamType;
    uint16_t pid;
    DescriptorLoop loop;
};

TCPMTElementary::TCPMTElementary(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCPMTElementary::~TCPMTElementary() = default;

unsigned short TCPMTElementary::ElementaryPID() {
    return m_impl->pid;
}

unsigned char TCPMTElementary::StreamType() {
    return m_impl->streamType;
}

int TCPMTElementary::NumOfDescriptors(int tag) {
    return static_cast<int>(m_impl->loop.Count(tag));
}

TCBaseDesc* TCPMTElementary::Descriptor(int tag, unsigned int index) {
    return m_impl->loop.Find(tag, index);
}

int TCPMTElementary::NumOfDescriptors() {
    return static_cast<int>(m_impl->loop.size());
}

TCBaseDesc* TCPMTElementary::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

struct TCPMTInstance::Impl {
    uint16_t programNumber;
    uint16_t pcrPid = 0;
    tvservice::SpanningLoop loop = {};
    tvservice::ItemLoop<TCPMTElementary> streams = {};

    // ISO/IEC 13818-1 2.4.4.8: what follows the section's header.
    void Take(uint8_t sectionNumber, ByteView body) {
        pcrPid = body.U16(0) & 0x1FFF;
        const ByteView programInfo = tvservice::Field(body, kFixedSize, body.U16(2) & 0x0FFF);
        loop.Put(sectionNumber, DescriptorLoop(programInfo, kPmtTableId));
        std::vector<std::unique_ptr<TCPMTElementary>> items;
        tvservice::EntryReader reader(body.Subview(kFixedSize + programInfo.size()),
                                      kStreamHeadSize);
        while (reader.Next()) {
            items.push_back(TVServiceInternals::Make<TCPMTElementary>(
                reader.head().U8(0), static_cast<uint16_t>(reader.head().U16(1) & 0x1FFF),
                DescriptorLoop(reader.descriptors(), kPmtTableId)));
        }
        streams.Put(sectionNumber, std::move(items));
    }
};

TCPMTInstance::TCPMTInstance(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

TCPMTInstance::~TCPMTInstance() = default;

unsigned short TCPMTInstance::ProgramNumber() const {
    return m_impl->programNumber;
}

unsigned short TCPMTInstance::PCRPID() const {
    return m_impl->pcrPid;
}

int TCPMTInstance::NumOfElementary() {
    return m_impl->streams.size();
}

TCPMTElementary* TCPMTInstance::PMTElementary(unsigned int index) {
    return m_impl->streams.At(index);
}

int TCPMTInstance::NumOfDescriptors(int tag) {
    return m_impl->loop.Count(tag);
}

TCBaseDesc* TCPMTInstance::Descriptor(int tag, unsigned int index) {
    return m_impl->loop.Find(tag, index);
}

int TCPMTInstance::NumOfDescriptors() {
    return m_impl->loop.size();
}

TCBaseDesc* TCPMTInstance::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

struct TCPMTParser::Impl {
    std::map<uint16_t, std::unique_ptr<TCPMTInstance>> instances;  // by program_number
};

TCPMTParser::TCPMTParser(TVSHandle const&) : m_impl(std::make_unique<Impl>()) {}

TCPMTParser::~TCPMTParser() = default;

bool TCPMTParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, kPmtTableId, kPmtTableId);
    if (!section || section->body().size() < kFixedSize) {
        return false;
    }
    const uint16_t programNumber = section->table_id_extension();
    std::unique_ptr<TCPMTInstance>& instance = m_impl->instances[programNumber];
    if (!instance) {
        instance = TVServiceInternals::Make<TCPMTInstance>(programNumber);
    }
    auto& content = TVServiceInternals::Of(*instance);
    const auto held = tvservice::StoreIfNew(
        TVServiceInternals::Of<TCBaseSection>(*instance).sections, *section, [&content] {
            content.loop.Clear();
            content.streams.Clear();
        });
    if (held) {
        content.Take(held->section_number(), held->body());
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = programNumber;
    return true;
}

void TCPMTParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.clear();
}

unsigned short TCPMTParser::ProgramNumber() const {
    return TVServiceInternals::Of<const TCSectionParser>(*this).tableIdExtension;
}

TCPMTInstance* TCPMTParser::PMTInstance(unsigned short programNumber) {
    const auto found = m_impl->instances.find(programNumber);
    return found == m_impl->instances.end() ? nullptr : found->second.get();
}

int TCPMTParser::NumOfPMTInstance() {
    return static_cast<int>(m_impl->instances.size());
}

TCPMTInstance* TCPMTParser::PMTInstanceOfIndex(unsigned int index) {
    if (index >= m_impl->instances.size()) {
        return nullptr;
    }
    return std::next(m_impl->instances.begin(), index)->second.get();
}

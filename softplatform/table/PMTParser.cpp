#include <cstdint>
#include <iterator>
#include <memory>

#include "platform/TCPMTParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTables.h"

using tvservice::ByteView;
using tvservice::DescriptorLoop;
using tvservice::Room;
using tvservice::SectionView;
using tvservice::SubTable;

namespace {
constexpr uint8_t kPmtTableId = 0x02;
constexpr size_t kPmtFixedSize = 4;    // PCR_PID, program_info_length
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

using Streams = tvservice::Items<TCPMTElementary>;

struct TCPMTInstance::Impl {
    uint16_t programNumber;
    uint16_t pcrPid = 0;
    tvservice::SpanningLoop loop = {};
    tvservice::ItemLoop<Streams> streams = {};

    static constexpr size_t kRoomEach = Streams::RoomEach();

    // Parts of a section's body, ISO/IEC 13818-1 2.4.4.8.
    static size_t ProgramInfoLength(ByteView body) { return body.U16(2) & 0x0FFF; }
    static ByteView StreamsOf(ByteView body) {
        return body.Subview(kPmtFixedSize).Subview(ProgramInfoLength(body));
    }

    static Room RoomFor(SectionView section) {
        const ByteView body = section.body();
        Room room = tvservice::RoomForEntries(StreamsOf(body), kStreamHeadSize);
        room.descriptors +=
            DescriptorLoop::CountIn(body.Subview(kPmtFixedSize, ProgramInfoLength(body)));
        return room;
    }

    void Take(SubTable::Held held, Room room) {
        const uint8_t number = held.section.section_number();
        const ByteView body = held.section.body();
        pcrPid = body.U16(0) & 0x1FFF;
        loop.Put(number,
                 DescriptorLoop(tvservice::Field(body, kPmtFixedSize, ProgramInfoLength(body)),
                                kPmtTableId, held.arena));
        streams.Put(number,
                    Streams(StreamsOf(body), kStreamHeadSize, room.entries, held.arena,
                            [&](const tvservice::EntryReader& entry) {
                                return TVServiceInternals::Impl<TCPMTElementary>{
                                    entry.head().U8(0),
                                    static_cast<uint16_t>(entry.head().U16(1) & 0x1FFF),
                                    DescriptorLoop(entry.descriptors(), kPmtTableId, held.arena)};
                            }));
    }

    void Reserve(size_t sections) {
        loop.Reserve(sections);
        streams.Reserve(sections);
    }

    void Clear() {
        loop.Clear();
        streams.Clear();
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
    return static_cast<int>(m_impl->streams.size());
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
    tvservice::SubTables<uint16_t, TCPMTInstance> instances;  // by program_number
};

TCPMTParser::TCPMTParser(TVSHandle const&) : m_impl(std::make_unique<Impl>()) {}

TCPMTParser::~TCPMTParser() = default;

bool TCPMTParser::Parse(short, unsigned char* bytes) {
    const auto section =
        tvservice::ApplicableSection(bytes, kPmtTableId, kPmtTableId, kPmtFixedSize);
    if (!section) {
        return false;
    }
    const uint16_t programNumber = section->table_id_extension();
    if (!m_impl->instances.Take(programNumber, *section, [programNumber] {
            return TVServiceInternals::Make<TCPMTInstance>(programNumber);
        })) {
        return false;
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = programNumber;
    return true;
}

void TCPMTParser::Reset() {
    TCSectionParser::Reset();
    m_impl->instances.Clear();
}

unsigned short TCPMTParser::ProgramNumber() const {
    return TVServiceInternals::Of<const TCSectionParser>(*this).tableIdExtension;
}

TCPMTInstance* TCPMTParser::PMTInstance(unsigned short programNumber) {
    return m_impl->instances.Find(programNumber);
}

int TCPMTParser::NumOfPMTInstance() {
    return static_cast<int>(m_impl->instances.all().size());
}

TCPMTInstance* TCPMTParser::PMTInstanceOfIndex(unsigned int index) {
    const auto& all = m_impl->instances.all();
    return index < all.size() ? std::next(all.begin(), index)->second.get() : nullptr;
}

#include <cstdint>
#include <memory>

#include "platform/TCDVBCATParser.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/Loops.h"
#include "softplatform/table/SectionParser.h"

using tvservice::DescriptorLoop;
using tvservice::SubTable;

namespace {
constexpr uint8_t kCatTableId = 0x01;
}

struct TCDVBCATParser::Impl {
    tvservice::ArenaPool pool;
    tvservice::SpanningLoop loop;
};

TCDVBCATParser::TCDVBCATParser(TVSHandle const&) : m_impl(std::make_unique<Impl>()) {}

TCDVBCATParser::~TCDVBCATParser() = default;

bool TCDVBCATParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, kCatTableId, kCatTableId);
    if (!section) {
        return false;
    }
    SubTable& table = TVServiceInternals::Of<TCBaseSection>(*this).sections;
    const SubTable::Change change = table.Judge(*section);
    if (change != SubTable::Change::kRepeat) {
        // Everything that can throw comes before the first change.
        m_impl->loop.Reserve(size_t{section->last_section_number()} + 1);
        const SubTable::Held held =
            table.Store(*section, m_impl->pool,
                        DescriptorLoop::CountIn(section->body()) * DescriptorLoop::kRoomEach);
        if (change == SubTable::Change::kAfresh) {
            m_impl->loop.Clear();
        }
        // ISO/IEC 13818-1 2.4.4.6: the whole body of the section is one descriptor loop.
        m_impl->loop.Put(held.section.section_number(),
                         DescriptorLoop(held.section.body(), kCatTableId, held.arena));
    }
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = section->table_id_extension();
    return true;
}

void TCDVBCATParser::Reset() {
    TCSectionParser::Reset();
    m_impl->loop.Clear();
    TVServiceInternals::Of<TCBaseSection>(*this).sections.Clear();
}

int TCDVBCATParser::NumOfDescriptors(int tag) {
    return m_impl->loop.Count(tag);
}

TCBaseDesc* TCDVBCATParser::Descriptor(int tag, unsigned int index) {
    return m_impl->loop.Find(tag, index);
}

int TCDVBCATParser::NumOfDescriptors() {
    return m_impl->loop.size();
}

TCBaseDesc* TCDVBCATParser::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

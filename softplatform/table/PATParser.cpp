#include <cstdint>
#include <unordered_map>
#include <vector>

#include "platform/TCPATParser.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/table/BaseSection.h"
#include "softplatform/table/SectionParser.h"
#include "softplatform/table/SubTable.h"

using tvservice::ByteView;
using tvservice::SubTable;

namespace {

constexpr uint8_t kPatTableId = 0x00;
constexpr size_t kProgramSize = 4;  // program_number, reserved, PID

struct Program {
    uint16_t program_number;
    uint16_t PID;
};

// The program loop of all sections held, in section_number order.
std::vector<Program> ProgramsOf(const SubTable& table) {
    std::vector<Program> programs;
    for (size_t number = 0; number <= table.last_section_number(); ++number) {
        const auto section = table.section(number);
        const ByteView loop = section ? section->body() : ByteView();
        for (size_t at = 0; at < loop.size(); at += kProgramSize) {
            programs.push_back({loop.U16(at), static_cast<uint16_t>(loop.U16(at + 2) & 0x1FFF)});
        }
    }
    return programs;
}

}  // namespace

struct TCPATParser::Impl {
    std::vector<Program> programs;
    std::unordered_map<uint16_t, uint16_t> pids;  // by program_number, of its first entry; made
                                                  // when asked for
};

TCPATParser::TCPATParser(TVSHandle const&) : m_impl(std::make_unique<Impl>()) {}

TCPATParser::~TCPATParser() = default;

bool TCPATParser::Parse(short, unsigned char* bytes) {
    const auto section = tvservice::ApplicableSection(bytes, kPatTableId, kPatTableId);
    if (!section) {
        return false;
    }
    if (section->body().size() % kProgramSize != 0) {
        tvservice::ReceiverCounters().AddShared(tvservice::Counter::kMalformedTables);
        return false;
    }
    SubTable& table = TVServiceInternals::Of<TCBaseSection>(*this).sections;
    if (table.Judge(*section) != SubTable::Change::kRepeat) {
        table.Store(*section);
        m_impl->programs = ProgramsOf(table);
        m_impl->pids.clear();
    }
    // ISO/IEC 13818-1 2.4.4.5: table_id_extension is the transport_stream_id.
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = section->table_id_extension();
    return true;
}

void TCPATParser::Reset() {
    TCSectionParser::Reset();
    TVServiceInternals::Of<TCBaseSection>(*this).sections.Clear();
    m_impl->programs.clear();
    m_impl->pids.clear();
}

int TCPATParser::NumOfProgramList() {
    return static_cast<int>(m_impl->programs.size());
}

unsigned short TCPATParser::ProgramNumber(unsigned int index) {
    return index < m_impl->programs.size() ? m_impl->programs[index].program_number : uint16_t{0};
}

unsigned short TCPATParser::ProgramPID(unsigned short programNumber) {
    if (m_impl->pids.empty()) {
        for (const Program& program : m_impl->programs) {
            m_impl->pids.emplace(program.program_number, program.PID);
        }
    }
    const auto found = m_impl->pids.find(programNumber);
    return found == m_impl->pids.end() ? uint16_t{0} : found->second;
}

unsigned short TCPATParser::TransportStreamId() const {
    return TVServiceInternals::Of<const TCSectionParser>(*this).tableIdExtension;
}

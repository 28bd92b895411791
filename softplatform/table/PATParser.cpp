#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

#include "platform/TCPATParser.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/base/Counters.h"
#include "softplatform/descriptor/DescriptorArena.h"
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

// Reads the program loops of all held sections, in section_number order.
void ReadPrograms(const SubTable& table, std::vector<Program>& programs) {
    programs.clear();
    for (size_t number = 0; number <= table.last_section_number(); ++number) {
        const auto section = table.section(number);
        const ByteView loop = section ? section->body() : ByteView();
        const uint8_t* at = loop.data();
        programs.resize(programs.size() + loop.size() / kProgramSize);
        for (auto program =
                 programs.end() - static_cast<std::ptrdiff_t>(loop.size() / kProgramSize);
             program != programs.end(); ++program, at += kProgramSize) {
            program->program_number = static_cast<uint16_t>(at[0] << 8 | at[1]);
            program->PID = static_cast<uint16_t>((at[2] & 0x1F) << 8 | at[3]);
        }
    }
}

bool IsBefore(const Program& a, const Program& b) {
    return a.program_number < b.program_number;
}

}  // namespace

struct TCPATParser::Impl {
    tvservice::ArenaPool pool;
    std::vector<Program> programs;

    // Must be called after each change of `programs`: Find then sorts them anew.
    void ProgramsChanged() { isSorted = false; }

    // The first entry with that number; null when there is none. Clients ask for the programs one
    // after the other, so Find first tries the entry after the one it found last.
    const Program* Find(uint16_t number) {
        if (!isSorted) {
            SortByNumber();
        }
        const std::vector<Program>& sorted = isInOrder ? programs : byNumber;
        if (next < sorted.size() && sorted[next].program_number == number) {
            return &sorted[next++];
        }
        const auto found =
            std::lower_bound(sorted.begin(), sorted.end(), Program{number, 0}, IsBefore);
        if (found == sorted.end() || found->program_number != number) {
            return nullptr;
        }
        next = static_cast<size_t>(found - sorted.begin()) + 1;
        return &*found;
    }

  private:
    // An entry and its index in `programs`.
    struct Placed {
        Program program;
        size_t index;

        bool operator<(const Placed& other) const {
            return std::tie(program.program_number, index) <
                   std::tie(other.program.program_number, other.index);
        }
    };

    // When the numbers already ascend, Find searches `programs` itself. Otherwise byNumber receives
    // the first entry of each number.
    void SortByNumber() {
        next = 0;
        isInOrder = std::adjacent_find(programs.begin(), programs.end(),
                                       [](const Program& a, const Program& b) {
                                           return !IsBefore(a, b);
                                       }) == programs.end();
        if (!isInOrder) {
            placed.clear();
            for (const Program& program : programs) {
                placed.push_back({program, placed.size()});
            }
            std::sort(placed.begin(), placed.end());
            byNumber.clear();
            for (const Placed& entry : placed) {
                if (byNumber.empty() || IsBefore(byNumber.back(), entry.program)) {
                    byNumber.push_back(entry.program);
                }
            }
        }
        isSorted = true;
    }

    std::vector<Program> byNumber;  // ascending, each number once
    std::vector<Placed> placed;     // used by SortByNumber alone; a member to keep its memory
    bool isSorted = false;          // byNumber, isInOrder and next fit `programs`
    bool isInOrder = false;         // the numbers in `programs` ascend
    size_t next = 0;                // the index after the entry found last
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
        // Everything that can throw comes before the first change.
        m_impl->programs.reserve(m_impl->programs.size() + section->body().size() / kProgramSize);
        table.Store(*section, m_impl->pool);
        ReadPrograms(table, m_impl->programs);
        m_impl->ProgramsChanged();
    }
    // ISO/IEC 13818-1 2.4.4.5: table_id_extension is the transport_stream_id.
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = section->table_id_extension();
    return true;
}

void TCPATParser::Reset() {
    TCSectionParser::Reset();
    TVServiceInternals::Of<TCBaseSection>(*this).sections.Clear();
    m_impl->programs.clear();
    m_impl->ProgramsChanged();
}

int TCPATParser::NumOfProgramList() {
    return static_cast<int>(m_impl->programs.size());
}

unsigned short TCPATParser::ProgramNumber(unsigned int index) {
    return index < m_impl->programs.size() ? m_impl->programs[index].program_number : uint16_t{0};
}

unsigned short TCPATParser::ProgramPID(unsigned short programNumber) {
    const Program* const found = m_impl->Find(programNumber);
    return found == nullptr ? uint16_t{0} : found->PID;
}

unsigned short TCPATParser::TransportStreamId() const {
    return TVServiceInternals::Of<const TCSectionParser>(*this).tableIdExtension;
}

#include <algorithm>
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

// The program loop of all sections held, in section_number order.
void ReadPrograms(const SubTable& table, std::vector<Program>& programs) {
    programs.clear();
    for (size_t number = 0; number <= table.last_section_number(); ++number) {
        const auto section = table.section(number);
        const ByteView loop = section ? section->body() : ByteView();
        for (size_t at = 0; at < loop.size(); at += kProgramSize) {
            programs.push_back({loop.U16(at), static_cast<uint16_t>(loop.U16(at + 2) & 0x1FFF)});
        }
    }
}

}  // namespace

struct TCPATParser::Impl {
    // An entry of the loop; `index` is its place there.
    struct Entry {
        Program program;
        size_t index;

        bool operator<(const Entry& other) const {
            return std::tie(program.program_number, index) <
                   std::tie(other.program.program_number, other.index);
        }
    };

    tvservice::ArenaPool pool;
    std::vector<Program> programs;
    std::vector<Entry> byNumber;  // sorted when asked for
    size_t next = 0;              // of byNumber: behind the one found last

    // The first entry with that number; null when there is none. Clients ask for one program after
    // the other, so the one behind the last is looked at first.
    const Program* Find(uint16_t number) {
        if (byNumber.empty()) {
            SortByNumber();
        }
        if (next < byNumber.size() && byNumber[next].program.program_number == number) {
            return &byNumber[next++].program;
        }
        const auto found =
            std::lower_bound(byNumber.begin(), byNumber.end(), Entry{{number, 0}, 0});
        if (found == byNumber.end() || found->program.program_number != number) {
            return nullptr;
        }
        next = static_cast<size_t>(found - byNumber.begin()) + 1;
        return &found->program;
    }

  private:
    // Only the first entry of each number stays.
    void SortByNumber() {
        next = 0;
        for (const Program& program : programs) {
            byNumber.push_back({program, byNumber.size()});
        }
        if (!std::is_sorted(byNumber.begin(), byNumber.end())) {
            std::sort(byNumber.begin(), byNumber.end());
        }
        const auto isSame = [](const Entry& a, const Entry& b) {
            return a.program.program_number == b.program.program_number;
        };
        byNumber.erase(std::unique(byNumber.begin(), byNumber.end(), isSame), byNumber.end());
    }
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
        // All that can fail comes before anything changes.
        m_impl->programs.reserve(m_impl->programs.size() + section->body().size() / kProgramSize);
        table.Store(*section, m_impl->pool);
        ReadPrograms(table, m_impl->programs);
        m_impl->byNumber.clear();
    }
    // ISO/IEC 13818-1 2.4.4.5: table_id_extension is the transport_stream_id.
    TVServiceInternals::Of<TCSectionParser>(*this).tableIdExtension = section->table_id_extension();
    return true;
}

void TCPATParser::Reset() {
    TCSectionParser::Reset();
    TVServiceInternals::Of<TCBaseSection>(*this).sections.Clear();
    m_impl->programs.clear();
    m_impl->byNumber.clear();
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

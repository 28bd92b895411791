#include "fuzz/Repeats.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace fuzzing {

namespace {

constexpr std::size_t kHeaderSize = 8;  // ISO/IEC 13818-1 2.4.4.11
constexpr short kPid = 0x0123;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Parses a copy of the section, which is freed when the call returns.
bool Take(contract::Table& table, Section section) {
    return table.parser().Parse(kPid, section.data());
}

// The sections that are held of all sub-tables, by the definition only: a section of another
// version or another number of sections drops the earlier ones of its sub-table, and a section with
// the same number replaces the earlier one.
class InForce {
  public:
    InForce(bool hasSubTables, std::size_t identitySize)
        : hasSubTables_(hasSubTables), identitySize_(identitySize) {}

    bool Holds(const Section& section) const {
        return std::find(sections_.begin(), sections_.end(), section) != sections_.end();
    }

    void Add(const Section& section) {
        sections_.erase(
            std::remove_if(sections_.begin(), sections_.end(),
                           [&](const Section& held) {
                               return IsOfSubTableOf(held, section) &&
                                      (!IsOfStateOf(held, section) || held[6] == section[6]);
                           }),
            sections_.end());
        sections_.push_back(section);
    }

    const std::vector<Section>& all() const { return sections_; }

  private:
    bool IsOfSubTableOf(const Section& a, const Section& b) const {
        const auto identity = static_cast<std::ptrdiff_t>(kHeaderSize);
        return !hasSubTables_ ||
               (std::equal(a.begin() + 3, a.begin() + 5, b.begin() + 3) &&
                std::equal(a.begin() + identity,
                           a.begin() + identity + static_cast<std::ptrdiff_t>(identitySize_),
                           b.begin() + identity));
    }

    static bool IsOfStateOf(const Section& a, const Section& b) {
        return a[3] == b[3] && a[4] == b[4] && (a[5] & 0x3E) == (b[5] & 0x3E) && a[7] == b[7];
    }

    const bool hasSubTables_;
    const std::size_t identitySize_;
    std::vector<Section> sections_;
};

// How many bytes behind the header identify a sub-table, together with table_id_extension.
std::size_t IdentitySize(unsigned char tableId) {
    switch (tableId) {
        case 0x42:  // ETSI EN 300 468 5.2.3: original_network_id
        case 0x46:
            return 2;
        case 0x4E:  // 5.2.4: transport_stream_id, original_network_id
        case 0x4F:
            return 4;
        default:
            return 0;
    }
}

// The dump of the contract suite asks for two sub-tables of each kind, by their identities.
Section Renamed(Section section, const contract::TableKind& kind) {
    const std::size_t identitySize = IdentitySize(kind.tableId);
    if (section.size() < kHeaderSize + identitySize) {
        return section;
    }
    contract::SectionOptions named;
    named.identity = static_cast<unsigned short>(named.identity + (section[4] & 1));
    const unsigned short extension = kind.ExtensionOf(named);
    section[3] = static_cast<std::uint8_t>(extension >> 8);
    section[4] = static_cast<std::uint8_t>(extension);
    const testsupport::Bytes body = kind.body(0);
    std::copy_n(body.begin(), identitySize,
                section.begin() + static_cast<std::ptrdiff_t>(kHeaderSize));
    return section;
}

}  // namespace

void RequireRepeatsTeachNothing(const contract::TableKind& kind,
                                const std::vector<Section>& sections) {
    const std::unique_ptr<contract::Table> taught = kind.make();
    const std::unique_ptr<contract::Table> fresh = kind.make();
    InForce inForce(kind.hasSubTables, IdentitySize(kind.tableId));
    for (const Section& raw : sections) {
        const Section section = Renamed(raw, kind);
        const bool isRepeat = inForce.Holds(section);
        const bool isTaken = Take(*taught, section);
        Require(isTaken || !isRepeat);
        if (isTaken && !isRepeat) {
            inForce.Add(section);
            Require(Take(*fresh, section));
        }
        // The last section moves to the end, in the order in which the fresh parser gets it.
        for (const Section& held : inForce.all()) {
            Require(Take(*taught, held));
        }
    }
    Require(taught->Dump() == fresh->Dump());
}

}  // namespace fuzzing

#pragma once

// The seven table parsers of the contract as one kind of thing.

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/TCBaseSection.h"
#include "platform/TCSectionParser.h"
#include "tests/support/TsBytes.h"

namespace contract {

// A parser and what it holds.
class Table {
  public:
    virtual ~Table() = default;
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    virtual TCSectionParser& parser() = 0;

    // The sub-table of `identity`, see TableKind::Section; null when there is none. For PAT and CAT
    // the one table.
    virtual TCBaseSection* SubTable(unsigned short identity) = 0;

    // Everything that can be asked, as text.
    virtual std::string Dump() = 0;

    // Hands over a section from a buffer of exactly its size, which is used for something else
    // afterwards.
    bool Take(const testsupport::Bytes& section);

  protected:
    Table() = default;
};

// A section of the kind that is tested.
struct SectionOptions {
    unsigned char number = 0;
    unsigned char last = 0;
    unsigned char version = 3;
    unsigned short identity = 0x1234;  // table_id_extension; 0xFFFF in CATs whatever it says
};

struct TableKind {
    std::string name;
    std::unique_ptr<Table> (*make)();
    unsigned char tableId;
    unsigned char maxSections;  // that a sub-table may have, as far as the suite goes
    bool hasSubTables;          // several at once, by identity
    size_t fixedSize;           // of the body, without which the section is none
    // What follows the section's header: other content for each section number.
    testsupport::Bytes (*body)(unsigned char number);

    testsupport::Bytes Section(const SectionOptions& options) const;
    unsigned short ExtensionOf(const SectionOptions& options) const;
};

inline std::ostream& operator<<(std::ostream& out, const TableKind& kind) {
    return out << kind.name;
}

const std::vector<TableKind>& TableKinds();

// Bodies of sections by hand.
testsupport::Bytes U16(unsigned value);
// A length field of 12 bits under four reserved ones, then the bytes.
testsupport::Bytes WithLength(const testsupport::Bytes& bytes);

}  // namespace contract

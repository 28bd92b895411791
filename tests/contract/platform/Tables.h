#pragma once

// One interface for the seven table parsers of the contract, so that a test can run with each.

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/TCBaseSection.h"
#include "platform/TCSectionParser.h"
#include "tests/support/TsBytes.h"

namespace contract {

// A parser and its sub-tables.
class Table {
  public:
    virtual ~Table() = default;
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    virtual TCSectionParser& parser() = 0;

    // The sub-table of `identity` (see SectionOptions); null when there is none. For PAT and CAT
    // always the one table.
    virtual TCBaseSection* SubTable(unsigned short identity) = 0;

    // All fields as text.
    virtual std::string Dump() = 0;

    // Parses a section from a buffer of exactly its size. The buffer is overwritten afterwards.
    bool Take(const testsupport::Bytes& section);

  protected:
    Table() = default;
};

// Fields of a section of the tested kind.
struct SectionOptions {
    unsigned char number = 0;
    unsigned char last = 0;
    unsigned char version = 3;
    unsigned short identity = 0x1234;  // table_id_extension; CATs always have 0xFFFF
};

struct TableKind {
    std::string name;
    std::unique_ptr<Table> (*make)();
    unsigned char tableId;
    unsigned char maxSections;  // the largest number of sections of a sub-table in this suite
    bool hasSubTables;          // the parser holds several at once, by identity
    size_t fixedSize;           // the smallest size of a valid body
    // The bytes between header and CRC_32, different for each section number.
    testsupport::Bytes (*body)(unsigned char number);

    testsupport::Bytes Section(const SectionOptions& options) const;
    unsigned short ExtensionOf(const SectionOptions& options) const;
};

inline std::ostream& operator<<(std::ostream& out, const TableKind& kind) {
    return out << kind.name;
}

const std::vector<TableKind>& TableKinds();

// For writing bodies of sections by hand.
testsupport::Bytes U16(unsigned value);
// Four reserved bits, a length of 12 bits, then the bytes.
testsupport::Bytes WithLength(const testsupport::Bytes& bytes);

}  // namespace contract

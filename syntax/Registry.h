// All declarations, and which one counts for a tag or a table_id.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "syntax/Declare.h"

namespace syntax {

enum class Standard : std::uint8_t { kDvb, kIsdb, kAtsc };

// Tags from here on are private: a private_data_specifier in force says whose.
constexpr unsigned kFirstPrivateTag = 0x80;

// A declaration as the interpreters read it. It lives as long as the program.
struct Known {
    Head head;
    std::span<const Op> steps;
};

// What is in force where a descriptor stands.
struct InForce {
    Standard standard = Standard::kDvb;
    std::uint32_t specifier = 0;  // private_data_specifier; 0: none
    std::uint32_t format = 0;     // format_identifier of a registration_descriptor; 0: none
};

// Every declaration, in the order of the files. Any thread.
std::span<const Known> AllKnown();

// The table that `tableId` begins; tables that nobody declared are sections of header and bytes.
const Known& FindTable(std::uint8_t tableId);

// The descriptor with this tag; null where none is declared for what is in force. Tags of spaces
// other than kMain that are not declared there are looked up in kMain.
const Known* FindDescriptor(Space space, unsigned tag, const InForce& inForce);

// The descriptor with this name; where several have it, the one with the tag, then the first.
const Known* FindDescriptor(Space space, std::string_view name, int tag);

// Those that would explain a private tag under other specifiers, formats or standards.
std::vector<const Known*> Explanations(unsigned tag);

// What must be in force where a descriptor of `scope` counts: "under 0x00000028", "under
// registration CUEI", "in ISDB". Empty when nothing must.
std::string ScopeWords(const Scope& scope);

// The space of the extension descriptors of `tag` in `space`; false when it has none.
bool ExtensionSpace(Space space, unsigned tag, Space& extension);

}  // namespace syntax

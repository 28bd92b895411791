// All declarations, and how to find the one for a tag or a table_id.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "syntax/Declare.h"

namespace syntax {

enum class Standard : std::uint8_t { kDvb, kIsdb, kAtsc };

// Tags from this one on are private: their meaning depends on the private_data_specifier.
constexpr unsigned kFirstPrivateTag = 0x80;

// A declaration as decoder and encoder read it. It lives as long as the program.
struct Known {
    Head head;
    std::span<const Op> steps;
};

// What decides about the meaning of a private tag at one place of a stream.
struct InForce {
    Standard standard = Standard::kDvb;
    std::uint32_t specifier = 0;  // private_data_specifier; 0: none
    std::uint32_t format = 0;     // format_identifier of a registration_descriptor; 0: none
};

// Every declaration, in the order of the files. May be called on any thread, as all below.
std::span<const Known> AllKnown();

// The declaration of a table. A table_id without one gets a declaration of section header and
// bytes.
const Known& FindTable(std::uint8_t tableId);

// The descriptor with this tag; null when none is declared for `inForce`. A tag that is not
// declared in `space` is looked up in kMain, but not if `space` is one of the two extension spaces.
const Known* FindDescriptor(Space space, unsigned tag, const InForce& inForce);

// The descriptor with this name. If several have it, the one with the tag, otherwise the first.
const Known* FindDescriptor(Space space, std::string_view name, int tag);

// The declarations of a private tag under other specifiers, formats or standards.
std::vector<const Known*> Explanations(unsigned tag);

// What must be in force where a descriptor of `scope` counts: "under 0x00000028", "under
// registration CUEI", "in ISDB". Empty when nothing must.
std::string ScopeWords(const Scope& scope);

// The space of the extension descriptors that have `tag` in `space`; false when `tag` has none.
bool ExtensionSpace(Space space, unsigned tag, Space& extension);

}  // namespace syntax

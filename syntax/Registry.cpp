#include "syntax/Registry.h"

#include <array>
#include <cstdio>

#include "syntax/declarations/Groups.h"

namespace syntax {

namespace {

constexpr std::size_t kSpaces = static_cast<std::size_t>(Space::kResolution) + 1;
constexpr std::uint32_t kGa94 = 0x47413934;  // registration_descriptor of ATSC (A/53)

struct Lists {
    std::vector<Known> all;
    std::array<const Known*, 256> tables{};
    std::vector<const Known*> byTag[kSpaces][256];
    const Known* other = nullptr;  // for sections with an undeclared table_id
};

const Lists& TheLists() {
    static const Lists& lists = *[] {
        auto* made = new Lists;
        const GroupView groups[] = {MpegTables(),
                                    DvbTables(),
                                    OtherTables(),
                                    MpegDescriptors(),
                                    MpegExtensionDescriptors(),
                                    DvbDescriptors(),
                                    DvbExtensionDescriptors(),
                                    ApplicationDescriptors(),
                                    PrivateDescriptors(),
                                    IsdbDescriptors(),
                                    AtscDescriptors(),
                                    UpdateDescriptors(),
                                    IpMacDescriptors(),
                                    CarouselDescriptors(),
                                    SpliceDescriptors(),
                                    ResolutionDescriptors()};
        for (const GroupView& group : groups) {
            for (const Head& head : group.heads) {
                made->all.push_back({head, group.ops.subspan(head.first, head.count)});
            }
        }
        for (const Known& known : made->all) {
            if (!known.head.table) {
                made->byTag[static_cast<std::size_t>(known.head.scope.space)][known.head.low]
                    .push_back(&known);
                continue;
            }
            if (known.head.name == "private_section") {
                made->other = &known;
                continue;
            }
            for (unsigned id = known.head.low; id <= known.head.high; ++id) {
                made->tables[id] = &known;
            }
        }
        return made;
    }();
    return lists;
}

bool Counts(const Scope& scope, const InForce& inForce) {
    if (scope.specifier != 0) {
        return scope.specifier == inForce.specifier;
    }
    if (scope.registration != 0) {
        return scope.registration == inForce.format;
    }
    const bool atsc = inForce.format == kGa94 && (scope.standards & kAtscOnly) != 0;
    return atsc || (scope.standards >> static_cast<unsigned>(inForce.standard) & 1) != 0;
}

// When a tag has several meanings, the one with the greatest weight is used: that of a private data
// specifier before that of a registration, and this before that of a standard.
int Weight(const Scope& scope) {
    return scope.specifier != 0 ? 2 : scope.registration != 0 ? 1 : 0;
}

}  // namespace

std::span<const Known> AllKnown() {
    return TheLists().all;
}

const Known& FindTable(std::uint8_t tableId) {
    const Lists& lists = TheLists();
    const Known* known = lists.tables[tableId];
    return known != nullptr ? *known : *lists.other;
}

const Known* FindDescriptor(Space space, unsigned tag, const InForce& inForce) {
    const Known* best = nullptr;
    for (const Known* known : TheLists().byTag[static_cast<std::size_t>(space)][tag & 0xFF]) {
        if (Counts(known->head.scope, inForce) &&
            (best == nullptr || Weight(known->head.scope) > Weight(best->head.scope))) {
            best = known;
        }
    }
    const bool extension = space == Space::kMpegExtension || space == Space::kDvbExtension;
    if (best == nullptr && space != Space::kMain && !extension) {
        return FindDescriptor(Space::kMain, tag, inForce);
    }
    return best;
}

const Known* FindDescriptor(Space space, std::string_view name, int tag) {
    const Known* first = nullptr;
    for (const Known& known : TheLists().all) {
        if (!known.head.table && known.head.scope.space == space && known.head.name == name) {
            if (known.head.low == tag) {
                return &known;
            }
            if (first == nullptr) {
                first = &known;
            }
        }
    }
    return first;
}

std::vector<const Known*> Explanations(unsigned tag) {
    std::vector<const Known*> result;
    for (const Known* known :
         TheLists().byTag[static_cast<std::size_t>(Space::kMain)][tag & 0xFF]) {
        result.push_back(known);
    }
    return result;
}

std::string ScopeWords(const Scope& scope) {
    std::string words;
    if (scope.specifier != 0) {
        char text[32];
        std::snprintf(text, sizeof text, "under 0x%08X", scope.specifier);
        words = text;
    } else if (scope.registration != 0) {
        words = "under registration ";
        for (int shift = 24; shift >= 0; shift -= 8) {
            words += static_cast<char>(scope.registration >> shift & 0xFF);
        }
    } else if ((scope.standards & kDvbOnly) == 0) {
        words = (scope.standards & kIsdbOnly) != 0 ? "in ISDB" : "in ATSC";
    }
    return words;
}

bool ExtensionSpace(Space space, unsigned tag, Space& extension) {
    if (space == Space::kSplice || (tag != 0x3F && tag != 0x7F)) {
        return false;
    }
    extension = tag == 0x7F ? Space::kDvbExtension : Space::kMpegExtension;
    return true;
}

}  // namespace syntax

// Feeds any bytes, as consecutive sections in memory of exactly their own length, to every table
// parser of the SI layer (through the client's readers) and to every parser of the platform alone.
// What a platform's parser knows after repeats, a fresh one must know without them.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "fuzz/Repeats.h"
#include "fuzz/Sections.h"
#include "fuzz/TableReaders.h"
#include "softplatform/service/SoftwarePlatform.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr unsigned short kPid = 0x0100;
    tvservice::SetLogPriority(7);
    const std::vector<fuzzing::Section> sections = fuzzing::SectionsOf(data, size);

    fuzzing::TableReaders readers;
    for (fuzzing::Section section : sections) {
        readers.TakeForAll(kPid, section.data(), static_cast<unsigned short>(section.size()));
    }
    fuzzing::Print(readers.Found());

    for (const contract::TableKind& kind : contract::TableKinds()) {
        std::vector<fuzzing::Section> ofKind;
        std::copy_if(sections.begin(), sections.end(), std::back_inserter(ofKind),
                     [&kind](const auto& section) { return section[0] == kind.tableId; });
        if (!ofKind.empty()) {
            fuzzing::RequireRepeatsTeachNothing(kind, ofKind);
        }
    }
    return 0;
}

// Feeds any bytes to the platform's PAT parser, as consecutive sections, each in memory of exactly
// its own length. A parser that got repeats must know the same as a fresh one.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "fuzz/Repeats.h"
#include "fuzz/Sections.h"
#include "platform/TCPATParser.h"
#include "platform/TVSHandle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<fuzzing::Section> sections = fuzzing::SectionsOf(data, size);
    TCPATParser parser(TVSHandle(1, 0));
    for (fuzzing::Section section : sections) {
        parser.Parse(0, section.data());
        for (int i = 0; i < parser.NumOfProgramList(); ++i) {
            if (parser.ProgramPID(parser.ProgramNumber(static_cast<unsigned int>(i))) > 0x1FFF) {
                std::abort();
            }
        }
    }
    fuzzing::RequireRepeatsTeachNothing(contract::TableKinds().front(), sections);
    return 0;
}

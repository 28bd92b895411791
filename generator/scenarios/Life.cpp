#include "generator/scenarios/Life.h"

#include <cstddef>

namespace generator {

Sections Interleave(const std::vector<Sections>& tables) {
    Sections mixed;
    bool more = true;
    for (std::size_t number = 0; more; ++number) {
        more = false;
        for (const Sections& table : tables) {
            if (number < table.size()) {
                mixed.push_back(table[number]);
                more = true;
            }
        }
    }
    return mixed;
}

void Life::Period(const std::vector<SentTable>& tables) {
    for (int repeat = 0; repeat < 3; ++repeat) {
        for (const SentTable& table : tables) {
            writer_.WriteSections(table.pid, table.sections, table.packing);
            writer_.WriteNull(static_cast<std::size_t>(random_.Below(4)));
        }
        writer_.WritePcr(pcrPid_, clock_);
        clock_ += 27'000'000 / 20;
    }
}

}  // namespace generator

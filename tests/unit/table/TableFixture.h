#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "platform/TCBaseDesc.h"
#include "platform/TVSHandle.h"
#include "softplatform/base/Counters.h"
#include "tests/support/TsBytes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::Bytes;
using testsupport::Join;
using testsupport::SectionBytes;

inline Bytes U16(unsigned value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

/// A 12-bit length behind 4 reserved bits, then the bytes that it counts.
inline Bytes Counted(const Bytes& bytes) {
    return Join({U16(0xF000 | static_cast<unsigned>(bytes.size())), bytes});
}

/// Returns how many overruns were counted since the last call.
inline uint64_t TakeOverruns() {
    const uint64_t overruns =
        tvservice::ReceiverCounters().Get(tvservice::Counter::kDescriptorOverruns);
    tvservice::ReceiverCounters().ResetStream();
    return overruns;
}

/// Returns how many malformed tables were counted since the last call.
inline uint64_t TakeMalformed() {
    const uint64_t malformed =
        tvservice::ReceiverCounters().Get(tvservice::Counter::kMalformedTables);
    tvservice::ReceiverCounters().ResetStream();
    return malformed;
}

/// A descriptor of one byte, which identifies the loop that it is in.
inline Bytes Mark(uint8_t value) {
    return {0x80, 1, value};
}

template <class Loop>
std::vector<int> Marks(Loop& loop) {
    std::vector<int> marks;
    for (int i = 0; i < loop.NumOfDescriptors(); ++i) {
        TCBaseDesc* const desc = loop.DescriptorByIndex(static_cast<unsigned>(i));
        unsigned char bytes[3] = {};
        int length = 3;
        marks.push_back(desc != nullptr && desc->GetDescriptor(bytes, &length) == 3 ? bytes[2]
                                                                                    : -1);
    }
    return marks;
}

template <class Parser>
bool Feed(Parser& parser, const SectionBytes& section) {
    Bytes bytes = section.Build();
    return parser.Parse(0, bytes.data());
}

}  // namespace

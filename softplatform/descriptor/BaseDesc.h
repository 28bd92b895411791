#pragma once

#include <cstdint>
#include <vector>

#include "platform/TCBaseDesc.h"

// What every descriptor holds.
struct TCBaseDesc::Impl {
    uint8_t tag = 0;             // descriptor_tag
    std::vector<uint8_t> bytes;  // the whole descriptor; empty before the first Parse
};

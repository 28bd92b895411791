#pragma once

#include <cstdint>

#include "platform/TCSectionParser.h"

struct TCSectionParser::Impl {
    uint16_t tableIdExtension = 0;  // of the last section taken
};

#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace tvservice {

// The lines with which inputs fail, from an errno value.

inline std::string OpenErrorText(const std::string& name, int error) {
    return "cannot open " + name + ": " + std::generic_category().message(error);
}

inline std::string ReadErrorText(const std::string& name, uint64_t offset, int error) {
    return "cannot read " + name + " at byte " + std::to_string(offset) + ": " +
           std::generic_category().message(error);
}

}  // namespace tvservice

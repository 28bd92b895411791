#pragma once

#include <cstdint>
#include <string>
#include <system_error>

namespace tvservice {

// `name` with control characters written as \xNN, so that a message cannot control a terminal.
inline std::string Visible(const std::string& name) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string visible;
    for (const char character : name) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            visible += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
        } else {
            visible += character;
        }
    }
    return visible;
}

// The error messages of inputs. `error` is an errno value.

inline std::string OpenErrorText(const std::string& name, int error) {
    return "cannot open " + Visible(name) + ": " + std::generic_category().message(error);
}

inline std::string ReadErrorText(const std::string& name, uint64_t offset,
                                 const std::string& reason) {
    return "cannot read " + Visible(name) + " at byte " + std::to_string(offset) + ": " + reason;
}

inline std::string ReadErrorText(const std::string& name, uint64_t offset, int error) {
    return ReadErrorText(name, offset, std::generic_category().message(error));
}

}  // namespace tvservice

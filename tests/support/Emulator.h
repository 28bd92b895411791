#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace testsupport {

// Returns the command that runs a program: its name, and before it the emulator, if there is one.
inline std::vector<std::string> CommandOf(const std::string& program) {
    std::vector<std::string> words;
#if defined(TORVELSI_EMULATOR)
    std::istringstream emulator(TORVELSI_EMULATOR);
    for (std::string word; emulator >> word;) {
        words.push_back(word);
    }
#endif
    words.push_back(program);
    return words;
}

}  // namespace testsupport

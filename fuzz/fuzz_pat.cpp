// The platform's PAT parser on anything: sections one after the other, each in memory of exactly
// its own length. A parser that took repeats knows what a fresh one knows.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/TCPATParser.h"
#include "platform/TVSHandle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TCPATParser parser(TVSHandle(1, 0));
    std::size_t at = 0;
    while (size - at >= 3) {
        const std::size_t length = 3 + ((data[at + 1] & 0x0Fu) << 8 | data[at + 2]);
        if (length > size - at) {
            break;
        }
        std::vector<std::uint8_t> section(data + at, data + at + length);
        at += length;
        const bool taken = parser.Parse(0, section.data());
        const int programs = parser.NumOfProgramList();
        if (taken != parser.Parse(0, section.data()) || programs != parser.NumOfProgramList()) {
            std::abort();
        }
        for (int i = 0; i < programs; ++i) {
            const unsigned short number = parser.ProgramNumber(static_cast<unsigned int>(i));
            if (parser.ProgramPID(number) > 0x1FFF) {
                std::abort();
            }
        }
        parser.IsValid();
    }
    return 0;
}

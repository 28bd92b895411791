// Sections of any bytes, decoded and encoded again: from the tree, from its JSON, and without the
// raw bytes.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fuzz/Sections.h"
#include "softplatform/base/Crc32.h"
#include "syntax/PlainText.h"
#include "tests/unit/syntax/RoundTrip.h"

namespace {

void Hold(const fuzzing::Section& section, const syntax::Options& options) {
    const syntax::ByteView view(section.data(), section.size());
    const std::string fault = syntaxtest::RoundTripFault(view, options);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        std::abort();
    }
    syntax::Arena arena;
    std::string text;
    const syntax::Node* tree = syntax::Decoder(options).Section(view, arena);
    syntax::WritePlainText(*tree, view, options.text, {}, text);
}

}  // namespace

// The first byte chooses the standard and the default specifier.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    static constexpr std::uint32_t kSpecifiers[] = {0, 0x28, 0x29, 0x40};
    syntax::Options options;
    options.standard = static_cast<syntax::Standard>(data[0] % 3);
    options.specifier = kSpecifiers[data[0] >> 2 & 3];
    options.text.arib = options.standard == syntax::Standard::kIsdb;
    for (fuzzing::Section section : fuzzing::SectionsOf(data + 1, size - 1)) {
        Hold(section, options);
        if (section.size() > 7) {
            // The same with a good CRC_32.
            const std::size_t end = section.size() - 4;
            const std::uint32_t crc = tvservice::Crc32(section.data(), end);
            for (std::size_t i = 0; i < 4; ++i) {
                section[end + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
            }
            Hold(section, options);
        }
    }
    return 0;
}

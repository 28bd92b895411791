// What people type: addresses of inputs, and faults. Nothing is opened.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "softplatform/fault/FaultSpec.h"
#include "softplatform/input/UdpAddress.h"
#include "softplatform/input/dvb/DvbAddress.h"

namespace {

// Either it is understood or one printable line says why not.
void Require(bool isUnderstood, const std::string& error) {
    if (isUnderstood != error.empty()) {
        std::abort();
    }
    if (!isUnderstood && error.find('\n') != std::string::npos) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const char* const scheme : {"udp://", "rtp://"}) {
        std::string error;
        tvservice::UdpAddress address;
        Require(tvservice::ParseUdpUri(scheme + text, address, error), error);
    }
    std::string error;
    Require(tvservice::ParseDvbAddress("dvb:" + text, error).has_value(), error);
    error.clear();
    Require(tvservice::FaultSpec::Parse(text, error).has_value(), error);
    return 0;
}

#include "softplatform/input/dvb/DvbAddress.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include "softplatform/input/ErrorText.h"

namespace tvservice {

namespace {

constexpr std::string_view kScheme = kDvbScheme;
constexpr unsigned kMaxNumber = 255;

std::optional<unsigned> Number(std::string_view text) {
    unsigned value = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (problem != std::errc() || end != text.data() + text.size() || value > kMaxNumber) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

std::optional<DvbPaths> ParseDvbAddress(const std::string& uri, std::string& error) {
    const auto refuse = [&](const std::string& reason) {
        error = "\"" + Visible(uri) + "\" is not " + kDvbForm + ": " + reason;
        return std::nullopt;
    };
    std::string_view rest = uri;
    if (rest.substr(0, kScheme.size()) != kScheme) {
        return refuse("it does not begin with " + std::string(kScheme));
    }
    rest.remove_prefix(kScheme.size());
    const size_t colon = rest.find(':');
    const std::optional<unsigned> adapter = Number(rest.substr(0, colon));
    if (!adapter) {
        return refuse("ADAPTER must be a number from 0 to 255");
    }
    const std::optional<unsigned> demux =
        colon == std::string_view::npos ? 0 : Number(rest.substr(colon + 1));
    if (!demux) {
        return refuse("DEMUX must be a number from 0 to 255");
    }
    const std::string folder = "/dev/dvb/adapter" + std::to_string(*adapter) + "/";
    const std::string number = std::to_string(*demux);
    return DvbPaths{folder + "demux" + number, folder + "dvr" + number};
}

}  // namespace tvservice

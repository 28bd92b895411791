#pragma once

#include <optional>
#include <string>

namespace tvservice {

// What such an address begins with, and its form as people are told.
constexpr char kDvbScheme[] = "dvb:";
constexpr char kDvbForm[] = "dvb:ADAPTER[:DEMUX]";

// The device files of one demux of one adapter.
struct DvbPaths {
    std::string demux;  // sections, through the kernel's section filters
    std::string dvr;    // the packets that the tool which tuned sends there
};

// The paths that "dvb:ADAPTER[:DEMUX]" stands for, e.g. "dvb:0" or "dvb:0:1". Both are numbers from
// 0 to 255 in decimal; DEMUX is 0 when left out. Whether the devices exist is not looked at.
//
// None when `uri` is not such an address; `error` then receives one line that says what is wrong
// with it. Otherwise `error` is left alone. Any thread.
std::optional<DvbPaths> ParseDvbAddress(const std::string& uri, std::string& error);

}  // namespace tvservice

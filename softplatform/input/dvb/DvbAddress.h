#pragma once

#include <optional>
#include <string>

namespace tvservice {

// The scheme of the address of a DVB adapter, and the form of the address for help and errors.
constexpr char kDvbScheme[] = "dvb:";
constexpr char kDvbForm[] = "dvb:ADAPTER[:DEMUX]";

// The device files of one demux of one adapter.
struct DvbPaths {
    std::string demux;  // gives sections, through the kernel's section filters
    std::string dvr;    // gives the packets that the tuning program selected for it
};

// The paths for "dvb:ADAPTER[:DEMUX]", for example "dvb:0" or "dvb:0:1". Both are decimal numbers
// from 0 to 255; DEMUX is 0 when left out. Does not check whether the devices exist.
//
// None when `uri` does not have this form; `error` then receives one line with the reason.
// Otherwise `error` is not changed. May be called on any thread.
std::optional<DvbPaths> ParseDvbAddress(const std::string& uri, std::string& error);

}  // namespace tvservice

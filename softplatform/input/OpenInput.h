#pragma once

#include <memory>
#include <string>

#include "softplatform/input/InputOptions.h"
#include "softplatform/input/Source.h"

namespace tvservice {

// Opens `uri`: "-" is standard input, "udp://..." datagrams (UdpSource), "rtp://..." RTP in such
// (RtpSource), "dvb:..." a tuned adapter (DvbSource), everything else a path. Regular files and
// block devices can be rewound, all else is read as a stream. Never waits, not even for the writer
// of a named pipe.
//
// Null on failure; `error` then receives one line that names the input and the reason. Otherwise
// `error` is left alone.
std::shared_ptr<Source> OpenInput(const std::string& uri, std::string& error);

// The same, read as the options say (WithOptions; `dvr`: instead of the demux device the packets of
// the dvr device that the same address stands for).
std::shared_ptr<Source> OpenInput(const std::string& uri, const InputOptions& options,
                                  std::string& error);

}  // namespace tvservice

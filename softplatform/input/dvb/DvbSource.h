#pragma once

#include <memory>
#include <string>
#include <utility>

#include "softplatform/input/dvb/DemuxDevice.h"
#include "softplatform/input/dvb/DvbDemux.h"

namespace tvservice {

// An input that gives sections instead of bytes: the demux device of an adapter that something else
// has tuned. It has no end of its own; whoever plays it has to interrupt it.
class DvbSource {
  public:
    // "dvb:ADAPTER[:DEMUX]" (ParseDvbAddress). Null when it is no such address or the device cannot
    // be opened now; `error` then receives one line that names it and says why. Otherwise `error`
    // is left alone.
    static std::shared_ptr<DvbSource> Open(const std::string& uri, std::string& error);

    // The demux device at `path`, opened by `open`.
    DvbSource(std::string name, std::string path, DemuxOpener open)
        : name_(std::move(name)), path_(std::move(path)), open_(std::move(open)) {}

    // The name that messages use.
    const std::string& name() const { return name_; }

    // Opens the demux, which hands its sections to `sink`: borrowed, outlives the demux.
    std::unique_ptr<DvbDemux> OpenDemux(DvbDemuxSink& sink) const;

    // Whether the device can be opened now. On failure `error` receives the line.
    bool Probe(std::string& error) const;

  private:
    const std::string name_;
    const std::string path_;
    const DemuxOpener open_;
};

}  // namespace tvservice

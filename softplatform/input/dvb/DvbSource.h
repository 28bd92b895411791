#pragma once

#include <memory>
#include <string>
#include <utility>

#include "softplatform/input/dvb/DemuxDevice.h"
#include "softplatform/input/dvb/DvbDemux.h"

namespace tvservice {

// An input that gives sections instead of bytes: the demux device of an adapter that another
// program has tuned. It never ends by itself, so it plays until it is interrupted or fails.
class DvbSource {
  public:
    // Opens "dvb:ADAPTER[:DEMUX]" (ParseDvbAddress). Returns null when `uri` does not have this
    // form or the device cannot be opened now; `error` then receives one line with the input and
    // the reason. Otherwise `error` is not changed.
    static std::shared_ptr<DvbSource> Open(const std::string& uri, std::string& error);

    // A source for the demux device at `path`, which `open` opens.
    DvbSource(std::string name, std::string path, DemuxOpener open)
        : name_(std::move(name)), path_(std::move(path)), open_(std::move(open)) {}

    // The name of the input in messages.
    const std::string& name() const { return name_; }

    // Makes a demux that gives its sections to `sink`, which is borrowed and outlives the demux.
    std::unique_ptr<DvbDemux> OpenDemux(DvbDemuxSink& sink) const;

    // Whether the device can be opened now. When it cannot, `error` receives the reason.
    bool Probe(std::string& error) const;

  private:
    const std::string name_;
    const std::string path_;
    const DemuxOpener open_;
};

}  // namespace tvservice

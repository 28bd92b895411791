#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "softplatform/input/Source.h"
#include "softplatform/input/dvb/DemuxDevice.h"
#include "softplatform/input/dvb/DvbDemux.h"

namespace tvservice {

// A tuned adapter, by the sections of its demux device: it has no packets, reading it fails. Who
// plays it has a DvbDemux opened and takes the sections from there.
class DvbSource final : public Source {
  public:
    // "dvb:ADAPTER[:DEMUX]" (ParseDvbAddress). Null when it is no such address or the device cannot
    // be opened now; `error` then receives one line that names it and says why. Otherwise `error`
    // is left alone.
    static std::shared_ptr<DvbSource> Open(const std::string& uri, std::string& error);

    // The demux device at `path`, opened by `open`.
    DvbSource(std::string name, std::string path, DemuxOpener open)
        : Source(std::move(name)), path_(std::move(path)), open_(std::move(open)) {}

    uint64_t size() const override { return 0; }
    bool rewindable() const override { return false; }
    bool live() const override { return true; }
    bool Rewind() override { return true; }
    ReadResult Read(uint8_t* buffer, size_t size) override;
    int descriptor() const override { return -1; }
    const DvbSource* dvb() const override { return this; }

    // Its sections. `sink` is borrowed and outlives the demux.
    std::unique_ptr<DvbDemux> OpenDemux(DvbDemuxSink& sink) const;

    // Whether the device can be opened now. On failure `error` receives the line.
    bool Probe(std::string& error) const;

  private:
    const std::string path_;
    const DemuxOpener open_;
};

}  // namespace tvservice

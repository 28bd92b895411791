#pragma once

#include <memory>
#include <utility>
#include <variant>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/dvb/DvbSource.h"

namespace tvservice {

// What SoftwarePlatform.h hands out as a source. There are two kinds: bytes, in which the receiver
// has to find packets and sections, and a demux device, which has found the sections itself.
class Source {
  public:
    // Neither is null. A source of bytes becomes this one's alone.
    explicit Source(std::shared_ptr<ByteSource> bytes) : kind_(std::move(bytes)) {}
    explicit Source(std::shared_ptr<const DvbSource> device) : kind_(std::move(device)) {}

    // One of these is null.
    std::shared_ptr<ByteSource> bytes() const { return Get<ByteSource>(); }
    std::shared_ptr<const DvbSource> device() const { return Get<const DvbSource>(); }

  private:
    template <class Kind>
    std::shared_ptr<Kind> Get() const {
        const auto* const kind = std::get_if<std::shared_ptr<Kind>>(&kind_);
        return kind != nullptr ? *kind : nullptr;
    }

    const std::variant<std::shared_ptr<ByteSource>, std::shared_ptr<const DvbSource>> kind_;
};

}  // namespace tvservice

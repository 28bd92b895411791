#pragma once

#include <memory>
#include <utility>
#include <variant>

#include "softplatform/input/ByteSource.h"
#include "softplatform/input/dvb/DvbSource.h"

namespace tvservice {

// The Source that SoftwarePlatform.h declares. There are two kinds: a source of bytes, in which the
// receiver has to find packets and sections, and a demux device, which gives whole sections.
class Source {
  public:
    // The argument is not null. Nothing else may use `bytes` from now on.
    explicit Source(std::shared_ptr<ByteSource> bytes) : kind_(std::move(bytes)) {}
    explicit Source(std::shared_ptr<const DvbSource> device) : kind_(std::move(device)) {}

    // Exactly one of the two is null.
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

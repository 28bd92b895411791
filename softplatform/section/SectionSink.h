#pragma once

#include "softplatform/section/SectionView.h"

namespace tvservice {

// Receives the sections that match a filter.
class SectionSink {
  public:
    // One section that matched, with a good CRC (CrcIsGood). Its bytes are borrowed for the call.
    // `id` is that of the subscription. Called on the delivery thread, one call at a time, with no
    // lock of the engine held. It may call Subscribe and Unsubscribe.
    virtual void OnSection(int id, SectionView section) = 0;

  protected:
    SectionSink() = default;
    SectionSink(const SectionSink&) = default;
    SectionSink& operator=(const SectionSink&) = default;
    ~SectionSink() = default;
};

}  // namespace tvservice

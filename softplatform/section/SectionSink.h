#pragma once

#include "softplatform/section/SectionView.h"

namespace tvservice {

// Takes the sections of a filter.
class SectionSink {
  public:
    // One section that matched, with a good CRC (CrcIsGood). Its bytes are borrowed for the call.
    // `id` is what the subscription named. On the delivery thread, one call at a time, with no lock
    // of the engine's held; may call Subscribe and Unsubscribe.
    virtual void OnSection(int id, SectionView section) = 0;

  protected:
    SectionSink() = default;
    SectionSink(const SectionSink&) = default;
    SectionSink& operator=(const SectionSink&) = default;
    ~SectionSink() = default;
};

}  // namespace tvservice

#pragma once

#include <memory>

#include "Export.h"

class TCBaseDesc;

/// The decoded descriptors of one loop.
class TVSERVICE_API TCDescriptorHash {
  public:
    TCDescriptorHash();
    ~TCDescriptorHash();

    int NumOfDescriptors();

    /// The descriptor at `index`, in loop order; null past the end. It is owned by the hash and
    /// lives until the hash is filled again or destroyed.
    TCBaseDesc* DescriptorByIndex(unsigned int index);

    TCDescriptorHash(const TCDescriptorHash&) = delete;
    TCDescriptorHash& operator=(const TCDescriptorHash&) = delete;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

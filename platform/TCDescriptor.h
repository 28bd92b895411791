#pragma once

#include <memory>

#include "Export.h"

class TCDescriptorHash;
struct TVSHandle;

/// Decoder of descriptor loops.
class TVSERVICE_API TCDescriptor {
  public:
    explicit TCDescriptor(TVSHandle const& handle);
    ~TCDescriptor();

    /// Decodes a descriptor loop into `hash`, in place of what it held.
    ///
    /// @param loop     its first descriptor_tag; may be null when `length` is 0
    /// @param length   its bytes; never read past. A descriptor that overruns it ends the loop
    /// @param hash     receives the descriptors, with copies of their bytes
    /// @param tableId  the table that the loop stands in: extension descriptors get a class of
    ///                 their own in 0x40 and 0x41 and are plain elsewhere
    void Parse(unsigned char* loop, int length, TCDescriptorHash& hash, unsigned char tableId);

    TCDescriptor(const TCDescriptor&) = delete;
    TCDescriptor& operator=(const TCDescriptor&) = delete;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

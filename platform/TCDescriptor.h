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

    /// Decodes a descriptor loop into `hash`, which loses its former descriptors.
    ///
    /// @param loop     the first descriptor_tag of the loop; may be null when `length` is 0
    /// @param length   the size of the loop in bytes. No byte after it is read, and a descriptor
    /// that
    ///                 would exceed it ends the loop
    /// @param hash     receives the descriptors, with copies of their bytes
    /// @param tableId  the table_id of the table that has the loop. Extension descriptors become
    ///                 objects of their own classes in 0x40 and 0x41, and plain ones in others
    void Parse(unsigned char* loop, int length, TCDescriptorHash& hash, unsigned char tableId);

    TCDescriptor(const TCDescriptor&) = delete;
    TCDescriptor& operator=(const TCDescriptor&) = delete;

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

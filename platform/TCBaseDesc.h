#pragma once

#include <memory>

#include "Export.h"

/// One descriptor (ETSI EN 300 468 6.1), with its own copy of the bytes.
///
/// The base class is the plain descriptor of any tag; derived classes decode one tag each. Not
/// thread-safe while `Parse` runs.
///
/// A descriptor that a parser or a `TCDescriptorHash` owns is used by one thread at a time, as its
/// owner is. One that a client made or got from `Fork` may be read by several.
class TVSERVICE_API TCBaseDesc {
  public:
    TCBaseDesc();
    virtual ~TCBaseDesc();
    TCBaseDesc& operator=(const TCBaseDesc&) = delete;

    /// Takes one descriptor.
    ///
    /// @param descriptor  its first byte (descriptor_tag); 2 + descriptor_length bytes are read,
    ///                    never more. The tag is not checked against the class
    /// @return the bytes that the syntax consumed, tag and length bytes included: `Length()` for a
    ///         well-formed descriptor, less when bytes are left over, 0 when the fixed part does
    ///         not fit the declared length
    int Parse(unsigned char* descriptor);

    /// 2 + descriptor_length of the descriptor taken, 0 before the first one.
    int Length();

    /// descriptor_tag (0 to 255); extension classes answer 0x7Fxx.
    virtual unsigned short Tag() const;

    /// Copies the whole descriptor, tag byte first.
    ///
    /// @param buffer  receives the bytes
    /// @param length  the buffer's capacity in; the count of bytes copied out
    /// @return that count; 0 when the buffer is too small, null, or nothing was parsed
    int GetDescriptor(unsigned char* buffer, int* length);

    /// A heap copy with the same dynamic type, owned by the caller.
    virtual TCBaseDesc* Fork() const;

  protected:
    TCBaseDesc(const TCBaseDesc& other);

    /// Decodes what follows the length byte. Called by `Parse` once the bytes are copied.
    /// @return the payload bytes consumed; negative when the fixed part does not fit
    virtual int Decode(const unsigned char* payload, int length);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

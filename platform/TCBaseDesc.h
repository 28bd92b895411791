#pragma once

#include <memory>

#include "Export.h"

/// One descriptor (ETSI EN 300 468 6.1), with its own copy of the bytes.
///
/// The base class is a plain descriptor of any tag; each derived class decodes one tag.
///
/// A descriptor that a parser or a `TCDescriptorHash` owns may be used by one thread at a time,
/// like its owner. A descriptor that a client made or got from `Fork` may be read by several
/// threads at once, but not while one of them calls `Parse`.
class TVSERVICE_API TCBaseDesc {
  public:
    TCBaseDesc();
    virtual ~TCBaseDesc();
    TCBaseDesc& operator=(const TCBaseDesc&) = delete;

    /// Copies and decodes one descriptor, in place of the one before.
    ///
    /// @param descriptor  its first byte (descriptor_tag); 2 + descriptor_length bytes are read,
    ///                    never more. The tag is not checked against the class
    /// @return the bytes that the syntax consumed, tag and length bytes included: `Length()` for a
    ///         well-formed descriptor, less when bytes are left over, 0 when the fixed part does
    ///         not fit the declared length
    int Parse(unsigned char* descriptor);

    /// 2 + descriptor_length of the parsed descriptor, 0 before the first `Parse`.
    int Length();

    /// descriptor_tag (0 to 255). Extension classes return 0x7Fxx, where xx is
    /// descriptor_tag_extension.
    virtual unsigned short Tag() const;

    /// Copies the whole descriptor, tag byte first.
    ///
    /// @param buffer  receives the bytes
    /// @param length  on entry the size of the buffer; on return the number of bytes copied
    /// @return the number of bytes copied; 0 when the buffer is too small or null, or when nothing
    ///         was parsed
    int GetDescriptor(unsigned char* buffer, int* length);

    /// A heap copy with the same dynamic type, owned by the caller.
    virtual TCBaseDesc* Fork() const;

  protected:
    TCBaseDesc(const TCBaseDesc& other);

    /// Decodes the bytes after the length byte. `Parse` calls it when it has copied the bytes.
    /// @return the number of payload bytes consumed; negative when the fixed part does not fit
    virtual int Decode(const unsigned char* payload, int length);

  private:
    friend struct TVServiceInternals;
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

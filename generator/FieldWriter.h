// Writes structures field by field, one call per field, the most significant bit first. The code
// that builds a structure then reads like its syntax table in the standard.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

// Collects bits into bytes. It throws std::logic_error when a value does not fit its width, a width
// is above 64, or bytes are written while the last byte is unfinished.
class BitBuffer {
  public:
    void PutBits(unsigned width, std::uint64_t value);
    void PutBytes(const std::uint8_t* data, std::size_t size);
    // Returns everything written so far and empties the buffer. Throws std::logic_error when the
    // last byte is unfinished.
    Bytes Take();

  private:
    Bytes bytes_;
    unsigned openBits_ = 0;  // bits still free in the last byte
};

// The field calls that all writers share. `Self` is the derived class; every call returns it, so
// that calls can be chained. Errors are those of BitBuffer.
template <class Self>
class FieldWriter {
  public:
    // Writes `width` bits (0 to 64).
    Self& Bits(unsigned width, std::uint64_t value) {
        buffer_.PutBits(width, value);
        return self();
    }
    // Writes `width` reserved bits. They are all one in every table that the generator writes.
    Self& Reserved(unsigned width) {
        return Bits(width, width == 0 ? 0 : ~std::uint64_t{0} >> (64 - width));
    }
    Self& U8(std::uint64_t value) { return Bits(8, value); }
    Self& U16(std::uint64_t value) { return Bits(16, value); }
    Self& U24(std::uint64_t value) { return Bits(24, value); }
    Self& U32(std::uint64_t value) { return Bits(32, value); }
    Self& U40(std::uint64_t value) { return Bits(40, value); }

    // Writes bytes unchanged.
    Self& Raw(const Bytes& bytes) {
        buffer_.PutBytes(bytes.data(), bytes.size());
        return self();
    }
    // Writes characters unchanged: language codes, and text already coded as EN 300 468 annex A
    // says.
    Self& Text(std::string_view text) { return Raw(Bytes(text.begin(), text.end())); }
    // Writes an 8-bit length, then the characters.
    Self& Text8(std::string_view text) { return Length8(Bytes(text.begin(), text.end())); }

    // Writes the length of `content` in 8, 12 or 16 bits, then the content. Write the bits that
    // share a byte with the length first: `Reserved(4).Length12(content)`.
    Self& Length8(const Bytes& content) { return Bits(8, content.size()).Raw(content); }
    Self& Length12(const Bytes& content) { return Bits(12, content.size()).Raw(content); }
    Self& Length16(const Bytes& content) { return Bits(16, content.size()).Raw(content); }

    // Writes a descriptor loop or a similar structure: four reserved bits, a 12-bit length, the
    // entries.
    Self& Loop12(const std::vector<Bytes>& entries) {
        return Reserved(4).Length12(Concat(entries));
    }

  protected:
    FieldWriter() = default;
    ~FieldWriter() = default;
    FieldWriter(const FieldWriter&) = default;
    FieldWriter& operator=(const FieldWriter&) = default;

    Bytes TakeFields() { return buffer_.Take(); }

  private:
    Self& self() { return static_cast<Self&>(*this); }

    BitBuffer buffer_;
};

// Writes fields that belong to no section or descriptor.
class ByteWriter : public FieldWriter<ByteWriter> {
  public:
    // Returns what was written and empties the writer.
    Bytes Build() { return TakeFields(); }
};

}  // namespace generator

// Writes syntax tables: one call a field, most significant bit first, so that the code that builds
// a structure reads like the table in the standard that defines it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "generator/Bytes.h"

namespace generator {

// Bits collected into bytes. A value that does not fit its width, a width above 64, or bytes
// written while the last byte is unfinished is a mistake in the caller and throws std::logic_error.
class BitBuffer {
  public:
    void PutBits(unsigned width, std::uint64_t value);
    void PutBytes(const std::uint8_t* data, std::size_t size);
    // Everything written so far, leaving the buffer empty; throws std::logic_error when the last
    // byte is unfinished.
    Bytes Take();

  private:
    Bytes bytes_;
    unsigned openBits_ = 0;  // bits still free in the last byte
};

// The field calls, shared by everything that is written field by field. `Self` is the class that
// derives from it; every call returns it, so calls chain. Failures as in BitBuffer.
template <class Self>
class FieldWriter {
  public:
    // `width` bits (0 to 64).
    Self& Bits(unsigned width, std::uint64_t value) {
        buffer_.PutBits(width, value);
        return self();
    }
    // `width` reserved bits, which are all one in every table that the generator writes.
    Self& Reserved(unsigned width) {
        return Bits(width, width == 0 ? 0 : ~std::uint64_t{0} >> (64 - width));
    }
    Self& U8(std::uint64_t value) { return Bits(8, value); }
    Self& U16(std::uint64_t value) { return Bits(16, value); }
    Self& U24(std::uint64_t value) { return Bits(24, value); }
    Self& U32(std::uint64_t value) { return Bits(32, value); }
    Self& U40(std::uint64_t value) { return Bits(40, value); }

    // Bytes as they stand.
    Self& Raw(const Bytes& bytes) {
        buffer_.PutBytes(bytes.data(), bytes.size());
        return self();
    }
    // Characters as they stand: text already coded after EN 300 468 annex A, language codes.
    Self& Text(std::string_view text) { return Raw(Bytes(text.begin(), text.end())); }
    // An 8-bit length, then the characters.
    Self& Text8(std::string_view text) { return Length8(Bytes(text.begin(), text.end())); }

    // A length of 8, 12 or 16 bits that counts the content, then the content. Write the bits that
    // share the length's bytes first: `Reserved(4).Length12(content)`.
    Self& Length8(const Bytes& content) { return Bits(8, content.size()).Raw(content); }
    Self& Length12(const Bytes& content) { return Bits(12, content.size()).Raw(content); }
    Self& Length16(const Bytes& content) { return Bits(16, content.size()).Raw(content); }

    // A descriptor loop or the like: four reserved bits, a 12-bit length, the entries.
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

// Fields alone, without a section or descriptor around them.
class ByteWriter : public FieldWriter<ByteWriter> {
  public:
    // What was written, leaving the writer empty.
    Bytes Build() { return TakeFields(); }
};

}  // namespace generator

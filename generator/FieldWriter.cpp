#include "generator/FieldWriter.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace generator {

void BitBuffer::PutBits(unsigned width, std::uint64_t value) {
    if (width > 64 || (width < 64 && value >> width != 0)) {
        throw std::logic_error("a value does not fit its field");
    }
    while (width > 0) {
        if (openBits_ == 0) {
            bytes_.push_back(0);
            openBits_ = 8;
        }
        const unsigned taken = std::min({width, openBits_, 8u});
        const std::uint64_t piece = value >> (width - taken) & ((1u << taken) - 1);
        bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | piece << (openBits_ - taken));
        openBits_ -= taken;
        width -= taken;
    }
}

void BitBuffer::PutBytes(const std::uint8_t* data, std::size_t size) {
    if (openBits_ != 0) {
        throw std::logic_error("bytes were written while the last byte was unfinished");
    }
    bytes_.insert(bytes_.end(), data, data + size);
}

Bytes BitBuffer::Take() {
    if (openBits_ != 0) {
        throw std::logic_error("the last byte is unfinished");
    }
    return std::exchange(bytes_, {});
}

}  // namespace generator

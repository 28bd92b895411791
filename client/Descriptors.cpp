#include "client/Descriptors.h"

namespace client {

namespace {

// A packed descriptor: one byte of these flags, its tag, its size in two bytes, the specifier in
// four bytes if flagged, the recorded extension in one byte if flagged, its data.
constexpr unsigned char kHasSpecifier = 1;
constexpr unsigned char kHasExtension = 2;
constexpr std::size_t kSpecifierSize = 4;

}  // namespace

void DescriptorList::Add(const Descriptor& descriptor) {
    const unsigned int specifier = descriptor.privateDataSpecifier.value_or(0);
    const auto byte = [](std::size_t value) { return static_cast<unsigned char>(value & 0xFF); };
    packed_.push_back(byte((descriptor.privateDataSpecifier ? kHasSpecifier : 0u) |
                           (descriptor.recordedExtension ? kHasExtension : 0u)));
    packed_.insert(packed_.end(),
                   {descriptor.tag, byte(descriptor.size >> 8), byte(descriptor.size)});
    if (descriptor.privateDataSpecifier) {
        packed_.insert(packed_.end(), {byte(specifier >> 24), byte(specifier >> 16),
                                       byte(specifier >> 8), byte(specifier)});
    }
    if (descriptor.recordedExtension) {
        packed_.push_back(*descriptor.recordedExtension);
    }
    packed_.insert(packed_.end(), descriptor.data, descriptor.data + descriptor.size);
}

void DescriptorList::Append(const DescriptorList& others) {
    packed_.insert(packed_.end(), others.packed_.begin(), others.packed_.end());
}

Descriptor DescriptorList::Iterator::operator*() const {
    const unsigned char flags = at_[0];
    Descriptor descriptor{at_[1], {}, {}, nullptr, static_cast<std::size_t>(at_[2] << 8 | at_[3])};
    const unsigned char* at = at_ + 4;
    if ((flags & kHasSpecifier) != 0) {
        descriptor.privateDataSpecifier = static_cast<unsigned int>(at[0]) << 24 |
                                          static_cast<unsigned int>(at[1]) << 16 |
                                          static_cast<unsigned int>(at[2]) << 8 | at[3];
        at += kSpecifierSize;
    }
    if ((flags & kHasExtension) != 0) {
        descriptor.recordedExtension = *at++;
    }
    descriptor.data = at;
    return descriptor;
}

DescriptorList::Iterator& DescriptorList::Iterator::operator++() {
    const Descriptor descriptor = **this;
    at_ = descriptor.data + descriptor.size;
    return *this;
}

}  // namespace client

#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

namespace client {

/// Bytes as broadcast.
using Bytes = std::vector<unsigned char>;

/// One descriptor of a list. It borrows the list's bytes: a change of the list makes it invalid.
struct Descriptor {
    unsigned char tag;
    std::optional<unsigned int> privateDataSpecifier;  ///< the latest one before it in its loop
    std::optional<unsigned char> recordedExtension;    ///< extendedTag of the SI layer's record
    const unsigned char* data;                         ///< tag and length bytes first
    std::size_t size;

    /// descriptor_tag_extension (ETSI EN 300 468 6.2.16) of an extension descriptor; no value for
    /// other descriptors, or when the descriptor is too short to have it.
    std::optional<unsigned char> TagExtension() const {
        constexpr unsigned char kExtensionTag = 0x7F;
        constexpr std::size_t kAt = 2;
        return tag == kExtensionTag && size > kAt ? std::optional<unsigned char>(data[kAt])
                                                  : std::nullopt;
    }
};

/// The descriptors of a loop, in loop order. A descriptor may be as short as two bytes, so an
/// object for each would take many times the memory of the broadcast. All are packed into one block
/// instead, with a few bytes more for each.
class DescriptorList {
  public:
    class Iterator {
      public:
        using iterator_category = std::input_iterator_tag;
        using value_type = Descriptor;
        using difference_type = std::ptrdiff_t;
        using pointer = const Descriptor*;
        using reference = Descriptor;

        explicit Iterator(const unsigned char* at) : at_(at) {}
        Descriptor operator*() const;
        Iterator& operator++();
        bool operator==(const Iterator& other) const { return at_ == other.at_; }
        bool operator!=(const Iterator& other) const { return at_ != other.at_; }

      private:
        const unsigned char* at_;
    };

    /// Appends a copy of one descriptor; its size must be below 65536. A broadcast descriptor has
    /// at most 257 bytes.
    void Add(const Descriptor& descriptor);
    void Append(const DescriptorList& others);

    /// Frees memory that is reserved for more descriptors.
    void ShrinkToFit() { packed_.shrink_to_fit(); }

    Iterator begin() const { return Iterator(packed_.data()); }
    Iterator end() const { return Iterator(packed_.data() + packed_.size()); }
    bool empty() const { return packed_.empty(); }
    std::size_t size() const { return static_cast<std::size_t>(std::distance(begin(), end())); }

  private:
    Bytes packed_;
};

}  // namespace client

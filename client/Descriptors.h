#pragma once

#include <cstddef>
#include <iterator>
#include <optional>
#include <vector>

namespace client {

/// Whole bytes of something, as broadcast.
using Bytes = std::vector<unsigned char>;

/// One descriptor of a list: borrows the list's bytes.
struct Descriptor {
    unsigned char tag;
    std::optional<unsigned int> privateDataSpecifier;  ///< the one in force
    std::optional<unsigned char> recordedExtension;    ///< extendedTag of the SI layer's record
    const unsigned char* data;                         ///< tag and length bytes first
    std::size_t size;

    /// descriptor_tag_extension (ETSI EN 300 468 6.2.16) of an extension descriptor; nothing of
    /// others, and of one too short to have it.
    std::optional<unsigned char> TagExtension() const {
        constexpr unsigned char kExtensionTag = 0x7F;
        constexpr std::size_t kAt = 2;
        return tag == kExtensionTag && size > kAt ? std::optional<unsigned char>(data[kAt])
                                                  : std::nullopt;
    }
};

/// The descriptors of a loop, in its order. A loop may hold a descriptor in every two bytes, so
/// they are kept one behind the other in a single block, a few bytes more than were broadcast.
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

    /// Appends a copy. The size must be below 65536; a descriptor has 257 bytes at most.
    void Add(const Descriptor& descriptor);
    void Append(const DescriptorList& others);

    /// Gives back memory that was kept for descriptors to come.
    void ShrinkToFit() { packed_.shrink_to_fit(); }

    Iterator begin() const { return Iterator(packed_.data()); }
    Iterator end() const { return Iterator(packed_.data() + packed_.size()); }
    bool empty() const { return packed_.empty(); }
    std::size_t size() const { return static_cast<std::size_t>(std::distance(begin(), end())); }

  private:
    Bytes packed_;
};

}  // namespace client

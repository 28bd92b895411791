#include "platform/TCDescParentalRating.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.28
struct TCDescParentalRating::Impl {
    struct Entry {
        uint32_t country;
        uint8_t rating;
    };
    std::vector<Entry> ratings;
};

TCDescParentalRating::TCDescParentalRating() : m_impl(std::make_unique<Impl>()) {}

TCDescParentalRating::TCDescParentalRating(const TCDescParentalRating& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescParentalRating::~TCDescParentalRating() = default;

TCBaseDesc* TCDescParentalRating::Fork() const {
    return new TCDescParentalRating(*this);
}

int TCDescParentalRating::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    size_t at = 0;
    for (; bytes.Has(at, 4); at += 4) {
        m_impl->ratings.push_back({bytes.U24(at), bytes.U8(at + 3)});
    }
    return static_cast<int>(at);
}

int TCDescParentalRating::NumOfRatings() const {
    return static_cast<int>(m_impl->ratings.size());
}

unsigned int TCDescParentalRating::CountryCode(unsigned int index) const {
    return index < m_impl->ratings.size() ? m_impl->ratings[index].country : 0;
}

unsigned char TCDescParentalRating::Rating(unsigned int index) const {
    return index < m_impl->ratings.size() ? m_impl->ratings[index].rating : uint8_t{0};
}

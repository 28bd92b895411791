#include "platform/TCDescParentalRating.h"

#include "softplatform/descriptor/BaseDesc.h"

using tvservice::PayloadOf;

// ETSI EN 300 468 6.2.28
struct TCDescParentalRating::Impl {};

namespace {
constexpr size_t kEntrySizeParentalRating = 4;
}

TCDescParentalRating::TCDescParentalRating() = default;

TCDescParentalRating::TCDescParentalRating(const TCDescParentalRating& other) : TCBaseDesc(other) {}

TCDescParentalRating::~TCDescParentalRating() = default;

TCBaseDesc* TCDescParentalRating::Fork() const {
    return new TCDescParentalRating(*this);
}

int TCDescParentalRating::Decode(const unsigned char*, int length) {
    return length - length % static_cast<int>(kEntrySizeParentalRating);
}

int TCDescParentalRating::NumOfRatings() const {
    return static_cast<int>(PayloadOf(*this).size() / kEntrySizeParentalRating);
}

unsigned int TCDescParentalRating::CountryCode(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeParentalRating).U24(0);
}

unsigned char TCDescParentalRating::Rating(unsigned int index) const {
    return tvservice::EntryOf(*this, index, kEntrySizeParentalRating).U8(3);
}

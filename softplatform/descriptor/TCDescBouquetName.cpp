#include "platform/TCDescBouquetName.h"

#include <cstdint>
#include <vector>

#include "softplatform/base/ByteView.h"

using tvservice::ByteView;

// ETSI EN 300 468 6.2.4
struct TCDescBouquetName::Impl {
    std::vector<uint8_t> name;
};

TCDescBouquetName::TCDescBouquetName() : m_impl(std::make_unique<Impl>()) {}

TCDescBouquetName::TCDescBouquetName(const TCDescBouquetName& other)
    : TCBaseDesc(other), m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCDescBouquetName::~TCDescBouquetName() = default;

TCBaseDesc* TCDescBouquetName::Fork() const {
    return new TCDescBouquetName(*this);
}

int TCDescBouquetName::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    *m_impl = Impl();
    m_impl->name.assign(bytes.begin(), bytes.end());
    return length;
}

const std::vector<unsigned char>& TCDescBouquetName::Name() const {
    return m_impl->name;
}

#include "softplatform/descriptor/BaseDesc.h"

#include <algorithm>

#include "platform/TCBaseDesc.h"

namespace {
constexpr int kHeaderSize = 2;  // descriptor_tag, descriptor_length
}

TCBaseDesc::TCBaseDesc() : m_impl(std::make_unique<Impl>()) {}

TCBaseDesc::TCBaseDesc(const TCBaseDesc& other) : m_impl(std::make_unique<Impl>(*other.m_impl)) {}

TCBaseDesc::~TCBaseDesc() = default;

int TCBaseDesc::Parse(unsigned char* descriptor) {
    const int length = descriptor[1];
    m_impl->tag = descriptor[0];
    m_impl->bytes.assign(descriptor, descriptor + kHeaderSize + length);
    const int consumed = Decode(m_impl->bytes.data() + kHeaderSize, length);
    return consumed < 0 ? 0 : kHeaderSize + consumed;
}

int TCBaseDesc::Length() {
    return static_cast<int>(m_impl->bytes.size());
}

unsigned short TCBaseDesc::Tag() const {
    return m_impl->tag;
}

int TCBaseDesc::GetDescriptor(unsigned char* buffer, int* length) {
    const int size = Length();
    if (buffer == nullptr || length == nullptr || size == 0 || *length < size) {
        return 0;
    }
    std::copy(m_impl->bytes.begin(), m_impl->bytes.end(), buffer);
    *length = size;
    return size;
}

TCBaseDesc* TCBaseDesc::Fork() const {
    return new TCBaseDesc(*this);
}

int TCBaseDesc::Decode(const unsigned char*, int length) {
    return length;
}

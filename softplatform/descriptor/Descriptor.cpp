#include <cstdint>
#include <vector>

#include "platform/IDescriptorContainer.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/descriptor/Internals.h"

IDescriptorContainer::~IDescriptorContainer() = default;

struct TCDescriptor::Impl {};

TCDescriptor::TCDescriptor(TVSHandle const&) {}

TCDescriptor::~TCDescriptor() = default;

struct TCDescriptorHash::Impl {
    std::vector<uint8_t> bytes;
    tvservice::DescriptorLoop loop;  // over bytes
};

void TCDescriptor::Parse(unsigned char* loop, int length, TCDescriptorHash& hash,
                         unsigned char tableId) {
    auto& impl = TVServiceInternals::Of(hash);
    impl.loop = tvservice::DescriptorLoop();
    impl.bytes.clear();
    if (loop != nullptr && length > 0) {
        impl.bytes.assign(loop, loop + length);
    }
    impl.loop = tvservice::DescriptorLoop({impl.bytes.data(), impl.bytes.size()}, tableId);
}

TCDescriptorHash::TCDescriptorHash() : m_impl(std::make_unique<Impl>()) {}

TCDescriptorHash::~TCDescriptorHash() = default;

int TCDescriptorHash::NumOfDescriptors() {
    return static_cast<int>(m_impl->loop.size());
}

TCBaseDesc* TCDescriptorHash::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

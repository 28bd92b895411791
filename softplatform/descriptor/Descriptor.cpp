#include <algorithm>
#include <cstdint>
#include <utility>

#include "platform/IDescriptorContainer.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/DescriptorArena.h"
#include "softplatform/descriptor/DescriptorLoop.h"
#include "softplatform/descriptor/Internals.h"
#include "softplatform/descriptor/Recycled.h"

using tvservice::ByteView;
using tvservice::DescriptorArena;
using tvservice::DescriptorLoop;

IDescriptorContainer::~IDescriptorContainer() = default;

struct TCDescriptor::Impl {};

TCDescriptor::TCDescriptor(TVSHandle const&) {}

TCDescriptor::~TCDescriptor() = default;

struct TCDescriptorHash::Impl {
    tvservice::DescriptorArena arena;  // holds the loop's bytes and its descriptors
    tvservice::DescriptorLoop loop;
};

void TCDescriptor::Parse(unsigned char* loop, int length, TCDescriptorHash& hash,
                         unsigned char tableId) {
    auto& impl = TVServiceInternals::Of(hash);
    const ByteView bytes =
        loop != nullptr && length > 0 ? ByteView(loop, static_cast<size_t>(length)) : ByteView();
    impl.arena.Begin(DescriptorArena::Rounded(bytes.size()) +
                     DescriptorLoop::CountIn(bytes) * DescriptorLoop::kRoomEach);
    auto* const copy = static_cast<uint8_t*>(impl.arena.Take(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), copy);
    impl.loop = DescriptorLoop({copy, bytes.size()}, tableId, impl.arena);
}

TCDescriptorHash::TCDescriptorHash() : m_impl(tvservice::Recycled<Impl>::Take()) {
    m_impl->loop = {};
}

TCDescriptorHash::~TCDescriptorHash() {
    if (m_impl->arena.capacity() <= tvservice::ArenaPool::kMaxBytes) {
        tvservice::Recycled<Impl>::Give(std::move(m_impl));
    }
}

int TCDescriptorHash::NumOfDescriptors() {
    return static_cast<int>(m_impl->loop.size());
}

TCBaseDesc* TCDescriptorHash::DescriptorByIndex(unsigned int index) {
    return m_impl->loop.At(index);
}

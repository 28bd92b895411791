#include "softplatform/descriptor/BaseDesc.h"

#include <algorithm>
#include <memory>

using tvservice::ByteView;

namespace {
constexpr size_t kHeaderSize = 2;  // descriptor_tag, descriptor_length
}

// An Impl that owns its bytes. They follow it in the same block of memory.
struct TCBaseDesc::Impl::Owned : TCBaseDesc::Impl {
    std::vector<uint8_t> made[2];

    static std::unique_ptr<Impl> Copy(ByteView bytes) {
        void* const memory = ::operator new(sizeof(Owned) + bytes.size());
        auto* const owned = ::new (memory) Owned;
        auto* const copy = static_cast<uint8_t*>(memory) + sizeof(Owned);
        std::copy(bytes.begin(), bytes.end(), copy);
        owned->data = copy;
        owned->size = static_cast<uint16_t>(bytes.size());
        owned->tag = bytes.U8(0);
        return std::unique_ptr<Impl>(owned);
    }
};

void TCBaseDesc::Impl::operator delete(Impl* impl, std::destroying_delete_t) {
    if (impl->arena == nullptr) {
        auto* const owned = static_cast<Owned*>(impl);
        owned->~Owned();
        ::operator delete(static_cast<void*>(owned));
    }
}

// Makes no Impl: a descriptor of a loop gets one in the arena (DecodeIn).
TCBaseDesc::TCBaseDesc() = default;

TCBaseDesc::TCBaseDesc(const TCBaseDesc& other) {
    if (other.m_impl) {
        m_impl = Impl::Owned::Copy(other.m_impl->bytes());
        m_impl->tag = other.m_impl->tag;
        m_impl->fits = other.m_impl->fits;
    }
}

TCBaseDesc::~TCBaseDesc() = default;

int TCBaseDesc::Parse(unsigned char* descriptor) {
    auto parsed = Impl::Owned::Copy(ByteView(descriptor, kHeaderSize + descriptor[1]));
    if (m_impl && m_impl->arena != nullptr) {
        m_impl->arena->DestroyLater(*this);  // from now on it owns memory of its own
    }
    m_impl = std::move(parsed);
    m_impl->fits = true;  // so that Decode can read fields
    const int consumed = Decode(m_impl->data + kHeaderSize, descriptor[1]);
    m_impl->fits = consumed >= 0;
    return consumed < 0 ? 0 : static_cast<int>(kHeaderSize) + consumed;
}

int TCBaseDesc::Length() {
    return m_impl ? m_impl->size : 0;
}

unsigned short TCBaseDesc::Tag() const {
    return m_impl ? m_impl->tag : uint16_t{0};
}

int TCBaseDesc::GetDescriptor(unsigned char* buffer, int* length) {
    const int size = Length();
    if (buffer == nullptr || length == nullptr || size == 0 || *length < size) {
        return 0;
    }
    const ByteView bytes = m_impl->bytes();
    std::copy(bytes.begin(), bytes.end(), buffer);
    *length = size;
    return size;
}

TCBaseDesc* TCBaseDesc::Fork() const {
    return new TCBaseDesc(*this);
}

int TCBaseDesc::Decode(const unsigned char*, int length) {
    return length;
}

void TVServiceInternals::SetTag(TCBaseDesc& desc, uint8_t tag) {
    desc.m_impl = TCBaseDesc::Impl::Owned::Copy({});
    desc.m_impl->tag = tag;
}

const std::vector<uint8_t>& TVServiceInternals::TextOf(const TCBaseDesc& desc, size_t which,
                                                       ByteView text) {
    static const std::vector<uint8_t>& none = *new std::vector<uint8_t>;
    TCBaseDesc::Impl* const impl = desc.m_impl.get();
    if (impl == nullptr) {
        return none;
    }
    if (impl->texts[which] == nullptr) {
        if (impl->arena != nullptr) {
            impl->texts[which] = &impl->arena->Text(text);
        } else {
            std::vector<uint8_t>& made = static_cast<TCBaseDesc::Impl::Owned*>(impl)->made[which];
            made.assign(text.begin(), text.end());
            impl->texts[which] = &made;
        }
    }
    return *impl->texts[which];
}

namespace tvservice {

const std::vector<uint8_t>& TextOf(const TCBaseDesc& desc, size_t which, ByteView text) {
    return TVServiceInternals::TextOf(desc, which, text);
}

}  // namespace tvservice

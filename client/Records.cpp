#include "client/Records.h"

#include <utility>

#include "platform/TCBaseDesc.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TVSHandle.h"
#include "softplatform/text/Text.h"

namespace client {

Bytes BytesOf(TCBaseDesc& desc) {
    int length = desc.Length();
    Bytes bytes(static_cast<std::size_t>(length));
    bytes.resize(static_cast<std::size_t>(desc.GetDescriptor(bytes.data(), &length)));
    return bytes;
}

DescriptorList SavedDescriptors(unsigned char* loop, int length, unsigned char tableId) {
    constexpr unsigned char kExtensionTag = 0x7F;
    constexpr std::size_t kExtensionSize = 3;  // up to and including descriptor_tag_extension
    TCDescriptorHash hash;
    TCDescriptor(TVSHandle(1, 0)).Parse(loop, length, hash, tableId);
    DescriptorList saved;
    std::optional<unsigned int> specifier;
    for (int index = 0; index < hash.NumOfDescriptors(); ++index) {
        TCBaseDesc* const desc = hash.DescriptorByIndex(static_cast<unsigned int>(index));
        if (const auto* const pds = dynamic_cast<const TCDescPrivateDataSpecifier*>(desc)) {
            specifier = pds->PrivateDataSpecifier();
            continue;
        }
        if (desc == nullptr) {
            continue;
        }
        const Bytes bytes = BytesOf(*desc);
        Descriptor descriptor{
            static_cast<unsigned char>(desc->Tag()), specifier, {}, bytes.data(), bytes.size()};
        if (descriptor.tag == kExtensionTag && descriptor.size >= kExtensionSize) {
            descriptor.recordedExtension =
                descriptor.size > kExtensionSize ? descriptor.data[kExtensionSize] : 0;
        }
        saved.Add(descriptor);
    }
    return saved;
}

void AddBroadcast(TCBaseDesc& desc, std::optional<unsigned int>& specifier, DescriptorList& list) {
    const Bytes bytes = BytesOf(desc);
    if (const auto* const pds = dynamic_cast<const TCDescPrivateDataSpecifier*>(&desc)) {
        specifier = pds->PrivateDataSpecifier();
    }
    list.Add({static_cast<unsigned char>(desc.Tag()), specifier, {}, bytes.data(), bytes.size()});
}

std::string Utf8(const Bytes& text) {
    return tvservice::TextToUtf8(text.data(), text.size());
}

std::string LanguageOf(unsigned int code) {
    std::string language;
    for (const int shift : {16, 8, 0}) {
        const char character = static_cast<char>(code >> shift & 0xFF);
        language += character >= 0x20 && character < 0x7F ? character : '?';
    }
    return language;
}

}  // namespace client

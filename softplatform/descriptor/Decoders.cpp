#include "softplatform/descriptor/Decoders.h"

#include <algorithm>

#include "platform/TCDescApplicationSignalling.h"
#include "platform/TCDescBouquetName.h"
#include "platform/TCDescCA.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescCarouselIdentifier.h"
#include "platform/TCDescComponent.h"
#include "platform/TCDescContent.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescExtendedEvent.h"
#include "platform/TCDescExtension.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescNetworkName.h"
#include "platform/TCDescParentalRating.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescService.h"
#include "platform/TCDescServiceList.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "softplatform/base/Counters.h"

namespace tvservice {

namespace {

constexpr uint8_t kExtensionTag = 0x7F;

template <class T>
TCBaseDesc* New() {
    return new T;
}

template <>
TCBaseDesc* New<TCDescSatelliteDeliverySystem>() {
    return new TCDescSatelliteDeliverySystem(0x43);
}

struct Decoder {
    uint16_t tag;  // descriptor_tag, or 0x7Fxx with descriptor_tag_extension
    TCBaseDesc* (*make)();
};

constexpr Decoder kDecoders[] = {
    {0x09, New<TCDescCA>},
    {0x13, New<TCDescCarouselIdentifier>},
    {0x40, New<TCDescNetworkName>},
    {0x41, New<TCDescServiceList>},
    {0x43, New<TCDescSatelliteDeliverySystem>},
    {0x44, New<TCDescCableDeliverySystem>},
    {0x47, New<TCDescBouquetName>},
    {0x48, New<TCDescService>},
    {0x4A, New<TCDescLinkage>},
    {0x4D, New<TCDescShortEvent>},
    {0x4E, New<TCDescExtendedEvent>},
    {0x50, New<TCDescComponent>},
    {0x52, New<TCDescStreamIdentifier>},
    {0x54, New<TCDescContent>},
    {0x55, New<TCDescParentalRating>},
    {0x5A, New<TCDescTerrestrialDeliverySystem>},
    {0x5F, New<TCDescPrivateDataSpecifier>},
    {0x66, New<TCDescDataBroadcastId>},
    {0x6F, New<TCDescApplicationSignalling>},
    {0x7F04, New<TCDescT2SystemDelivery>},
};

const Decoder* Find(uint16_t tag) {
    const auto* const found = std::lower_bound(
        std::begin(kDecoders), std::end(kDecoders), tag,
        [](const Decoder& decoder, uint16_t wanted) { return decoder.tag < wanted; });
    return found != std::end(kDecoders) && found->tag == tag ? found : nullptr;
}

// Takes the descriptor into `desc`; null when its fixed part does not fit.
std::unique_ptr<TCBaseDesc> Parsed(std::unique_ptr<TCBaseDesc> desc, ByteView descriptor) {
    // Parse takes what it only reads by a pointer to non-const.
    const int consumed = desc->Parse(const_cast<unsigned char*>(descriptor.data()));
    if (consumed != desc->Length()) {
        ReceiverCounters().AddShared(Counter::kMalformedDescriptors);
    }
    return consumed == 0 ? nullptr : std::move(desc);
}

}  // namespace

uint16_t TagOf(ByteView descriptor, uint8_t tableId) {
    const uint8_t tag = descriptor.U8(0);
    if (tag == kExtensionTag && descriptor.size() > 2 && HasExtensionClasses(tableId)) {
        return static_cast<uint16_t>(kExtensionTag << 8 | descriptor.U8(2));
    }
    return tag;
}

std::unique_ptr<TCBaseDesc> DecodeDescriptor(ByteView descriptor, uint8_t tableId) {
    const uint16_t tag = TagOf(descriptor, tableId);
    if (const Decoder* const decoder = Find(tag)) {
        if (auto desc = Parsed(std::unique_ptr<TCBaseDesc>(decoder->make()), descriptor)) {
            return desc;
        }
    }
    if (tag > 0xFF) {
        return Parsed(std::make_unique<TCDescExtension>(), descriptor);
    }
    return Parsed(std::make_unique<TCBaseDesc>(), descriptor);
}

}  // namespace tvservice

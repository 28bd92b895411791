#include "softplatform/descriptor/Decoders.h"

#include <algorithm>
#include <array>

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

constexpr int kHeaderSize = 2;  // descriptor_tag, descriptor_length

// Makes a T at `place`, the `object` of a slot.
template <class T>
TCBaseDesc* New(void* place) {
    static_assert(sizeof(T) <= DescriptorSlot::kObjectSize);
    return ::new (place) T;
}

template <>
TCBaseDesc* New<TCDescSatelliteDeliverySystem>(void* place) {
    static_assert(sizeof(TCDescSatelliteDeliverySystem) <= DescriptorSlot::kObjectSize);
    return ::new (place) TCDescSatelliteDeliverySystem(0);
}

struct Decoder {
    uint16_t tag;  // descriptor_tag, or 0x7Fxx with descriptor_tag_extension
    TCBaseDesc* (*make)(void* place);
    // The class allocates the entries of its loop on the heap, so its destructor has to run.
    bool hasEntries = false;
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
    {0x4A, New<TCDescLinkage>, true},
    {0x4D, New<TCDescShortEvent>},
    {0x4E, New<TCDescExtendedEvent>},
    {0x50, New<TCDescComponent>},
    {0x52, New<TCDescStreamIdentifier>},
    {0x54, New<TCDescContent>},
    {0x55, New<TCDescParentalRating>},
    {0x5A, New<TCDescTerrestrialDeliverySystem>},
    {0x5F, New<TCDescPrivateDataSpecifier>},
    {0x66, New<TCDescDataBroadcastId>, true},
    {0x6F, New<TCDescApplicationSignalling>},
    {0x7F04, New<TCDescT2SystemDelivery>, true},
};

constexpr Decoder kPlain{0, New<TCBaseDesc>};
constexpr Decoder kPlainExtension{0, New<TCDescExtension>};

// By descriptor_tag: the index of its row in kDecoders, or the number of rows when it has none.
constexpr auto kRowByTag = [] {
    std::array<uint8_t, 0x100> rows{};
    rows.fill(static_cast<uint8_t>(std::size(kDecoders)));
    for (size_t row = 0; row < std::size(kDecoders); ++row) {
        if (kDecoders[row].tag < rows.size()) {
            rows[kDecoders[row].tag] = static_cast<uint8_t>(row);
        }
    }
    return rows;
}();

const Decoder& PlainOf(uint16_t tag) {
    return tag > 0xFF ? kPlainExtension : kPlain;
}

const Decoder& DecoderOf(uint16_t tag) {
    if (tag < kRowByTag.size()) {
        const size_t row = kRowByTag[tag];
        return row < std::size(kDecoders) ? kDecoders[row] : kPlain;
    }
    const auto* const found =
        std::find_if(std::begin(kDecoders), std::end(kDecoders),
                     [tag](const Decoder& decoder) { return decoder.tag == tag; });
    return found != std::end(kDecoders) ? *found : kPlainExtension;
}

// Makes the object. Returns null when the fixed part does not fit; the object then owns no memory
// and another may take its place.
TCBaseDesc* Decoded(const Decoder& decoder, DescriptorSlot& slot) {
    TCBaseDesc* const desc = decoder.make(slot.object);
    int consumed = -1;
    try {
        consumed = TVServiceInternals::DecodeIn(*desc, slot.impl);
        if (decoder.hasEntries) {
            slot.impl.arena->DestroyLater(*desc);
        }
    } catch (...) {  // no memory for its entries
        desc->~TCBaseDesc();
        throw;
    }
    if (consumed != slot.impl.size - kHeaderSize) {
        ReceiverCounters().AddShared(Counter::kMalformedDescriptors);
    }
    return consumed < 0 ? nullptr : desc;
}

}  // namespace

TCBaseDesc& DecodeDescriptor(DescriptorSlot& slot) {
    const Decoder& decoder = DecoderOf(slot.impl.tag);
    TCBaseDesc* desc = Decoded(decoder, slot);
    if (desc == nullptr) {
        desc = Decoded(PlainOf(slot.impl.tag), slot);
    }
    slot.impl.isDecoded = true;
    return *desc;
}

}  // namespace tvservice

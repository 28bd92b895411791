#pragma once

// Every descriptor class of the contract, with an example of each.

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/TCBaseDesc.h"
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
#include "tests/support/TsBytes.h"

namespace contract {

// What may follow the fixed part of a descriptor's syntax.
enum class Rest {
    kNone,  // nothing: an additional byte is not consumed
    kAny    // private data, or a text to the end: an additional byte is consumed
};

struct DescriptorCase {
    std::string name;
    testsupport::Bytes bytes;  // well-formed
    size_t fixedSize;          // the smallest size of a valid payload
    Rest rest;
    std::unique_ptr<TCBaseDesc> (*make)();
    void (*expect)(TCBaseDesc& descriptor);  // checks that every field is as in `bytes`
};

inline std::ostream& operator<<(std::ostream& out, const DescriptorCase& tested) {
    return out << tested.name;
}

// A descriptor with this tag and payload.
testsupport::Bytes Tagged(unsigned char tag, const testsupport::Bytes& payload);

// The cases of all classes; some classes have several.
const std::vector<DescriptorCase>& DescriptorCases();

}  // namespace contract

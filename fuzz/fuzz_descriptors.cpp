// Decodes any bytes as descriptors, each in memory of exactly 2 + descriptor_length bytes: through
// the platform's loops of a NIT and of another table, with every field and every copy, and through
// the SI layer's two functions for single descriptors.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "SI/Include/IDeliveryDesc.h"
#include "SI/Include/ISSULinkageDesc.h"
#include "platform/TCBaseDesc.h"
#include "platform/TCDescriptor.h"
#include "platform/TCDescriptorHash.h"
#include "platform/TVSHandle.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tests/contract/platform/Dump.h"
#include "tools/torvelsi/ScanDocument.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void Walk(std::vector<std::uint8_t> loop, unsigned char tableId) {
    TCDescriptorHash hash;
    TCDescriptor(TVSHandle(1, 0)).Parse(loop.data(), static_cast<int>(loop.size()), hash, tableId);
    std::size_t at = 0;
    for (int i = 0; i < hash.NumOfDescriptors(); ++i) {
        TCBaseDesc& desc = *hash.DescriptorByIndex(static_cast<unsigned int>(i));
        int length = desc.Length();
        Require(length == 2 + loop[at + 1]);
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(length));
        Require(desc.GetDescriptor(bytes.data(), &length) == static_cast<int>(bytes.size()));
        Require(std::equal(bytes.begin(), bytes.end(), loop.begin() + static_cast<long>(at)));
        const std::unique_ptr<TCBaseDesc> fork(desc.Fork());
        const std::string dump = contract::Dump(&desc);
        Require(contract::Dump(fork.get()) == dump);
        const int consumed = fork->Parse(bytes.data());
        Require(consumed <= static_cast<int>(bytes.size()));
        Require(consumed == 0 || contract::Dump(fork.get()) == dump);
        at += bytes.size();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvservice::SetLogPriority(7);
    const std::vector<std::uint8_t> loop(data, data + size);
    Walk(loop, 0x40);
    Walk(loop, 0x42);
    if (size >= 2 && size >= 2u + data[1]) {
        std::vector<std::uint8_t> exact(data, data + 2 + data[1]);
        if (const auto delivery = TORVEL_MW::IDeliveryDesc::Parse(exact.data())) {
            tool::DeliveryToJson({exact[0], {}, {}, exact.data(), exact.size()});
        }
        if (const auto linkage = TORVEL_MW::ISSULinkageDesc::Parse(exact.data())) {
            std::list<unsigned int> ouis;
            linkage->GetOUIs(ouis);
            for (const unsigned int oui : ouis) {
                std::vector<std::shared_ptr<std::vector<unsigned char>>> selectors;
                linkage->GetSelectorBytes(oui, selectors);
                Require(linkage->ContainsOUI(oui) && !selectors.empty());
            }
        }
    }
    return 0;
}

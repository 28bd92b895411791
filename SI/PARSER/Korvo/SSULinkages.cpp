#include "SI/PARSER/Korvo/SSULinkages.h"

#include "SI/Common/Wildcard.h"
#include "SI/PARSER/Korvo/DescriptorsKorvo.h"
#include "platform/IDescriptorContainer.h"
#include "platform/TCDescLinkage.h"

namespace TORVEL_MW {

namespace {

constexpr int kLinkageTag = 0x4A;
constexpr int kTableTypeNit = 1;  // ETSI TS 102 006 6.3
constexpr int kTableTypeBat = 2;

}  // namespace

SSULinkages::SSULinkages(IDescriptorContainer& descriptors) {
    for (int index = 0; index < descriptors.NumOfDescriptors(kLinkageTag); ++index) {
        auto* const linkage = dynamic_cast<TCDescLinkage*>(
            descriptors.Descriptor(kLinkageTag, static_cast<unsigned int>(index)));
        if (linkage == nullptr) {
            continue;
        }
        if (linkage->LinkageType() == TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE) {
            m_ssuLinkages.push_back(std::make_unique<CSSULinkageDesc>(*linkage));
        } else if (linkage->LinkageType() == TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU &&
                   (linkage->TableType() == kTableTypeNit ||
                    linkage->TableType() == kTableTypeBat)) {
            m_ssuScanLinkages.push_back(std::make_unique<CSSUScanLinkageDesc>(*linkage));
        }
    }
}

// Reserves room for as many entries as are stored, even if fewer pass the filter, and without
// counting those that `out` already has.
void SSULinkages::GetSSULinkageDesc(unsigned int oui,
                                    std::vector<std::unique_ptr<ISSULinkageDesc>>& out) const {
    out.reserve(m_ssuLinkages.size());
    for (const std::unique_ptr<ISSULinkageDesc>& linkage : m_ssuLinkages) {
        if (oui != kAny && !linkage->ContainsOUI(oui)) {
            continue;
        }
        if (const auto* const ours = dynamic_cast<const CSSULinkageDesc*>(linkage.get())) {
            out.push_back(std::make_unique<CSSULinkageDesc>(*ours));
        }
    }
}

void SSULinkages::GetSSUScanLinkageDesc(
    std::vector<std::unique_ptr<ISSUScanLinkageDesc>>& out) const {
    out.reserve(m_ssuScanLinkages.size());
    for (const std::unique_ptr<ISSUScanLinkageDesc>& linkage : m_ssuScanLinkages) {
        if (const auto* const ours = dynamic_cast<const CSSUScanLinkageDesc*>(linkage.get())) {
            out.push_back(std::make_unique<CSSUScanLinkageDesc>(*ours));
        }
    }
}

}  // namespace TORVEL_MW

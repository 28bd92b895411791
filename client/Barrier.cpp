#include "client/Barrier.h"

#include <cstdint>

#include "SI/Include/ISectionManager.h"
#include "client/SubscriptionIds.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace client {

namespace {
constexpr unsigned short kBarrierSize = 7;  // table_id, section_length, sequence number
}  // namespace

Barrier::Barrier()
    : subscription_(TORVEL_MW::ISectionManager::Instance()->Subscribe(
          tvservice::kBarrierPid, tvservice::kBarrierTableId, *this,
          TORVEL_MW::ISectionManager::EContinuous, kNoTimeout, false)) {
    if (subscription_ > kLastServedId) {
        TORVEL_MW::ISectionManager::Instance()->Unsubscribe(subscription_);
        subscription_ = 0;
    }
}

Barrier::~Barrier() {
    Unsubscribe();
}

void Barrier::Unsubscribe() {
    if (subscription_ != 0) {
        TORVEL_MW::ISectionManager::Instance()->Unsubscribe(subscription_);
        subscription_ = 0;
    }
}

void Barrier::OnSectionReceived(unsigned short, unsigned short, unsigned short length,
                                unsigned char* data) {
    if (length != kBarrierSize) {
        return;
    }
    const std::uint32_t sequence = std::uint32_t{data[3]} << 24 | std::uint32_t{data[4]} << 16 |
                                   std::uint32_t{data[5]} << 8 | std::uint32_t{data[6]};
    tvservice::SoftwarePlatform::Instance().BarrierPassed(sequence);
}

void Barrier::OnSectionTimeout(unsigned int) {}

}  // namespace client

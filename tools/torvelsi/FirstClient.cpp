#include "tools/torvelsi/FirstClient.h"

#include "SI/Include/ISectionManager.h"
#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/SectionsRequest.h"

namespace tool {

using TORVEL_MW::ISectionManager;

bool FirstClient::Subscribe(unsigned short pid, unsigned int tableId) {
    return ISectionManager::Instance()->Subscribe(pid, tableId, *this, ISectionManager::EContinuous,
                                                  SectionsRequest::kNoTimeout, false) != 0;
}

void FirstClient::OnSectionReceived(unsigned short /*id*/, unsigned short /*pid*/,
                                    unsigned short length, unsigned char* data) {
    constexpr std::size_t kMostSections = 4096;
    std::lock_guard<std::mutex> lock(mutex_);
    if (outcome_ != kWaiting ||
        (seen_.emplace(data, data + length).second && seen_.size() < kMostSections)) {
        return;
    }
    outcome_ = begin_() ? kBegun : kRefused;
    if (outcome_ == kRefused) {
        tvservice::SoftwarePlatform::Instance().Interrupt();
    }
}

FirstClient::Outcome FirstClient::End() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (outcome_ == kWaiting) {
        outcome_ = kOver;
    }
    return outcome_;
}

}  // namespace tool

// The fake of the white-box tests. It does what it is told: which filters a section passes is
// decided here.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/contract/platform/PlatformRig.h"
#include "tests/support/FakePlatform.h"

namespace contract {

namespace {

using fake::FakePlatform;
using fake::Request;

constexpr int kFirstHandle = 100;  // of the fake's, counting up with its requests

bool Matches(const Request& request, const Broadcast& broadcast) {
    if (request.pid != broadcast.pid) {
        return false;
    }
    if (request.isTable) {
        return request.tableId == broadcast.section[0];
    }
    bool isNegative = false;
    bool differs = false;
    for (size_t i = 0; i < request.filter.size(); ++i) {
        const int mode = request.mode.empty() ? 0 : request.mode[i];
        const int difference = (request.filter[i] ^ broadcast.section.at(i)) & request.mask[i];
        if ((difference & ~mode) != 0) {
            return false;
        }
        isNegative = isNegative || (mode & request.mask[i]) != 0;
        differs = differs || (difference & mode) != 0;
    }
    return differs || !isNegative;
}

class FakeRig final : public PlatformRig {
  public:
    Abilities abilities() const override {
        return {.retiresHandles = false, .showsLog = true, .refuses = false, .waits = false};
    }

    void Send(const std::vector<Broadcast>& broadcasts) override {
        for (const Broadcast& broadcast : broadcasts) {
            const std::vector<Request> requests = platform_.Requests();
            for (size_t i = 0; i < requests.size(); ++i) {
                if (Matches(requests[i], broadcast) &&
                    !IsReleased(kFirstHandle + static_cast<int>(i))) {
                    platform_.Deliver(requests[i].id, broadcast.section);
                }
            }
        }
    }

    std::vector<std::string> TakeLog() override { return platform_.TakeLog(); }

  private:
    bool IsReleased(int handle) const {
        const std::vector<int> released = platform_.Released();
        return std::find(released.begin(), released.end(), handle) != released.end();
    }

    FakePlatform& platform_ = FakePlatform::Get();
};

}  // namespace

std::unique_ptr<PlatformRig> MakePlatformRig() {
    return std::make_unique<FakeRig>();
}

}  // namespace contract

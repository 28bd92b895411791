// The rig of the fake platform that the unit tests of the SI layer use. The fake has no filters of
// its own, so this file decides which requests a section matches.

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tests/contract/platform/PlatformRig.h"
#include "tests/support/FakePlatform.h"

namespace contract {

namespace {

using fake::FakePlatform;
using fake::Request;

constexpr int kFirstHandle = 100;  // the fake's first handle; each request gets the next one

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
            // Both lookups are needed: the set skips the many filters that were released before,
            // and IsReleased sees those that a callback of this loop releases.
            const std::vector<int> before = platform_.Released();
            const std::set<int> released(before.begin(), before.end());
            const std::vector<Request> requests = platform_.Requests();
            for (size_t i = 0; i < requests.size(); ++i) {
                const int handle = kFirstHandle + static_cast<int>(i);
                if (released.count(handle) == 0 && Matches(requests[i], broadcast) &&
                    !platform_.IsReleased(handle)) {
                    platform_.Deliver(requests[i].id, broadcast.section);
                }
            }
        }
    }

    std::vector<std::string> TakeLog() override { return platform_.TakeLog(); }

  private:
    FakePlatform& platform_ = FakePlatform::Get();
};

}  // namespace

std::unique_ptr<PlatformRig> MakePlatformRig() {
    return std::make_unique<FakeRig>();
}

}  // namespace contract

#include "tests/contract/platform/Client.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

#include "platform/TVServiceAPI.h"

namespace contract {

namespace {

constexpr std::chrono::seconds kPatience(60);

thread_local bool t_ofTheSuite = false;

// The callback finds the client here, because it has no user argument. The platform may call it
// before the client's constructor has returned.
std::atomic<Client*> s_client{nullptr};

}  // namespace

Client& Client::Get() {
    static Client& client = *new Client;
    t_ofTheSuite = true;
    return client;
}

Client::Client() : rig_(MakePlatformRig()) {
    s_client = this;
    t_ofTheSuite = true;
    // The result has no meaning. The pointer shows whether there is a subscriber.
    TVServiceAPI::CreateSectionSubscriber(&Client::OnSection, PROFILE_MAIN, 0, &subscriber_);
}

void Client::Reset() {
    std::lock_guard<std::mutex> lock(mutex_);
    calls_.clear();
    faults_.clear();
    hook_ = nullptr;
}

void Client::SetHook(std::function<void(const Call&)> hook) {
    std::lock_guard<std::mutex> lock(mutex_);
    hook_ = std::move(hook);
}

std::vector<Call> Client::Calls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

size_t Client::CallsFor(int id) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<size_t>(std::count_if(calls_.begin(), calls_.end(),
                                             [id](const Call& call) { return call.id == id; }));
}

bool Client::WaitFor(const std::function<bool(const Call&)>& wanted) {
    std::unique_lock<std::mutex> lock(mutex_);
    return called_.wait_for(lock, kPatience,
                            [&] { return std::any_of(calls_.begin(), calls_.end(), wanted); });
}

std::vector<std::string> Client::Faults() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return faults_;
}

void Client::AddFault(std::string fault) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.push_back(std::move(fault));
}

void Client::OnSection(bool, unsigned short length, unsigned char* data, int id) {
    s_client.load()->Take(length, data, id);
}

void Client::Take(unsigned short length, unsigned char* data, int id) {
    const std::string where = " (id " + std::to_string(id) + ")";
    if (t_ofTheSuite) {
        AddFault("called back on a thread of the client's" + where);
    }
    if (running_++ != 0) {
        AddFault("called back while another callback runs" + where);
    }
    if (data == nullptr || length < 3) {
        AddFault("called back without a section" + where);
    } else {
        if (length != 3 + ((data[1] & 0x0F) << 8 | data[2])) {
            AddFault("a section whose length is not that of its section_length" + where);
        }
        const Call call{id, Bytes(data, data + length)};
        std::function<void(const Call&)> hook;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            calls_.push_back(call);
            hook = hook_;
        }
        if (hook) {
            hook(call);
        }
        if (!std::equal(call.section.begin(), call.section.end(), data)) {
            AddFault("the bytes changed during the call" + where);
        }
    }
    --running_;
    // Taking the lock makes sure that no waiter misses the end of this call.
    { std::lock_guard<std::mutex> lock(mutex_); }
    called_.notify_all();
}

std::thread SuiteThread(std::function<void()> work) {
    return std::thread([work = std::move(work)] {
        t_ofTheSuite = true;
        work();
    });
}

void MustEnd(const std::string& what, std::function<void()> work) {
    Gate ended;
    std::thread thread = SuiteThread([&] {
        work();
        ended.Open();
    });
    if (!ended.Pass()) {
        std::cerr << what << " does not return\n";
        std::abort();
    }
    thread.join();
}

void Gate::Open() {
    std::lock_guard<std::mutex> lock(mutex_);
    isOpen_ = true;
    opened_.notify_all();
}

bool Gate::Pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    return opened_.wait_for(lock, kPatience, [this] { return isOpen_; });
}

bool Gate::PassSoon() {
    std::unique_lock<std::mutex> lock(mutex_);
    return opened_.wait_for(lock, std::chrono::milliseconds(100), [this] { return isOpen_; });
}

}  // namespace contract

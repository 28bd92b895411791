#include "bench/Throughput.h"

#include <chrono>
#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

#include "SI/Include/ISectionManager.h"
#include "bench/Readers.h"
#include "client/Barrier.h"
#include "platform/ISectionSubscriber.h"
#include "platform/TCPATParser.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "platform/TVSHandle.h"
#include "platform/TVServiceAPI.h"
#include "softplatform/service/SoftwarePlatform.h"

namespace bench {

namespace {

using tvservice::SoftwarePlatform;
using Clock = std::chrono::steady_clock;

constexpr unsigned kNoTimeout = 0xFFFFFFFF;

/// What one pass does with a section. One thread at a time uses it: the delivery thread, or the
/// event thread of the section manager.
struct Work {
    Pass pass;
    Repeats repeats;
    std::unique_ptr<PlatformReader> platform;
    std::unique_ptr<SiReader> client;
    bool skipsRepeats = false;

    void Take(unsigned short pid, unsigned char* section, unsigned short length) {
        ++pass.sections;
        pass.sectionBytes += length;
        if (skipsRepeats && repeats.IsRepeat(pid, section, length)) {
            return;
        }
        if (platform) {
            pass.items += platform->Read(pid, section, length);
        } else if (client) {
            pass.items += client->Read(pid, section, length);
        }
    }
};

Work* s_work = nullptr;

/// The id of a subscription is its PID.
void OnSection(bool, unsigned short length, unsigned char* data, int id) {
    s_work->Take(static_cast<unsigned short>(id), data, length);
}

ISectionSubscriber& Subscriber() {
    static ISectionSubscriber* const subscriber = [] {
        ISectionSubscriber* made = nullptr;
        TVServiceAPI::CreateSectionSubscriber(OnSection, PROFILE_MAIN, 0, &made);
        return made;
    }();
    return *subscriber;
}

int SubscribeAll(unsigned short pid) {
    TCSectionFilterCriteriaHelper criteria;
    criteria.m_pid = pid;
    criteria.m_filter = {0};
    criteria.m_mask = {0};
    int handle = -1;
    if (Subscriber().SubscribeFilter(pid, &criteria, &handle) != 1) {
        throw std::runtime_error("a filter was refused");
    }
    return handle;
}

class Observer final : public TORVEL_MW::ISectionObserver {
  public:
    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        s_work->Take(pid, data, length);
    }
    void OnSectionTimeout(unsigned int) override {}
};

/// Plays the file to its end.
double Play(const std::string& file) {
    std::string error;
    const tvservice::SourcePtr source = tvservice::OpenSource(file, error);
    if (!source) {
        throw std::runtime_error(error);
    }
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    const Clock::time_point begin = Clock::now();
    platform.Play(source);
    const tvservice::InputEnd end = platform.WaitEnd();
    const std::chrono::duration<double> took = Clock::now() - begin;
    if (end.reason != tvservice::InputEnd::kEndOfInput) {
        throw std::runtime_error(end.error);
    }
    return took.count();
}

/// Collects the PIDs of the PMTs that a PAT names.
class PatReader {
  public:
    void Take(unsigned char* section) {
        if (section[0] == 0x00 && pat_.Parse(0, section)) {
            for (int i = 0; i < pat_.NumOfProgramList(); ++i) {
                pids.insert(pat_.ProgramPID(pat_.ProgramNumber(static_cast<unsigned>(i))));
            }
        }
    }
    std::set<unsigned short> pids = {0x00, 0x01, 0x10, 0x11, 0x12, 0x14};

  private:
    TCPATParser pat_{TVSHandle(1, 0)};
};

bool IsOfClient(Mode mode) {
    return mode == Mode::kObserver || mode == Mode::kClient || mode == Mode::kClientSkipRepeats;
}

}  // namespace

bool ModeOf(const std::string& letter, Mode& mode) {
    constexpr std::pair<char, Mode> kModes[] = {{'a', Mode::kScan},
                                                {'b', Mode::kSections},
                                                {'p', Mode::kPlatform},
                                                {'P', Mode::kPlatformSkipRepeats},
                                                {'d', Mode::kObserver},
                                                {'c', Mode::kClient},
                                                {'C', Mode::kClientSkipRepeats}};
    for (const auto& [known, value] : kModes) {
        if (letter == std::string(1, known)) {
            mode = value;
            return true;
        }
    }
    return false;
}

Throughput::Throughput(std::string file, Mode mode, std::size_t cacheBytes)
    : file_(std::move(file)), mode_(mode) {
    constexpr unsigned kMostFilters = 4096;
    tvservice::SetLogPriority(7);
    tvservice::Config config;
    config.filters = kMostFilters;
    config.cacheBytes = cacheBytes;
    std::string error;
    if (!SoftwarePlatform::Instance().Start(config, error)) {
        throw std::runtime_error(error);
    }
    if (const tvservice::SourcePtr source = tvservice::OpenSource(file_, error)) {
        fileSize_ = tvservice::Describe(*source).size;
    } else {
        throw std::runtime_error(error);
    }
    // The first pass finds the PMTs. Like any pass, it sends its sections through the cache.
    static PatReader* s_pat = nullptr;
    PatReader pat;
    s_pat = &pat;
    ISectionSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateSectionSubscriber(
        [](bool, unsigned short, unsigned char* data, int) { s_pat->Take(data); }, PROFILE_MAIN, 0,
        &subscriber);
    TCSectionFilterCriteriaHelper criteria;
    criteria.m_filter = {0};
    criteria.m_mask = {0};
    int handle = -1;
    subscriber->SubscribeFilter(0, &criteria, &handle);
    Play(file_);
    subscriber->Unsubscribe(handle);
    pids_.assign(pat.pids.begin(), pat.pids.end());
}

Pass Throughput::Run() {
    Work work;
    work.skipsRepeats = mode_ == Mode::kPlatformSkipRepeats || mode_ == Mode::kClientSkipRepeats;
    if (mode_ == Mode::kPlatform || mode_ == Mode::kPlatformSkipRepeats) {
        work.platform = std::make_unique<PlatformReader>();
    } else if (mode_ == Mode::kClient || mode_ == Mode::kClientSkipRepeats) {
        work.client = std::make_unique<SiReader>();
    }
    s_work = &work;
    if (IsOfClient(mode_)) {
        TORVEL_MW::ISectionManager& manager = *TORVEL_MW::ISectionManager::Instance();
        Observer observer;
        // The barrier is answered behind every section delivered before, so the pass ends with the
        // last of them.
        client::Barrier barrier;
        std::vector<unsigned> subscriptions;
        for (const unsigned short pid : pids_) {
            subscriptions.push_back(manager.Subscribe(
                pid, {0}, {0}, {0}, observer, TORVEL_MW::ISectionManager::EContinuous, kNoTimeout));
        }
        work.pass.seconds = Play(file_);
        for (const unsigned id : subscriptions) {
            manager.Unsubscribe(id);
        }
    } else {
        std::vector<int> handles;
        if (mode_ != Mode::kScan) {
            for (const unsigned short pid : pids_) {
                handles.push_back(SubscribeAll(pid));
            }
        }
        work.pass.seconds = Play(file_);
        for (const int handle : handles) {
            Subscriber().Unsubscribe(handle);
        }
    }
    return work.pass;
}

}  // namespace bench

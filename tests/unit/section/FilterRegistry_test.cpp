#include "softplatform/section/FilterRegistry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/Signal.h"
#include "tests/support/TsBytes.h"

namespace tvservice {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::Bytes;
using testsupport::SectionBytes;
using testsupport::Signal;

class IdSink final : public SectionSink {
  public:
    void OnSection(int id, SectionView) override {
        ids_.push_back(id);
        if (then_) {
            then_();
        }
    }
    void Then(std::function<void()> then) { then_ = std::move(then); }
    std::vector<int> Take() { return std::exchange(ids_, {}); }

  private:
    std::vector<int> ids_;
    std::function<void()> then_;
};

class FilterRegistryTest : public testing::Test {
  protected:
    int Subscribe(int id, bool fromCache = false) {
        return registry_.Subscribe(0x0100, *SectionFilter::Compile({0x42}, {0xFF}, {}), sink_, id,
                                   fromCache);
    }

    // Requests a filter and takes it from the registry, as the delivery thread does.
    Filter& Taken(int id) {
        Subscribe(id);
        taken_.push_back(std::move(registry_.TakeChanges().added.at(0)));
        return *taken_.back();
    }

    Counters counters_;
    int tellings_ = 0;
    IdSink sink_;
    FilterRegistry registry_{counters_, [this] { ++tellings_; }, 2};
    std::vector<std::unique_ptr<Filter>> taken_;
    const Bytes bytes_ = SectionBytes{}.Build();
    const SectionView section_ = *SectionView::From(bytes_.data(), bytes_.size());
};

TEST_F(FilterRegistryTest, HandsOverWhatWasAskedForOnce) {
    EXPECT_FALSE(registry_.HasChanges());
    const int handle = Subscribe(1, true);
    registry_.SetCacheLimit(77);
    EXPECT_TRUE(registry_.HasChanges());
    EXPECT_EQ(tellings_, 1) << "the second change comes with the first";

    FilterChanges changes = registry_.TakeChanges();
    ASSERT_THAT(changes.added, SizeIs(1));
    EXPECT_EQ(changes.added[0]->pid, 0x0100);
    EXPECT_THAT(changes.released, IsEmpty());
    ASSERT_THAT(changes.cacheRequests, SizeIs(1));
    EXPECT_EQ(changes.cacheRequests[0].filter, changes.added[0].get());
    EXPECT_EQ(changes.cacheRequests[0].recipient.id, 1);
    EXPECT_EQ(changes.cacheLimit, 77u);

    EXPECT_FALSE(registry_.HasChanges());
    const FilterChanges none = registry_.TakeChanges();
    EXPECT_THAT(none.added, IsEmpty());
    EXPECT_THAT(none.cacheRequests, IsEmpty());
    EXPECT_EQ(none.cacheLimit, std::nullopt);

    EXPECT_TRUE(registry_.Unsubscribe(handle));
    EXPECT_EQ(tellings_, 2);
    EXPECT_THAT(registry_.TakeChanges().released, ElementsAre(changes.added[0].get()));
}

TEST_F(FilterRegistryTest, NeverHandsOverAFilterThatWasReleasedBefore) {
    EXPECT_TRUE(registry_.Unsubscribe(Subscribe(1, true)));
    const FilterChanges changes = registry_.TakeChanges();
    EXPECT_THAT(changes.added, IsEmpty());
    EXPECT_THAT(changes.released, IsEmpty());
    EXPECT_THAT(changes.cacheRequests, IsEmpty());
}

TEST_F(FilterRegistryTest, DropsTheCacheRequestsOfAReleasedFilter) {
    const int handle = Subscribe(1);
    const FilterChanges first = registry_.TakeChanges();
    Subscribe(2);
    EXPECT_EQ(Subscribe(3, true), handle) << "no slot is free";
    EXPECT_TRUE(registry_.Unsubscribe(handle));
    EXPECT_THAT(registry_.TakeChanges().cacheRequests, IsEmpty());
}

TEST_F(FilterRegistryTest, DeliversToEveryRecipientOnceInTheirOrder) {
    Filter& filter = Taken(1);
    Subscribe(9);  // the other slot
    Subscribe(2);
    Subscribe(2);
    Subscribe(1);
    EXPECT_EQ(registry_.Deliver(filter, section_), 2u);
    EXPECT_THAT(sink_.Take(), ElementsAre(1, 2));
}

TEST_F(FilterRegistryTest, LetsWhoAsksForTheCacheJoinWhenThatWasServed) {
    Filter& filter = Taken(1);
    Subscribe(9);
    Subscribe(2, true);
    registry_.Deliver(filter, section_);
    EXPECT_THAT(sink_.Take(), ElementsAre(1));
    EXPECT_TRUE(registry_.DeliverTo(filter, {&sink_, 2}, section_));
    EXPECT_THAT(sink_.Take(), ElementsAre(2));
    registry_.Join(filter, {&sink_, 2});
    registry_.Join(filter, {&sink_, 2});
    registry_.Deliver(filter, section_);
    EXPECT_THAT(sink_.Take(), ElementsAre(1, 2));
}

TEST_F(FilterRegistryTest, DeliversNothingOnceAFilterIsReleased) {
    const int handle = Subscribe(1);
    const FilterChanges changes = registry_.TakeChanges();
    Filter& filter = *changes.added[0];
    Subscribe(9);
    Subscribe(2);
    sink_.Then([&] { registry_.Unsubscribe(handle); });
    EXPECT_EQ(registry_.Deliver(filter, section_), 1u) << "not to the second recipient";
    EXPECT_EQ(registry_.Deliver(filter, section_), 0u);
    EXPECT_FALSE(registry_.DeliverTo(filter, {&sink_, 2}, section_));
    registry_.Join(filter, {&sink_, 5});
    EXPECT_THAT(filter.recipients, SizeIs(2));
    EXPECT_THAT(sink_.Take(), ElementsAre(1));
}

TEST_F(FilterRegistryTest, AReleaseWaitsForTheCallbackOnAnotherThread) {
    const int handle = Subscribe(1);
    const FilterChanges changes = registry_.TakeChanges();
    Signal isInside;
    Signal isReleased;
    sink_.Then([&] {
        isInside.Set();
        // The change is queued before the release waits, so the release has begun when
        // there are changes.
        while (!registry_.HasChanges()) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(isReleased.IsSet());
    });
    std::thread delivery([&] { registry_.Deliver(*changes.added[0], section_); });
    ASSERT_TRUE(isInside.Wait());
    EXPECT_TRUE(registry_.Unsubscribe(handle));
    isReleased.Set();
    delivery.join();
    EXPECT_THAT(sink_.Take(), ElementsAre(1));
}

TEST_F(FilterRegistryTest, CountsValuesThatAreGivenUpAlthoughTheyAreNotInUse) {
    const int handle = Subscribe(1);
    EXPECT_TRUE(registry_.Unsubscribe(handle));
    EXPECT_FALSE(registry_.Unsubscribe(handle));
    EXPECT_FALSE(registry_.Unsubscribe(handle));
    EXPECT_FALSE(registry_.Unsubscribe(FilterRegistry::kNoHandle));
    EXPECT_EQ(counters_.Get(Counter::kRetiredHandles), 1u);
}

}  // namespace
}  // namespace tvservice

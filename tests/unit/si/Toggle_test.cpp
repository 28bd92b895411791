#include "tests/unit/si/SiFixture.h"

namespace {

class ToggleTest : public testing::Test {
  protected:
    void SetUp() override { platform.Reset(); }

    std::shared_ptr<CSectionSubscription> Subscribe(
        int handle, ISectionManager::EFilterMode mode = ISectionManager::EToggle) {
        platform.NextReply({1, handle});
        auto subscription = CSectionSubscription::SubscribeSection(
            &platform, observer, 0x12, {0x4E, 0x12, 0x34}, {0xFE, 0x00, 0x0F}, {0x80, 0x01, 0x02},
            7, mode, kNoTimeout);
        platform.TakeLog();
        return subscription;
    }

    FakePlatform& platform = FakePlatform::Get();
    Recorder observer;
};

TEST_F(ToggleTest, AlternatesBetweenThePair) {
    const auto subscription = Subscribe(400);
    platform.NextReply({1, 401});
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(Line(4, "Toggle",
                         Green("Toggle mode filter. current tableId: 4E, current pattern: 4E, "
                               "current mask: FE")),
                    Line(4, "Toggle", Green("Unsubscribe previous section filter")),
                    Line(5, "Toggle",
                         Yellow("Toggle mode filter. Resubscribed, just received tableId: 4E, new "
                                "pattern: 4F, new mask: FF, TVS handle: 401"))));
    const fake::Request request = platform.Requests().at(1);
    EXPECT_FALSE(request.isTable);
    EXPECT_EQ(request.id, 7);
    EXPECT_EQ(request.pid, 0x12);
    EXPECT_EQ(request.filter, Bytes({0x4F, 0x12, 0x34}));
    EXPECT_EQ(request.mask, Bytes({0xFF, 0x00, 0x0F}));
    EXPECT_EQ(request.mode, Bytes({0x80, 0x01, 0x02}));
    EXPECT_EQ(request.flag, 1);
    EXPECT_EQ(request.handleOnEntry, -1);
    EXPECT_EQ(SectionSubscriptionPeer::TableId(*subscription), 0x4F);
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), 401);

    platform.NextReply({1, 402});
    EXPECT_TRUE(subscription->Toggle(0x4F));
    EXPECT_EQ(platform.Requests().at(2).filter, Bytes({0x4E, 0x12, 0x34}));
    EXPECT_EQ(platform.Requests().at(2).mask, Bytes({0xFF, 0x00, 0x0F}));
    EXPECT_THAT(platform.Released(), ElementsAre(400, 401));
    EXPECT_TRUE(SectionSubscriptionPeer::HasHandleCount(400));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(400), 0);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(401), 0);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(402), 1);
}

TEST_F(ToggleTest, TakesTheReceivedIdNotThePatternForTheNextOne) {
    const auto subscription = Subscribe(403);
    // 0x4F passes the mask 0xFE too. The next table_id is then 0x4E.
    EXPECT_TRUE(subscription->Toggle(0x4F));
    EXPECT_EQ(SectionSubscriptionPeer::Pattern(*subscription)[0], 0x4E);
    EXPECT_EQ(SectionSubscriptionPeer::Mask(*subscription)[0], 0xFF);
}

TEST_F(ToggleTest, LateSectionOfTheOldFilterIsDroppedByBoth) {
    const auto subscription = Subscribe(404);
    subscription->Toggle(0x4E);
    platform.TakeLog();
    unsigned char late = 0x4E;
    subscription->OnCallback(1, &late);
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(
            Line(5, "OnCallback", Yellow("Old section data from previous filter, ignore it")),
            Line(
                4, "Toggle",
                Green("Toggle mode filter. current tableId: 4E, current pattern: 4F, current mask: "
                      "FF")),
            Line(5, "Toggle", Yellow("Old section data from previous filter, ignore it"))));
    EXPECT_EQ(platform.Requests().size(), 2u);
    EXPECT_THAT(observer.Sections(), IsEmpty());
}

TEST_F(ToggleTest, OtherModesDoNothingSilently) {
    for (const auto mode : {ISectionManager::EContinuous, ISectionManager::EOneShot}) {
        const auto subscription = Subscribe(405, mode);
        const std::size_t requests = platform.Requests().size();
        EXPECT_TRUE(subscription->Toggle(0x4E));
        EXPECT_THAT(platform.TakeLog(), IsEmpty());
        EXPECT_EQ(platform.Requests().size(), requests);
    }
}

TEST_F(ToggleTest, SharedOldHandleStaysSetAndTheNewFilterIsRequested) {
    const auto subscription = Subscribe(406);
    const auto sharer = Subscribe(406, ISectionManager::EContinuous);
    platform.NextReply({1, 407});
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_THAT(platform.Released(), IsEmpty());
    EXPECT_EQ(platform.TakeLog().size(), 2u);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(406), 1);
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), 407);
}

TEST_F(ToggleTest, ReleasesBeforeItRequests) {
    std::vector<std::string> order;
    const auto subscription = Subscribe(408);
    platform.duringRelease = [&](int) { order.emplace_back("release"); };
    platform.duringRequest = [&](const fake::Request&) { order.emplace_back("request"); };
    subscription->Toggle(0x4E);
    EXPECT_THAT(order, ElementsAre("release", "request"));
    platform.Reset();
}

TEST_F(ToggleTest, RefusedReleaseIsToldAndItGoesOn) {
    const auto subscription = Subscribe(409);
    platform.NextRelease(false);
    platform.NextReply({1, 410});
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_EQ(platform.TakeLog().at(1), Line(5, "Toggle", Yellow("Unsubscribe section failed")));
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), 410);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(409), 0) << "a refusal restores no count";
}

TEST_F(ToggleTest, RefusedRequestRollsNothingBackAndTheHandleIsGivenUpTwice) {
    auto subscription = Subscribe(411);
    platform.NextReply({0, std::nullopt});
    EXPECT_FALSE(subscription->Toggle(0x4E));
    EXPECT_EQ(platform.TakeLog().back(),
              Line(5, "Toggle", Yellow("Re-subscribe section failed id: 7, TVS handle: -1")));
    EXPECT_EQ(SectionSubscriptionPeer::Pattern(*subscription)[0], 0x4F);
    EXPECT_EQ(SectionSubscriptionPeer::Mask(*subscription)[0], 0xFF);
    EXPECT_EQ(SectionSubscriptionPeer::TableId(*subscription), 0x4F);
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), 411);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(411), 0);
    EXPECT_FALSE(SectionSubscriptionPeer::HasHandleCount(-1));

    subscription.reset();
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(411), -1);
    EXPECT_THAT(platform.Released(), ElementsAre(411, 411));
    EXPECT_EQ(platform.TakeLog().at(0),
              Line(4, "~CSectionSubscription",
                   Green(" TVS handle=411 id=7 pid=18 tableid=79 mode=0 refcount: -1")));
}

TEST_F(ToggleTest, RefusedRequestShowsTheHandleThatThePlatformLeft) {
    const auto subscription = Subscribe(412);
    platform.NextReply({2, 99});
    EXPECT_FALSE(subscription->Toggle(0x4E));
    EXPECT_EQ(platform.TakeLog().back(),
              Line(5, "Toggle", Yellow("Re-subscribe section failed id: 7, TVS handle: 99")));
    EXPECT_FALSE(SectionSubscriptionPeer::HasHandleCount(99));
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), 412);
    EXPECT_THAT(platform.Released(), ElementsAre(412)) << "not the refused request's handle";
}

TEST_F(ToggleTest, RearmsTheFilterButNotTheTimer) {
    platform.NextReply({1, 414});
    const auto subscription = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x4E}, {0xFE}, {}, 7, ISectionManager::EToggle, 3600000);
    unsigned char section = 0x4E;
    subscription->OnCallback(1, &section);
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_FALSE(SectionSubscriptionPeer::IsArmed(*subscription));
}

TEST_F(ToggleTest, CountBelow0IsNotReleasedAgain) {
    SectionSubscriptionPeer::SetHandleCount(413, -1);
    const auto subscription = Subscribe(413);  // the count is 0 now
    EXPECT_TRUE(subscription->Toggle(0x4E));   // it becomes -1; only exactly 0 releases
    EXPECT_THAT(platform.Released(), IsEmpty());
}

TEST_F(ToggleTest, BitsOfThePatternOutsideTheMaskDoNotCount) {
    const auto subscription = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x4F}, {0xFE}, {0x00}, 7, ISectionManager::EToggle, kNoTimeout);
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_EQ(SectionSubscriptionPeer::Pattern(*subscription)[0], 0x4F);
    EXPECT_EQ(platform.Requests().size(), 2u);
}

TEST_F(ToggleTest, LinesShowHexWithoutLeadingZeros) {
    platform.NextReply({1, 415});
    platform.NextReply({1, 416});
    const auto subscription = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x02}, {0x0E}, {}, 7, ISectionManager::EToggle, kNoTimeout);
    platform.TakeLog();
    EXPECT_TRUE(subscription->Toggle(0x02));
    EXPECT_THAT(
        platform.TakeLog(),
        ElementsAre(Line(4, "Toggle",
                         Green("Toggle mode filter. current tableId: 2, current pattern: 2, "
                               "current mask: E")),
                    Line(4, "Toggle", Green("Unsubscribe previous section filter")),
                    Line(5, "Toggle",
                         Yellow("Toggle mode filter. Resubscribed, just received tableId: 2, new "
                                "pattern: 3, new mask: FF, TVS handle: 416"))));
}

TEST_F(ToggleTest, LeavesATimerThatIsArmedAlone) {
    const auto subscription = CSectionSubscription::SubscribeSection(
        &platform, observer, 0x12, {0x4E}, {0xFE}, {}, 7, ISectionManager::EToggle, 3600000);
    EXPECT_TRUE(subscription->Toggle(0x50)) << "stale";
    EXPECT_TRUE(subscription->Toggle(0x4E));
    platform.NextReply({0, std::nullopt});
    EXPECT_FALSE(subscription->Toggle(0x4F));
    EXPECT_TRUE(SectionSubscriptionPeer::IsArmed(*subscription));
    EXPECT_FALSE(
        TORVEL_MW::TimerCallbackPeer::Of(SectionSubscriptionPeer::Timer(*subscription)).cancelled);
}

TEST_F(ToggleTest, HandleThatComesBackIsCountedAgain) {
    const auto subscription = Subscribe(417);
    platform.NextReply({1, 417});
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_THAT(platform.Released(), ElementsAre(417));
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(417), 1);
}

TEST_F(ToggleTest, HandleMinus1IsAHandleLikeAnother) {
    auto subscription = Subscribe(418);
    platform.NextReply({1, std::nullopt});
    EXPECT_TRUE(subscription->Toggle(0x4E));
    EXPECT_EQ(SectionSubscriptionPeer::Handle(*subscription), -1);
    EXPECT_EQ(SectionSubscriptionPeer::HandleCount(-1), 1);
    subscription.reset();
    EXPECT_THAT(platform.Released(), ElementsAre(418, -1));
}

}  // namespace

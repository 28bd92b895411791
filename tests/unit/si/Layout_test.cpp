// Programs that were built against these interfaces rely on the order of the virtual operations.

#include <gtest/gtest.h>

#include <new>
#include <type_traits>

#include "SI/Include/IPATParser.h"
#include "SI/Include/ISectionManager.h"
#include "SI/Include/ISectionObserver.h"
#include "SI/Include/ISectionParser.h"
#include "platform/IDescriptorContainer.h"
#include "platform/ISectionSubscriber.h"
#include "platform/TCBaseDesc.h"
#include "platform/TCBaseSection.h"
#include "platform/TCDescExtension.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "platform/TCSectionParser.h"
#include "tests/unit/si/Slot.h"

namespace {

using namespace TORVEL_MW;

using Bytes = std::vector<unsigned char>;
using Mode = ISectionManager::EFilterMode;

TEST(Layout, SectionManagersDestructorIsLast) {
    using ByTable = unsigned int (ISectionManager::*)(unsigned short, unsigned int,
                                                      ISectionObserver&, Mode, unsigned int, bool);
    using ByExtension = unsigned int (ISectionManager::*)(
        unsigned short, unsigned int, unsigned int, ISectionObserver&, Mode, unsigned int);
    using ByPattern =
        unsigned int (ISectionManager::*)(unsigned short, const Bytes&, const Bytes&, const Bytes&,
                                          ISectionObserver&, Mode, unsigned int);
    EXPECT_EQ(Slot(static_cast<ByTable>(&ISectionManager::Subscribe)), 0);
    EXPECT_EQ(Slot(static_cast<ByExtension>(&ISectionManager::Subscribe)), 1);
    EXPECT_EQ(Slot(static_cast<ByPattern>(&ISectionManager::Subscribe)), 2);
    EXPECT_EQ(Slot(&ISectionManager::Unsubscribe), 3);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISectionManager>);
}

TEST(Layout, ObserversDestructorIsFirstThenSectionThenTimeout) {
    EXPECT_EQ(Slot(&ISectionObserver::OnSectionReceived), kDestructorSlots);
    EXPECT_EQ(Slot(&ISectionObserver::OnSectionTimeout), kDestructorSlots + 1);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISectionObserver>);
}

TEST(Layout, PatParserContinuesTheCommonSlots) {
    EXPECT_EQ(Slot(&ISectionParser::Create), kDestructorSlots);
    EXPECT_EQ(Slot(&ISectionParser::Parse), kDestructorSlots + 1);
    EXPECT_EQ(Slot(&ISectionParser::Initialize), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&IPATParser::IsComplete), kDestructorSlots + 3);
    EXPECT_EQ(Slot(&IPATParser::GetProgramList), kDestructorSlots + 4);
    EXPECT_EQ(Slot(&IPATParser::NumOfProgramList), kDestructorSlots + 5);
    EXPECT_EQ(Slot(&IPATParser::ProgramNumber), kDestructorSlots + 6);
    EXPECT_EQ(Slot(&IPATParser::ProgramPID), kDestructorSlots + 7);
    EXPECT_EQ(Slot(&IPATParser::TransportStreamId), kDestructorSlots + 8);
    EXPECT_TRUE(std::has_virtual_destructor_v<ISectionParser>);
}

TEST(Layout, SubscribersThreeCallsHaveTheFirstSlots) {
    EXPECT_EQ(Slot(&ISectionSubscriber::SubscribeTable), 0);
    EXPECT_EQ(Slot(&ISectionSubscriber::SubscribeFilter), 1);
    EXPECT_EQ(Slot(&ISectionSubscriber::Unsubscribe), 2);
    EXPECT_FALSE(std::has_virtual_destructor_v<ISectionSubscriber>);
}

TEST(Layout, WhatThePlatformsParsersAreMadeOf) {
    EXPECT_TRUE(std::has_virtual_destructor_v<TCSectionParser>);
    EXPECT_EQ(Slot(&TCSectionParser::Parse), kDestructorSlots);
    EXPECT_EQ(Slot(&TCSectionParser::Reset), kDestructorSlots + 1);
    EXPECT_TRUE(std::has_virtual_destructor_v<IDescriptorContainer>);
    EXPECT_EQ(Slot(&IDescriptorContainer::NumOfDescriptors), kDestructorSlots);
    EXPECT_EQ(Slot(&IDescriptorContainer::Descriptor), kDestructorSlots + 1);
    EXPECT_FALSE(std::is_polymorphic_v<TCBaseSection>);
}

TEST(Layout, ThePlatformsDescriptors) {
    struct Inside : TCBaseDesc {
        static std::ptrdiff_t DecodeSlot() { return Slot(&Inside::Decode); }
    };
    EXPECT_TRUE(std::has_virtual_destructor_v<TCBaseDesc>);
    EXPECT_EQ(Slot(&TCBaseDesc::Tag), kDestructorSlots);
    EXPECT_EQ(Slot(&TCBaseDesc::Fork), kDestructorSlots + 1);
    EXPECT_EQ(Inside::DecodeSlot(), kDestructorSlots + 2);
    EXPECT_EQ(Slot(&TCDescExtension::Tag), kDestructorSlots);
    EXPECT_EQ(Slot(&TCDescExtension::Fork), kDestructorSlots + 1);
    // Beside the virtual table, each class in the hierarchy has one pointer.
    EXPECT_EQ(sizeof(TCBaseDesc), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TCDescExtension), 3 * sizeof(void*));
}

TEST(Layout, CriteriaFieldsStandInOrder) {
    EXPECT_LT(offsetof(TCSectionCriteriaHelper, m_pid),
              offsetof(TCSectionCriteriaHelper, m_tableId));
    EXPECT_LT(offsetof(TCSectionCriteriaHelper, m_tableId),
              offsetof(TCSectionCriteriaHelper, m_reserved));
    EXPECT_LT(offsetof(TCSectionCriteriaHelper, m_reserved),
              offsetof(TCSectionCriteriaHelper, m_selector));
    EXPECT_LT(offsetof(TCSectionCriteriaHelper, m_selector),
              offsetof(TCSectionCriteriaHelper, m_flag));
    EXPECT_LT(offsetof(TCSectionFilterCriteriaHelper, m_filter),
              offsetof(TCSectionFilterCriteriaHelper, m_mask));
    EXPECT_LT(offsetof(TCSectionFilterCriteriaHelper, m_mask),
              offsetof(TCSectionFilterCriteriaHelper, m_mode));
    EXPECT_LT(offsetof(TCSectionFilterCriteriaHelper, m_mode),
              offsetof(TCSectionFilterCriteriaHelper, m_flag));
}

TEST(Layout, FilterModesHaveTheirValues) {
    EXPECT_EQ(ISectionManager::EToggle, 0);
    EXPECT_EQ(ISectionManager::EContinuous, 1);
    EXPECT_EQ(ISectionManager::EOneShot, 2);
    EXPECT_EQ(sizeof(ISectionManager::EFilterMode), 4u);
}

TEST(Layout, SectionManagersDestructorFollowsUnsubscribe) {
    static int ends = 0;
    struct Manager : ISectionManager {
        unsigned int Subscribe(unsigned short, unsigned int, ISectionObserver&, EFilterMode,
                               unsigned int, bool) override {
            return 0;
        }
        unsigned int Subscribe(unsigned short, unsigned int, unsigned int, ISectionObserver&,
                               EFilterMode, unsigned int) override {
            return 0;
        }
        unsigned int Subscribe(unsigned short, const Bytes&, const Bytes&, const Bytes&,
                               ISectionObserver&, EFilterMode, unsigned int) override {
            return 0;
        }
        void Unsubscribe(unsigned int) override {}
        ~Manager() override { ++ends; }
    };
    alignas(Manager) unsigned char memory[sizeof(Manager)];
    auto* const manager = new (memory) Manager;
    void** const table = *reinterpret_cast<void***>(manager);
    reinterpret_cast<void (*)(void*)>(table[4])(manager);  // the complete destructor
    EXPECT_EQ(ends, 1);
}

}  // namespace

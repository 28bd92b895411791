#include "SI/Include/ServiceTriplet.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using TORVEL_MW::ServiceTriplet;

std::tuple<int, int, int> Numbers(const ServiceTriplet& triplet) {
    return {triplet.m_onid, triplet.m_tsid, triplet.m_sid};
}

TEST(ServiceTriplet, IsAllZeroByDefault) {
    EXPECT_EQ(Numbers(ServiceTriplet()), std::make_tuple(0, 0, 0));
}

TEST(ServiceTriplet, TakesNetworkThenTransportStreamThenService) {
    EXPECT_EQ(Numbers(ServiceTriplet(0xFFFF, 0x8000, 1)), std::make_tuple(0xFFFF, 0x8000, 1));
}

TEST(ServiceTriplet, HoldsThreeNumbersOf16BitsInThatOrder) {
    static_assert(std::is_same_v<decltype(ServiceTriplet::m_onid), unsigned short>);
    static_assert(std::is_same_v<decltype(ServiceTriplet::m_tsid), unsigned short>);
    static_assert(std::is_same_v<decltype(ServiceTriplet::m_sid), unsigned short>);
    EXPECT_EQ(offsetof(ServiceTriplet, m_onid), 0u);
    EXPECT_EQ(offsetof(ServiceTriplet, m_tsid), 2u);
    EXPECT_EQ(offsetof(ServiceTriplet, m_sid), 4u);
    EXPECT_EQ(sizeof(ServiceTriplet), 6u);
}

TEST(ServiceTriplet, IsOrderedByNetworkThenTransportStreamThenService) {
    const std::vector<unsigned short> numbers = {0, 1, 0x7FFF, 0x8000, 0xFFFF};
    std::vector<ServiceTriplet> triplets;
    for (const unsigned short onid : numbers) {
        for (const unsigned short tsid : numbers) {
            for (const unsigned short sid : numbers) {
                triplets.emplace_back(onid, tsid, sid);
            }
        }
    }
    for (const ServiceTriplet& left : triplets) {
        for (const ServiceTriplet& right : triplets) {
            EXPECT_EQ(left < right, Numbers(left) < Numbers(right));
        }
    }
}

TEST(ServiceTriplet, IsAKeyByAllThreeNumbers) {
    std::map<ServiceTriplet, int> services;
    services[{1, 2, 3}] = 10;
    services[{1, 2, 4}] = 20;
    services[{1, 3, 3}] = 30;
    services[{2, 2, 3}] = 40;
    services[{1, 2, 3}] = 50;
    EXPECT_EQ(services.size(), 4u);
    EXPECT_EQ(services.at(ServiceTriplet(1, 2, 3)), 50);
}

}  // namespace

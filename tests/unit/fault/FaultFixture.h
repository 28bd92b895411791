#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "softplatform/fault/FaultPlan.h"

namespace testsupport {

inline std::shared_ptr<tvservice::FaultPlan> Plan(const std::vector<std::string>& specs,
                                                  uint64_t seed = 1) {
    std::string error = "untouched";
    std::shared_ptr<tvservice::FaultPlan> plan = tvservice::FaultPlan::Parse(specs, seed, error);
    EXPECT_EQ(error, "untouched");
    return plan;
}

}  // namespace testsupport

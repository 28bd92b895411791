#pragma once

#include "platform/TCBaseSection.h"
#include "softplatform/table/SubTable.h"

// Every table and sub-table object holds its sections here.
struct TCBaseSection::Impl {
    tvservice::SubTable sections;
};

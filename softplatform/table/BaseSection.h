#pragma once

#include "platform/TCBaseSection.h"
#include "softplatform/table/SubTable.h"

// The sections of a table or sub-table object.
struct TCBaseSection::Impl {
    tvservice::SubTable sections;
};

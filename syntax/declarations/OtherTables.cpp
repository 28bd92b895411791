// Tables of the standards around EN 300 468: applications, updates, carousels, splices.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr auto kTables = Declare(Table(
    0x74, 0x74, "application_information_section", "TS 102 809 5.3.4.6",
    LongHeader(1, Flag("test_application_flag"), U(15, "application_type", kApplicationTypes)),
    DescriptorsL12("common_descriptors", Space::kApplication), Ones(4),
    LoopL(12, "applications", U32("organisation_id"), U16("application_id"),
          U8("application_control_code", kApplicationControlCodes),
          DescriptorsL12("descriptors", Space::kApplication))));

}  // namespace

GroupView OtherTables() {
    return kTables;
}

}  // namespace syntax

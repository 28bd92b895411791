// Descriptors 0x40 to 0x7E: EN 300 468 and the standards that it lists.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr auto kDescriptors = Declare(
    // --- Names, lists, services

    Descriptor(0x40, "network_name_descriptor", "EN 300 468 6.2.27", Text("network_name")),

    Descriptor(0x41, "service_list_descriptor", "EN 300 468 6.2.35",
               Loop("services", U16("service_id"), U8("service_type", kServiceTypes))),

    Descriptor(0x48, "service_descriptor", "EN 300 468 6.2.33", U8("service_type", kServiceTypes),
               TextL(8, "service_provider_name"), TextL(8, "service_name")),

    Descriptor(0x4D, "short_event_descriptor", "EN 300 468 6.2.37",
               Language("ISO_639_language_code"), TextL(8, "event_name"), TextL(8, "text")));

}  // namespace

GroupView DvbDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

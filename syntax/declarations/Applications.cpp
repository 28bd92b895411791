// Descriptors of the application information table: TS 102 809 and TS 102 812.

#include "syntax/declarations/Groups.h"
#include "syntax/declarations/Values.h"

namespace syntax {

namespace {

constexpr Value kVisibilities[] = {
    {0, "not visible"}, {1, "not visible to users, visible to applications"}, {3, "fully visible"}};
constexpr Value kProtocols[] = {
    {0x0001, "object carousel"}, {0x0002, "IP by multiprotocol encapsulation"}, {0x0003, "HTTP"}};
constexpr Value kStorages[] = {{0, "broadcast related"}, {1, "standalone"}};
constexpr Value kUsages[] = {{1, "digital text"}};

constexpr auto Profiles() {
    return Sequence(U16("application_profile"), U8("version.major"), U8("version.minor"),
                    U8("version.micro"));
}

constexpr auto RemoteConnection() {
    return Sequence(Guard("remote_connection"), Ones(7),
                    If(Set("remote_connection"), U16("original_network_id"),
                       U16("transport_stream_id"), U16("service_id")));
}

constexpr auto kDescriptors = Declare(
    In(Space::kApplication),

    Descriptor(0x00, "application_descriptor", "TS 102 809 5.3.5.3",
               LoopL(8, "profiles", Profiles()), Flag("service_bound_flag"),
               U(2, "visibility", kVisibilities), Ones(5), U8("application_priority"),
               Loop("labels", U8("transport_protocol_label"))),

    Descriptor(0x01, "application_name_descriptor", "TS 102 809 5.3.5.6.1",
               Loop("names", Language("ISO_639_language_code"), Utf8L(8, "application_name"))),

    Descriptor(0x02, "transport_protocol_descriptor", "TS 102 809 5.3.6.1",
               U16("protocol_id", kProtocols), U8("transport_protocol_label"),
               If(Is("protocol_id", 0x0001), Try(RemoteConnection(), U8("component_tag"))),
               If(Is("protocol_id", 0x0002), Try(RemoteConnection(), Flag("alignment_indicator"),
                                                 Ones(7), Loop("URLs", Utf8L(8, "URL_byte")))),
               If(Is("protocol_id", 0x0003),
                  Try(Loop("URLs", Utf8L(8, "URL_base_byte"),
                           LoopN(8, "extensions", Utf8L(8, "URL_extension_byte"))))),
               Bytes("selector_byte")),

    Descriptor(0x03, "dvb_j_application_descriptor", "TS 102 812 10.9.1",
               Loop("parameters", Utf8L(8, "parameter"))),

    Descriptor(0x04, "dvb_j_application_location_descriptor", "TS 102 812 10.9.2",
               Utf8L(8, "base_directory_byte"), Utf8L(8, "classpath_extension_byte"),
               Utf8("initial_class_byte")),

    Descriptor(0x05, "external_application_authorization_descriptor", "TS 102 809 5.3.5.7",
               Loop("applications", U32("organisation_id"), U16("application_id"),
                    U8("application_priority"))),

    Descriptor(0x06, "application_recording_descriptor", "TS 102 809 5.3.5.4",
               Flag("scheduled_recording_flag"), Flag("trick_mode_aware_flag"),
               Flag("time_shift_flag"), Flag("dynamic_flag"), Flag("av_synced_flag"),
               Flag("initiating_replay_flag"), Ones(2),
               LoopN(8, "labels", Utf8L(8, "label"), U(2, "storage_properties"), Ones(6)),
               LoopL(8, "components", U8("component_tag")), BytesL(8, "private"),
               Bytes("reserved_future_use")),

    Descriptor(0x08, "dvb_html_application_descriptor", "TS 102 812 10.10.1",
               LoopL(8, "applications", U16("application_id")), Utf8("parameter_byte")),

    Descriptor(0x09, "dvb_html_application_location_descriptor", "TS 102 812 10.10.2",
               Utf8L(8, "physical_root_byte"), Utf8("initial_path_byte")),

    Descriptor(0x0A, "dvb_html_application_boundary_descriptor", "TS 102 812 10.10.3",
               Utf8L(8, "label_byte"), Utf8("regular_expression_byte")),

    Descriptor(0x0B, "application_icons_descriptor", "TS 102 809 5.3.5.6.2",
               Utf8L(8, "icon_locator_byte"), U16("icon_flags"), Bytes("reserved_future_use")),

    Descriptor(0x0C, "prefetch_descriptor", "TS 102 812 10.8.3.2", U8("transport_protocol_label"),
               Loop("labels", Utf8L(8, "label"), U8("prefetch_priority"))),

    Descriptor(0x0D, "DII_location_descriptor", "TS 102 812 10.8.3.3",
               U8("transport_protocol_label"),
               Loop("DIIs", Ones(1), U(15, "DII_identification"), U16("association_tag"))),

    Descriptor(0x0E, "delegated_application_descriptor", "TS 102 812 10.7.4",
               Loop("applications", U32("organisation_id"), U16("application_id"))),

    Descriptor(0x0F, "plug-in_descriptor", "TS 102 812 10.13",
               U16("application_type", kApplicationTypes), Loop("profiles", Profiles())),

    Descriptor(0x10, "application_storage_descriptor", "TS 102 809 5.3.5.5",
               U8("storage_property", kStorages), Flag("not_launchable_from_broadcast"),
               Flag("launchable_completely_from_cache"), Flag("is_launchable_with_older_version"),
               Ones(6), U(31, "version"), U8("priority")),

    Descriptor(0x11, "ip_signalling_descriptor", "TS 102 809 5.3.6.2", U24("platform_id")),

    Descriptor(0x14, "graphics_constraints_descriptor", "TS 102 809 5.3.5.8", Ones(5),
               Flag("can_run_without_visible_ui"), Flag("handles_configuration_changed"),
               Flag("handles_externally_controlled_video"), Bytes("graphics_configuration_byte")),

    Descriptor(0x15, "simple_application_location_descriptor", "TS 102 809 5.3.7",
               Utf8("initial_path_bytes")),

    Descriptor(0x16, "application_usage_descriptor", "TS 102 809 5.3.5.6.3",
               U8("usage_type", kUsages)),

    Descriptor(0x17, "simple_application_boundary_descriptor", "TS 102 809 5.3.8",
               LoopN(8, "boundaries", Utf8L(8, "boundary_extension_byte"))));

}  // namespace

GroupView ApplicationDescriptors() {
    return kDescriptors;
}

}  // namespace syntax

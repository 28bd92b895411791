#include "tests/contract/platform/Descriptors.h"

#include <gtest/gtest.h>

namespace contract {

using testsupport::Bytes;

namespace {

template <class T>
std::unique_ptr<TCBaseDesc> Make() {
    return std::make_unique<T>();
}

template <>
std::unique_ptr<TCBaseDesc> Make<TCDescSatelliteDeliverySystem>() {
    return std::make_unique<TCDescSatelliteDeliverySystem>(0x43);
}

// Casts the descriptor to the class that it must have.
template <class T>
T& As(TCBaseDesc& descriptor) {
    return dynamic_cast<T&>(descriptor);
}

template <class Entry>
Bytes SelectorOf(Entry* entry) {
    Bytes bytes(entry->SelectorLength());
    int length = static_cast<int>(bytes.size());
    EXPECT_NE(entry->SelectorByte(reinterpret_cast<char*>(bytes.data()), &length), 0);
    EXPECT_EQ(length, static_cast<int>(bytes.size()));
    return bytes;
}

}  // namespace

Bytes Tagged(unsigned char tag, const Bytes& payload) {
    return testsupport::Join({{tag, static_cast<unsigned char>(payload.size())}, payload});
}

namespace {

std::vector<DescriptorCase> AllCases() {
    std::vector<DescriptorCase> cases;
    cases.push_back({"Plain", Tagged(0x83, {1, 2, 3}), 0, Rest::kAny, &Make<TCBaseDesc>,
                     [](TCBaseDesc& descriptor) { EXPECT_EQ(descriptor.Tag(), 0x83); }});

    // ISO/IEC 13818-1 2.6.16
    cases.push_back({"CA",
                     Tagged(0x09, {0x18, 0x34,         // CA_system_ID
                                   0xE1 | 0x10, 0x23,  // reserved, CA_PID
                                   0xAA, 0xBB}),       // private data
                     4, Rest::kAny, &Make<TCDescCA>, [](TCBaseDesc& descriptor) {
                         auto& ca = As<TCDescCA>(descriptor);
                         EXPECT_EQ(ca.Tag(), 0x09);
                         EXPECT_EQ(ca.CASystemId(), 0x1834);
                         EXPECT_EQ(ca.CAPID(), 0x1123);
                     }});

    // ETSI TR 101 202 4.7.7.1
    cases.push_back({"CarouselIdentifier", Tagged(0x13, {0xFE, 0xDC, 0xBA, 0x98, 0x00}), 4,
                     Rest::kAny, &Make<TCDescCarouselIdentifier>, [](TCBaseDesc& descriptor) {
                         auto& carousel = As<TCDescCarouselIdentifier>(descriptor);
                         EXPECT_EQ(carousel.Tag(), 0x13);
                         EXPECT_EQ(carousel.CarouselId(), 0xFEDCBA98u);
                     }});

    // ETSI EN 300 468 6.2.27
    cases.push_back({"NetworkName", Tagged(0x40, {'N', 'e', 0x00, 0xFF}), 0, Rest::kAny,
                     &Make<TCDescNetworkName>, [](TCBaseDesc& descriptor) {
                         auto& name = As<TCDescNetworkName>(descriptor);
                         EXPECT_EQ(name.Tag(), 0x40);
                         EXPECT_EQ(name.Name(), (Bytes{'N', 'e', 0x00, 0xFF}));
                     }});

    // ETSI EN 300 468 6.2.35
    cases.push_back({"ServiceList", Tagged(0x41, {0xFF, 0x01, 0x19, 0x12, 0x34, 0x02}), 0,
                     Rest::kNone, &Make<TCDescServiceList>, [](TCBaseDesc& descriptor) {
                         auto& list = As<TCDescServiceList>(descriptor);
                         EXPECT_EQ(list.Tag(), 0x41);
                         ASSERT_EQ(list.NumOfServices(), 2);
                         EXPECT_EQ(list.ServiceId(0), 0xFF01);
                         EXPECT_EQ(list.ServiceType(0), 0x19);
                         EXPECT_EQ(list.ServiceId(1), 0x1234);
                         EXPECT_EQ(list.ServiceType(1), 0x02);
                         for (const unsigned past : {2u, 0xFFFFFFFFu}) {
                             EXPECT_EQ(list.ServiceId(past), 0);
                             EXPECT_EQ(list.ServiceType(past), 0);
                         }
                     }});

    // ETSI EN 300 468 6.2.13.2
    cases.push_back(
        {"SatelliteDeliverySystem",
         Tagged(0x43, {0x01, 0x17, 0x57, 0x25,            // frequency
                       0x01, 0x92,                        // orbital_position
                       0x80 | 0x40 | 0x10 | 0x04 | 0x02,  // east, circular left, roll_off 2, S2, 2
                       0x02, 0x75, 0x00, 0x03}),          // symbol_rate, FEC_inner
         11, Rest::kNone, &Make<TCDescSatelliteDeliverySystem>, [](TCBaseDesc& descriptor) {
             auto& satellite = As<TCDescSatelliteDeliverySystem>(descriptor);
             EXPECT_EQ(satellite.Tag(), 0x43);
             EXPECT_EQ(satellite.Frequency(), 0x01175725u);
             EXPECT_EQ(satellite.FrequencyHz(), 11757250000u);
             EXPECT_EQ(satellite.OrbitalPosition(), 0x0192);
             EXPECT_EQ(satellite.OrbitalPositionTenthDegrees(), 192);
             EXPECT_TRUE(satellite.WestEastFlag());
             EXPECT_EQ(satellite.Polarization(), 2);
             EXPECT_EQ(satellite.RollOff(), 2);
             EXPECT_EQ(satellite.ModulationSystem(), 1);
             EXPECT_EQ(satellite.ModulationType(), 2);
             EXPECT_EQ(satellite.SymbolRate(), 0x0275000u);
             EXPECT_EQ(satellite.SymbolsPerSecond(), 27500000u);
             EXPECT_EQ(satellite.FECInner(), 3);
         }});
    cases.push_back({"SatelliteDeliverySystemThatIsNotDecimal",
                     Tagged(0x43, {0x0A, 0, 0, 0, 0x0F, 0, 0x00, 0xB0, 0, 0, 0x01}), 11,
                     Rest::kNone, &Make<TCDescSatelliteDeliverySystem>, [](TCBaseDesc& descriptor) {
                         auto& satellite = As<TCDescSatelliteDeliverySystem>(descriptor);
                         EXPECT_EQ(satellite.Frequency(), 0x0A000000u);
                         EXPECT_EQ(satellite.FrequencyHz(), 0u);
                         EXPECT_EQ(satellite.OrbitalPosition(), 0x0F00);
                         EXPECT_EQ(satellite.OrbitalPositionTenthDegrees(), 0);
                         EXPECT_FALSE(satellite.WestEastFlag());
                         EXPECT_EQ(satellite.SymbolRate(), 0xB000000u);
                         EXPECT_EQ(satellite.SymbolsPerSecond(), 0u);
                     }});

    // ETSI EN 300 468 6.2.13.1
    cases.push_back({"CableDeliverySystem",
                     Tagged(0x44, {0x03, 0x46, 0x00, 0x00,    // frequency
                                   0xFF, 0xF2,                // reserved, FEC_outer
                                   0x03,                      // modulation
                                   0x00, 0x69, 0x00, 0x0F}),  // symbol_rate, FEC_inner
                     11, Rest::kNone, &Make<TCDescCableDeliverySystem>, [](TCBaseDesc& descriptor) {
                         auto& cable = As<TCDescCableDeliverySystem>(descriptor);
                         EXPECT_EQ(cable.Tag(), 0x44);
                         EXPECT_EQ(cable.Frequency(), 0x03460000u);
                         EXPECT_EQ(cable.FrequencyHz(), 346000000u);
                         EXPECT_EQ(cable.FECOuter(), 2);
                         EXPECT_EQ(cable.Modulation(), 3);
                         EXPECT_EQ(cable.SymbolRate(), 0x0069000u);
                         EXPECT_EQ(cable.SymbolsPerSecond(), 6900000u);
                         EXPECT_EQ(cable.FECInner(), 15);
                     }});
    cases.push_back({"CableDeliverySystemThatIsNotDecimal",
                     Tagged(0x44, {0xFF, 0, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0}), 11, Rest::kNone,
                     &Make<TCDescCableDeliverySystem>, [](TCBaseDesc& descriptor) {
                         auto& cable = As<TCDescCableDeliverySystem>(descriptor);
                         EXPECT_EQ(cable.Frequency(), 0xFF000000u);
                         EXPECT_EQ(cable.FrequencyHz(), 0u);
                         EXPECT_EQ(cable.SymbolsPerSecond(), 0u);
                     }});

    // ETSI EN 300 468 6.2.4
    cases.push_back({"BouquetName", Tagged(0x47, {'B', 'o'}), 0, Rest::kAny,
                     &Make<TCDescBouquetName>, [](TCBaseDesc& descriptor) {
                         auto& name = As<TCDescBouquetName>(descriptor);
                         EXPECT_EQ(name.Tag(), 0x47);
                         EXPECT_EQ(name.Name(), (Bytes{'B', 'o'}));
                     }});

    // ETSI EN 300 468 6.2.33
    cases.push_back({"Service", Tagged(0x48, {0x19, 2, 'p', 'q', 3, 'a', 'b', 'c'}), 3, Rest::kNone,
                     &Make<TCDescService>, [](TCBaseDesc& descriptor) {
                         auto& service = As<TCDescService>(descriptor);
                         EXPECT_EQ(service.Tag(), 0x48);
                         EXPECT_EQ(service.ServiceType(), 0x19);
                         EXPECT_EQ(service.ServiceProviderName(), (Bytes{'p', 'q'}));
                         EXPECT_EQ(service.ServiceName(), (Bytes{'a', 'b', 'c'}));
                     }});
    cases.push_back({"ServiceWithoutNames", Tagged(0x48, {0x02, 0, 0}), 3, Rest::kNone,
                     &Make<TCDescService>, [](TCBaseDesc& descriptor) {
                         auto& service = As<TCDescService>(descriptor);
                         EXPECT_EQ(service.ServiceType(), 0x02);
                         EXPECT_TRUE(service.ServiceProviderName().empty());
                         EXPECT_TRUE(service.ServiceName().empty());
                     }});

    // ETSI EN 300 468 6.2.19
    cases.push_back({"Linkage",
                     Tagged(0x4A, {0x11, 0x12,    // transport_stream_id
                                   0x21, 0x22,    // original_network_id
                                   0x31, 0x32,    // service_id
                                   0x02,          // linkage_type
                                   0x01, 0x02}),  // private data
                     7, Rest::kAny, &Make<TCDescLinkage>, [](TCBaseDesc& descriptor) {
                         auto& linkage = As<TCDescLinkage>(descriptor);
                         EXPECT_EQ(linkage.Tag(), 0x4A);
                         EXPECT_EQ(linkage.TransportStreamId(), 0x1112);
                         EXPECT_EQ(linkage.OriginalNetworkId(), 0x2122);
                         EXPECT_EQ(linkage.ServiceId(), 0x3132);
                         EXPECT_EQ(linkage.LinkageType(), 2);
                         EXPECT_EQ(linkage.TableType(), 0);
                         EXPECT_EQ(linkage.NumOfSSULinkLoop(), 0);
                         EXPECT_EQ(linkage.SSULinkLoop(0), nullptr);
                     }});
    // ETSI TS 102 006 6.2
    cases.push_back({"LinkageToSoftwareUpdates",
                     Tagged(0x4A, {0, 1, 0, 2, 0, 3, 0x09,  // ids, linkage_type
                                   10,                      // OUI_data_length
                                   0x00, 0x15, 0x0A, 2, 0xDE,
                                   0xAD,  // OUI, selector_length, selector
                                   0xFF, 0xEE, 0xDD,
                                   0,       // the same without a selector
                                   0x77}),  // private data
                     7, Rest::kAny, &Make<TCDescLinkage>, [](TCBaseDesc& descriptor) {
                         auto& linkage = As<TCDescLinkage>(descriptor);
                         EXPECT_EQ(linkage.LinkageType(),
                                   TCDescLinkage::LINKAGE_TYPE_SOFTWARE_UPDATE);
                         EXPECT_EQ(linkage.TableType(), 0);
                         ASSERT_EQ(linkage.NumOfSSULinkLoop(), 2);
                         EXPECT_EQ(linkage.SSULinkLoop(0)->OUI(), 0x00150Au);
                         EXPECT_EQ(SelectorOf(linkage.SSULinkLoop(0)), (Bytes{0xDE, 0xAD}));
                         EXPECT_EQ(linkage.SSULinkLoop(1)->OUI(), 0xFFEEDDu);
                         EXPECT_EQ(linkage.SSULinkLoop(1)->SelectorLength(), 0);
                         EXPECT_EQ(linkage.SSULinkLoop(2), nullptr);
                         EXPECT_EQ(linkage.SSULinkLoop(0xFFFFFFFF), nullptr);
                     }});
    // ETSI TS 102 006 6.3
    cases.push_back(
        {"LinkageToATableOfSoftwareUpdates", Tagged(0x4A, {0, 1, 0, 2, 0, 3, 0x0A, 0x02}), 7,
         Rest::kAny, &Make<TCDescLinkage>, [](TCBaseDesc& descriptor) {
             auto& linkage = As<TCDescLinkage>(descriptor);
             EXPECT_EQ(linkage.LinkageType(), TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU);
             EXPECT_EQ(linkage.TableType(), 2);
             EXPECT_EQ(linkage.NumOfSSULinkLoop(), 0);
         }});

    // ETSI EN 300 468 6.2.37
    cases.push_back({"ShortEvent", Tagged(0x4D, {'e', 'n', 'g', 2, 'N', 'o', 1, 'T'}), 5,
                     Rest::kNone, &Make<TCDescShortEvent>, [](TCBaseDesc& descriptor) {
                         auto& event = As<TCDescShortEvent>(descriptor);
                         EXPECT_EQ(event.Tag(), 0x4D);
                         EXPECT_EQ(event.LanguageCode(), 0x656E67u);
                         EXPECT_EQ(event.EventName(), (Bytes{'N', 'o'}));
                         EXPECT_EQ(event.Text(), (Bytes{'T'}));
                     }});

    // ETSI EN 300 468 6.2.15
    cases.push_back({"ExtendedEvent",
                     Tagged(0x4E, {0x12, 'd', 'e',
                                   'u',                  // numbers, ISO_639_language_code
                                   8,                    // length_of_items
                                   1, 'D', 2, 'I', 'J',  // description, item
                                   0, 1, 'K',            // the same without a description
                                   2, 'T', 'U'}),        // text
                     6, Rest::kNone, &Make<TCDescExtendedEvent>, [](TCBaseDesc& descriptor) {
                         auto& event = As<TCDescExtendedEvent>(descriptor);
                         EXPECT_EQ(event.Tag(), 0x4E);
                         EXPECT_EQ(event.DescriptorNumber(), 1);
                         EXPECT_EQ(event.LastDescriptorNumber(), 2);
                         EXPECT_EQ(event.LanguageCode(), 0x646575u);
                         ASSERT_EQ(event.NumOfItems(), 2);
                         EXPECT_EQ(event.ItemDescription(0), (Bytes{'D'}));
                         EXPECT_EQ(event.Item(0), (Bytes{'I', 'J'}));
                         EXPECT_EQ(event.ItemDescription(1), Bytes{});
                         EXPECT_EQ(event.Item(1), (Bytes{'K'}));
                         for (const unsigned past : {2u, 0xFFFFFFFFu}) {
                             EXPECT_TRUE(event.ItemDescription(past).empty());
                             EXPECT_TRUE(event.Item(past).empty());
                         }
                         EXPECT_EQ(event.Text(), (Bytes{'T', 'U'}));
                     }});

    // ETSI EN 300 468 6.2.8
    cases.push_back({"Component", Tagged(0x50, {0xE1, 0x03, 0x42, 'f', 'r', 'a', 'v'}), 6,
                     Rest::kAny, &Make<TCDescComponent>, [](TCBaseDesc& descriptor) {
                         auto& component = As<TCDescComponent>(descriptor);
                         EXPECT_EQ(component.Tag(), 0x50);
                         EXPECT_EQ(component.StreamContentExt(), 0xE);
                         EXPECT_EQ(component.StreamContent(), 0x1);
                         EXPECT_EQ(component.ComponentType(), 0x03);
                         EXPECT_EQ(component.ComponentTag(), 0x42);
                         EXPECT_EQ(component.LanguageCode(), 0x667261u);
                         EXPECT_EQ(component.Text(), (Bytes{'v'}));
                     }});

    // ETSI EN 300 468 6.2.39
    cases.push_back({"StreamIdentifier", Tagged(0x52, {0xFE}), 1, Rest::kNone,
                     &Make<TCDescStreamIdentifier>, [](TCBaseDesc& descriptor) {
                         auto& identifier = As<TCDescStreamIdentifier>(descriptor);
                         EXPECT_EQ(identifier.Tag(), TCDescStreamIdentifier::DESCRIPTOR_ID);
                         EXPECT_EQ(identifier.ComponentTag(), 0xFE);
                     }});

    // ETSI EN 300 468 6.2.9
    cases.push_back({"Content", Tagged(0x54, {0x13, 0x01, 0xF0, 0xFF}), 0, Rest::kNone,
                     &Make<TCDescContent>, [](TCBaseDesc& descriptor) {
                         auto& content = As<TCDescContent>(descriptor);
                         EXPECT_EQ(content.Tag(), 0x54);
                         ASSERT_EQ(content.NumOfContents(), 2);
                         EXPECT_EQ(content.ContentNibbles(0), 0x13);
                         EXPECT_EQ(content.UserByte(0), 0x01);
                         EXPECT_EQ(content.ContentNibbles(1), 0xF0);
                         EXPECT_EQ(content.UserByte(1), 0xFF);
                         for (const unsigned past : {2u, 0xFFFFFFFFu}) {
                             EXPECT_EQ(content.ContentNibbles(past), 0);
                             EXPECT_EQ(content.UserByte(past), 0);
                         }
                     }});

    // ETSI EN 300 468 6.2.28
    cases.push_back({"ParentalRating", Tagged(0x55, {'G', 'B', 'R', 9, 'F', 'R', 'A', 0x81}), 0,
                     Rest::kNone, &Make<TCDescParentalRating>, [](TCBaseDesc& descriptor) {
                         auto& rating = As<TCDescParentalRating>(descriptor);
                         EXPECT_EQ(rating.Tag(), 0x55);
                         ASSERT_EQ(rating.NumOfRatings(), 2);
                         EXPECT_EQ(rating.CountryCode(0), 0x474252u);
                         EXPECT_EQ(rating.Rating(0), 9);
                         EXPECT_EQ(rating.CountryCode(1), 0x465241u);
                         EXPECT_EQ(rating.Rating(1), 0x81);
                         for (const unsigned past : {2u, 0xFFFFFFFFu}) {
                             EXPECT_EQ(rating.CountryCode(past), 0u);
                             EXPECT_EQ(rating.Rating(past), 0);
                         }
                     }});

    // ETSI EN 300 468 6.2.13.4
    cases.push_back({"TerrestrialDeliverySystem",
                     Tagged(0x5A, {0x02, 0xFA, 0xF0, 0x80,     // centre_frequency
                                   0x20 | 0x10 | 0x04 | 0x03,  // 7 MHz, high priority, slicing,
                                                               // no MPE-FEC
                                   0x80 | 0x28 | 0x02,         // constellation 2,
                                                               // hierarchy 5, HP 2
                                   0x60 | 0x10 | 0x02 | 0x01,  // LP 3, guard 2, mode 1, other
                                                               // frequencies
                                   0xFF, 0xFF, 0xFF, 0xFF}),
                     11, Rest::kNone, &Make<TCDescTerrestrialDeliverySystem>,
                     [](TCBaseDesc& descriptor) {
                         auto& terrestrial = As<TCDescTerrestrialDeliverySystem>(descriptor);
                         EXPECT_EQ(terrestrial.Tag(), 0x5A);
                         EXPECT_EQ(terrestrial.CentreFrequency(), 0x02FAF080u);
                         EXPECT_EQ(terrestrial.CentreFrequencyHz(), 500000000u);
                         EXPECT_EQ(terrestrial.Bandwidth(), 1);
                         EXPECT_TRUE(terrestrial.Priority());
                         EXPECT_FALSE(terrestrial.TimeSlicingIndicator());
                         EXPECT_TRUE(terrestrial.MPEFECIndicator());
                         EXPECT_EQ(terrestrial.Constellation(), 2);
                         EXPECT_EQ(terrestrial.HierarchyInformation(), 5);
                         EXPECT_EQ(terrestrial.CodeRateHPStream(), 2);
                         EXPECT_EQ(terrestrial.CodeRateLPStream(), 3);
                         EXPECT_EQ(terrestrial.GuardInterval(), 2);
                         EXPECT_EQ(terrestrial.TransmissionMode(), 1);
                         EXPECT_TRUE(terrestrial.OtherFrequencyFlag());
                     }});
    cases.push_back({"TerrestrialDeliverySystemAbove42GHz",
                     Tagged(0x5A, {0xFF, 0xFF, 0xFF, 0xFE, 0x08, 0, 0, 0, 0, 0, 0}), 11,
                     Rest::kNone, &Make<TCDescTerrestrialDeliverySystem>,
                     [](TCBaseDesc& descriptor) {
                         auto& terrestrial = As<TCDescTerrestrialDeliverySystem>(descriptor);
                         EXPECT_EQ(terrestrial.CentreFrequency(), 0xFFFFFFFEu);
                         EXPECT_EQ(terrestrial.CentreFrequencyHz(), 42949672940u);
                         EXPECT_FALSE(terrestrial.Priority());
                         EXPECT_TRUE(terrestrial.TimeSlicingIndicator());
                         EXPECT_FALSE(terrestrial.MPEFECIndicator());
                         EXPECT_FALSE(terrestrial.OtherFrequencyFlag());
                     }});
    cases.push_back({"TerrestrialDeliverySystemWithoutFrequency",
                     Tagged(0x5A, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0}), 11, Rest::kNone,
                     &Make<TCDescTerrestrialDeliverySystem>, [](TCBaseDesc& descriptor) {
                         auto& terrestrial = As<TCDescTerrestrialDeliverySystem>(descriptor);
                         EXPECT_EQ(terrestrial.CentreFrequency(), 0xFFFFFFFFu);
                         EXPECT_EQ(terrestrial.CentreFrequencyHz(), 0u);
                     }});

    // ETSI EN 300 468 6.2.31
    cases.push_back({"PrivateDataSpecifier", Tagged(0x5F, {0x80, 0x00, 0x00, 0x28}), 4, Rest::kNone,
                     &Make<TCDescPrivateDataSpecifier>, [](TCBaseDesc& descriptor) {
                         auto& specifier = As<TCDescPrivateDataSpecifier>(descriptor);
                         EXPECT_EQ(specifier.Tag(), 0x5F);
                         EXPECT_EQ(specifier.PrivateDataSpecifier(), 0x80000028u);
                     }});

    // ETSI EN 300 468 6.2.12
    cases.push_back({"DataBroadcastId",
                     Tagged(0x66, {0x01, 0x23, 7, 0x00, 0x15, 0x0A, 0xF1, 0xC3, 0}), 2, Rest::kAny,
                     &Make<TCDescDataBroadcastId>, [](TCBaseDesc& descriptor) {
                         auto& id = As<TCDescDataBroadcastId>(descriptor);
                         EXPECT_EQ(id.Tag(), 0x66);
                         EXPECT_EQ(id.DataBroadcastId(), 0x0123);
                         EXPECT_EQ(id.NumOfSSUInfoLoop(), 0);
                         EXPECT_EQ(id.SSUInfoLoop(0), nullptr);
                     }});
    // ETSI TS 102 006 7.1
    cases.push_back({"DataBroadcastIdOfSoftwareUpdates",
                     Tagged(0x66, {0x00, 0x0A,
                                   15,  // OUI_data_length
                                   0x00, 0x15, 0x0A, 0xF1,
                                   0xC0 | 0x20 | 9,   // OUI, update_type, version
                                   3, 'a', 'b', 'c',  // selector
                                   0x80, 0x00, 0x01, 0xF2, 0xC0 | 31,
                                   0,       // the same without a selector
                                   0x55}),  // private data
                     2, Rest::kAny, &Make<TCDescDataBroadcastId>, [](TCBaseDesc& descriptor) {
                         auto& id = As<TCDescDataBroadcastId>(descriptor);
                         EXPECT_EQ(id.DataBroadcastId(), 0x000A);
                         ASSERT_EQ(id.NumOfSSUInfoLoop(), 2);
                         CSSUInfoLoop* const first = id.SSUInfoLoop(0);
                         EXPECT_EQ(first->OUI(), 0x00150Au);
                         EXPECT_EQ(first->UpdateType(), 1);
                         EXPECT_TRUE(first->UpdateVersioningFlag());
                         EXPECT_EQ(first->UpdateVersion(), 9);
                         EXPECT_EQ(SelectorOf(first), (Bytes{'a', 'b', 'c'}));
                         CSSUInfoLoop* const second = id.SSUInfoLoop(1);
                         EXPECT_EQ(second->OUI(), 0x800001u);
                         EXPECT_EQ(second->UpdateType(), 2);
                         EXPECT_FALSE(second->UpdateVersioningFlag());
                         EXPECT_EQ(second->UpdateVersion(), 31);
                         EXPECT_EQ(second->SelectorLength(), 0);
                         EXPECT_EQ(id.SSUInfoLoop(2), nullptr);
                         EXPECT_EQ(id.SSUInfoLoop(0xFFFFFFFF), nullptr);
                     }});

    // ETSI TS 102 809 5.3.5.1
    cases.push_back({"ApplicationSignalling",
                     Tagged(0x6F, {0x80, 0x10, 0xE0 | 5, 0x7F, 0xFF, 0xFF}), 0, Rest::kNone,
                     &Make<TCDescApplicationSignalling>, [](TCBaseDesc& descriptor) {
                         auto& signalling = As<TCDescApplicationSignalling>(descriptor);
                         EXPECT_EQ(signalling.Tag(), 0x6F);
                         ASSERT_EQ(signalling.NumOfApplications(), 2);
                         EXPECT_EQ(signalling.ApplicationType(0), 0x0010);
                         EXPECT_EQ(signalling.AITVersionNumber(0), 5);
                         EXPECT_EQ(signalling.ApplicationType(1), 0x7FFF);
                         EXPECT_EQ(signalling.AITVersionNumber(1), 31);
                         for (const unsigned past : {2u, 0xFFFFFFFFu}) {
                             EXPECT_EQ(signalling.ApplicationType(past), 0);
                             EXPECT_EQ(signalling.AITVersionNumber(past), 0);
                         }
                     }});

    // ETSI EN 300 468 6.2.16
    cases.push_back({"Extension", Tagged(0x7F, {0x06, 1, 2, 3}), 1, Rest::kAny,
                     &Make<TCDescExtension>, [](TCBaseDesc& descriptor) {
                         auto& extension = As<TCDescExtension>(descriptor);
                         EXPECT_EQ(extension.Tag(), 0x7F06);
                         EXPECT_EQ(extension.TagExtension(), 0x06);
                     }});

    // ETSI EN 300 468 6.4.6.3
    cases.push_back({"T2WithoutItsSystemPart", Tagged(0x7F, {0x04, 0x21, 0x12, 0x34}), 4,
                     Rest::kNone, &Make<TCDescT2SystemDelivery>, [](TCBaseDesc& descriptor) {
                         auto& t2 = As<TCDescT2SystemDelivery>(descriptor);
                         EXPECT_EQ(t2.Tag(), 0x7F04);
                         EXPECT_EQ(t2.TagExtension(), 0x04);
                         EXPECT_EQ(t2.PLPId(), 0x21);
                         EXPECT_EQ(t2.T2SystemId(), 0x1234);
                         EXPECT_FALSE(t2.HasSystemPart());
                         EXPECT_EQ(t2.SISOMISO() | t2.Bandwidth() | t2.GuardInterval() |
                                       t2.TransmissionMode(),
                                   0);
                         EXPECT_FALSE(t2.OtherFrequencyFlag() || t2.TFSFlag());
                         EXPECT_EQ(t2.NumOfCells(), 0);
                         EXPECT_EQ(t2.Cell(0), nullptr);
                     }});
    cases.push_back({"T2WithCells",
                     Tagged(0x7F, {0x04, 0x21, 0x12, 0x34,
                                   0x40 | 2 << 2 | 0x03,    // MISO, 6 MHz
                                   5 << 5 | 3 << 2 | 0x02,  // guard_interval, mode,
                                                            // other frequencies
                                   0x00,
                                   0x07,  // cell_id
                                   0x02, 0xFA, 0xF0,
                                   0x80,  // centre_frequency
                                   5, 0x99, 0x02, 0xFB, 0x00,
                                   0x00,  // a sub-cell
                                   0x00,
                                   0x08,  // cell_id
                                   0xFF, 0xFF, 0xFF,
                                   0xFF,  // centre_frequency
                                   0}),   // no sub-cell
                     4, Rest::kNone, &Make<TCDescT2SystemDelivery>, [](TCBaseDesc& descriptor) {
                         auto& t2 = As<TCDescT2SystemDelivery>(descriptor);
                         EXPECT_TRUE(t2.HasSystemPart());
                         EXPECT_EQ(t2.SISOMISO(), 1);
                         EXPECT_EQ(t2.Bandwidth(), 2);
                         EXPECT_EQ(t2.GuardInterval(), 5);
                         EXPECT_EQ(t2.TransmissionMode(), 3);
                         EXPECT_TRUE(t2.OtherFrequencyFlag());
                         EXPECT_FALSE(t2.TFSFlag());
                         ASSERT_EQ(t2.NumOfCells(), 2);
                         const TCT2Cell* const first = t2.Cell(0);
                         EXPECT_EQ(first->CellId(), 7);
                         ASSERT_EQ(first->NumOfCentreFrequencies(), 1);
                         EXPECT_EQ(first->CentreFrequency(0), 0x02FAF080u);
                         EXPECT_EQ(first->CentreFrequencyHz(0), 500000000u);
                         EXPECT_EQ(first->CentreFrequency(1), 0u);
                         ASSERT_EQ(first->NumOfSubCells(), 1);
                         EXPECT_EQ(first->CellIdExtension(0), 0x99);
                         EXPECT_EQ(first->TransposerFrequency(0), 0x02FB0000u);
                         EXPECT_EQ(first->TransposerFrequencyHz(0), 500039680u);
                         EXPECT_EQ(first->CellIdExtension(1), 0);
                         EXPECT_EQ(first->TransposerFrequency(1), 0u);
                         const TCT2Cell* const second = t2.Cell(1);
                         EXPECT_EQ(second->CellId(), 8);
                         EXPECT_EQ(second->CentreFrequency(0), 0xFFFFFFFFu);
                         EXPECT_EQ(second->CentreFrequencyHz(0), 0u);
                         EXPECT_EQ(second->NumOfSubCells(), 0);
                         EXPECT_EQ(t2.Cell(2), nullptr);
                         EXPECT_EQ(t2.Cell(0xFFFFFFFF), nullptr);
                     }});
    cases.push_back({"T2WithSeveralFrequenciesACell",
                     Tagged(0x7F, {0x04, 0x00, 0x00, 0x01, 0x00,
                                   0x01,        // tfs_flag
                                   0x00, 0x09,  // cell_id
                                   8, 0, 0, 0, 1, 0, 0, 0,
                                   2,    // frequency loop
                                   0}),  // no sub-cell
                     4, Rest::kNone, &Make<TCDescT2SystemDelivery>, [](TCBaseDesc& descriptor) {
                         auto& t2 = As<TCDescT2SystemDelivery>(descriptor);
                         EXPECT_TRUE(t2.TFSFlag());
                         ASSERT_EQ(t2.NumOfCells(), 1);
                         EXPECT_EQ(t2.Cell(0)->CellId(), 9);
                         ASSERT_EQ(t2.Cell(0)->NumOfCentreFrequencies(), 2);
                         EXPECT_EQ(t2.Cell(0)->CentreFrequency(0), 1u);
                         EXPECT_EQ(t2.Cell(0)->CentreFrequency(1), 2u);
                         EXPECT_EQ(t2.Cell(0)->CentreFrequencyHz(1), 20u);
                     }});
    return cases;
}

}  // namespace

const std::vector<DescriptorCase>& DescriptorCases() {
    static const std::vector<DescriptorCase> cases = AllCases();
    return cases;
}

}  // namespace contract

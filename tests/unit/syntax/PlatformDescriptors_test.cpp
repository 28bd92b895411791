// The declarations against the classes of the platform, which are written by hand: each descriptor
// that both know says the same.

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "generator/Scenarios.h"
#include "platform/TCDescApplicationSignalling.h"
#include "platform/TCDescBouquetName.h"
#include "platform/TCDescCA.h"
#include "platform/TCDescCableDeliverySystem.h"
#include "platform/TCDescCarouselIdentifier.h"
#include "platform/TCDescComponent.h"
#include "platform/TCDescContent.h"
#include "platform/TCDescDataBroadcastId.h"
#include "platform/TCDescExtendedEvent.h"
#include "platform/TCDescLinkage.h"
#include "platform/TCDescNetworkName.h"
#include "platform/TCDescParentalRating.h"
#include "platform/TCDescPrivateDataSpecifier.h"
#include "platform/TCDescSatelliteDeliverySystem.h"
#include "platform/TCDescService.h"
#include "platform/TCDescServiceList.h"
#include "platform/TCDescShortEvent.h"
#include "platform/TCDescStreamIdentifier.h"
#include "platform/TCDescT2SystemDelivery.h"
#include "platform/TCDescTerrestrialDeliverySystem.h"
#include "syntax/Decoder.h"
#include "syntax/Hex.h"
#include "syntax/Scalar.h"
#include "tests/unit/syntax/StreamSections.h"

namespace {

using namespace syntax;
using namespace syntaxtest;

// The descriptor that a tree is, read by one class of the platform. Each call holds one field.
class Comparison {
  public:
    Comparison(const Node& tree, ByteView bytes) : tree_(tree), bytes_(bytes) {}

    // The first difference; empty without one, and for tags that the platform has no class for.
    std::string Fault();

    bool compared() const { return compared_; }

  private:
    template <class T, class Compare>
    void With(T& descriptor, Compare compare) {
        compared_ = true;
        std::vector<unsigned char> copy(bytes_.begin(), bytes_.end());
        const int consumed = descriptor.Parse(copy.data());
        const bool whole = consumed == descriptor.Length();
        const bool known = FitsItsDeclaration();
        if (whole != known) {
            fault_ = whole ? "only the declaration leaves bytes over"
                           : "only the platform leaves bytes over";
        }
        if (known) {
            compare(descriptor);
        }
    }
    template <class T, class Compare>
    void As(Compare compare) {
        T descriptor;
        With(descriptor, compare);
    }

    bool FitsItsDeclaration() const;
    const Node* At(std::string_view path) const;
    void Expect(const std::string& path, const std::string& said, const std::string& wanted);
    void Number(const std::string& path, unsigned long long wanted);
    void Shown(const std::string& path, unsigned long long wanted);
    void Bytes(const std::string& path, const std::vector<unsigned char>& wanted);
    void Letters(const std::string& path, unsigned wanted);
    void Count(const std::string& path, int wanted);
    template <class Entry>
    void Selector(const std::string& path, Entry& entry);

    void Satellite();
    void Cable();
    void Terrestrial();
    void T2();
    void Linkage();
    void DataBroadcastId();
    void ExtendedEvent();

    const Node& tree_;
    ByteView bytes_;
    bool compared_ = false;
    std::string fault_;
};

// A body that does not fit its type is private bytes for the declarations, and does not fit for the
// platform.
bool Comparison::FitsItsDeclaration() const {
    if (tree_.Find("malformed") != nullptr || tree_.Find("trailing") != nullptr) {
        return false;
    }
    if (const Node* type = tree_.Find("linkage_type"); type != nullptr) {
        return type->number != 0x09 || tree_.Find("OUIs") != nullptr;
    }
    const Node* id = tree_.Find("data_broadcast_id");
    return id == nullptr || id->number != 0x000A || tree_.Find("OUIs") != nullptr;
}

std::string Entry(std::string_view list, int index, std::string_view field) {
    return std::string(list) + "[" + std::to_string(index) + "]." + std::string(field);
}

// "services[1].service_id"
const Node* Comparison::At(std::string_view path) const {
    const Node* node = &tree_;
    while (node != nullptr && !path.empty()) {
        const std::string_view name = path.substr(0, path.find_first_of("[."));
        path.remove_prefix(name.size());
        node = name.empty() ? node : node->Find(name);
        if (!path.empty() && path[0] == '[' && node != nullptr) {
            unsigned index = 0;
            std::from_chars(path.data() + 1, path.data() + path.size(), index);
            path.remove_prefix(path.find(']') + 1);
            for (node = node->first; node != nullptr && index > 0; --index) {
                node = node->next;
            }
        }
        if (!path.empty() && path[0] == '.') {
            path.remove_prefix(1);
        }
    }
    return node;
}

void Comparison::Expect(const std::string& path, const std::string& said,
                        const std::string& wanted) {
    if (said != wanted && fault_.empty()) {
        fault_ = path + " is " + said + ", of the platform " + wanted;
    }
}

void Comparison::Number(const std::string& path, unsigned long long wanted) {
    const Node* node = At(path);
    Expect(path, node == nullptr ? "missing" : std::to_string(node->number),
           std::to_string(wanted));
}

// The value in its unit. The platform says 0 where the digits are not decimal, or all bits are one.
void Comparison::Shown(const std::string& path, unsigned long long wanted) {
    const Node* node = At(path);
    if (node != nullptr) {
        Scalar scalar;
        ReadScalar(*node, {}, scalar);
        const bool unsaid = scalar.type == Scalar::Type::kString ||
                            (node->op->kind == OpKind::kScaled && node->number == 0xFFFFFFFF);
        Expect(path, unsaid ? "0" : std::to_string(scalar.number), std::to_string(wanted));
    }
}

void Comparison::Bytes(const std::string& path, const std::vector<unsigned char>& wanted) {
    const Node* node = At(path);
    std::string said;
    std::string wantedHex;
    AppendHex({wanted.data(), wanted.size()}, wantedHex);
    if (node != nullptr) {
        AppendHex(node->View(), said);
    }
    Expect(path, node == nullptr ? "missing" : said, wantedHex);
}

// A language or country code, which the platform has as a number of 24 bits.
void Comparison::Letters(const std::string& path, unsigned wanted) {
    Bytes(path, {static_cast<unsigned char>(wanted >> 16), static_cast<unsigned char>(wanted >> 8),
                 static_cast<unsigned char>(wanted)});
}

void Comparison::Count(const std::string& path, int wanted) {
    const Node* list = At(path);
    int count = 0;
    for (const Node* each = list == nullptr ? nullptr : list->first; each != nullptr;
         each = each->next) {
        ++count;
    }
    Expect(path, std::to_string(count) + " entries", std::to_string(wanted) + " entries");
}

template <class Entry>
void Comparison::Selector(const std::string& path, Entry& entry) {
    std::vector<unsigned char> bytes(entry.SelectorLength());
    int length = static_cast<int>(bytes.size());
    entry.SelectorByte(reinterpret_cast<char*>(bytes.data()), &length);
    Bytes(path, bytes);
}

void Comparison::Satellite() {
    TCDescSatelliteDeliverySystem descriptor(0x43);
    With(descriptor, [this](auto& d) {
        Number("frequency_hz", d.Frequency());
        Shown("frequency_hz", d.FrequencyHz());
        Number("orbital_position", d.OrbitalPosition());
        Number("west_east_flag", d.WestEastFlag());
        Number("polarization", d.Polarization());
        Number("roll_off", d.RollOff());
        Number("modulation_system", d.ModulationSystem());
        Number("modulation_type", d.ModulationType());
        Number("symbol_rate_sym_s", d.SymbolRate());
        Shown("symbol_rate_sym_s", d.SymbolsPerSecond());
        Number("FEC_inner", d.FECInner());
    });
}

void Comparison::Cable() {
    As<TCDescCableDeliverySystem>([this](auto& d) {
        Number("frequency_hz", d.Frequency());
        Shown("frequency_hz", d.FrequencyHz());
        Number("FEC_outer", d.FECOuter());
        Number("modulation", d.Modulation());
        Number("symbol_rate_sym_s", d.SymbolRate());
        Shown("symbol_rate_sym_s", d.SymbolsPerSecond());
        Number("FEC_inner", d.FECInner());
    });
}

void Comparison::Terrestrial() {
    As<TCDescTerrestrialDeliverySystem>([this](auto& d) {
        Number("centre_frequency_hz", d.CentreFrequency());
        Shown("centre_frequency_hz", d.CentreFrequencyHz());
        Number("bandwidth", d.Bandwidth());
        Number("priority", d.Priority());
        Number("Time_Slicing_indicator", d.TimeSlicingIndicator());
        Number("MPE-FEC_indicator", d.MPEFECIndicator());
        Number("constellation", d.Constellation());
        Number("hierarchy_information", d.HierarchyInformation());
        Number("code_rate-HP_stream", d.CodeRateHPStream());
        Number("code_rate-LP_stream", d.CodeRateLPStream());
        Number("guard_interval", d.GuardInterval());
        Number("transmission_mode", d.TransmissionMode());
        Number("other_frequency_flag", d.OtherFrequencyFlag());
    });
}

void Comparison::T2() {
    As<TCDescT2SystemDelivery>([this](auto& d) {
        Number("plp_id", d.PLPId());
        Number("T2_system_id", d.T2SystemId());
        if (!d.HasSystemPart()) {
            return Count("cells", 0);
        }
        Number("SISO/MISO", d.SISOMISO());
        Number("bandwidth", d.Bandwidth());
        Number("guard_interval", d.GuardInterval());
        Number("transmission_mode", d.TransmissionMode());
        Number("other_frequency_flag", d.OtherFrequencyFlag());
        Number("tfs_flag", d.TFSFlag());
        Count("cells", d.NumOfCells());
        for (int i = 0; i < d.NumOfCells(); ++i) {
            const TCT2Cell& cell = *d.Cell(static_cast<unsigned>(i));
            Number(Entry("cells", i, "cell_id"), cell.CellId());
            const std::string frequencies = Entry("cells", i, "centre_frequencies");
            for (int k = 0; k < cell.NumOfCentreFrequencies(); ++k) {
                const std::string path = d.TFSFlag() ? Entry(frequencies, k, "centre_frequency_hz")
                                                     : Entry("cells", i, "centre_frequency_hz");
                Number(path, cell.CentreFrequency(static_cast<unsigned>(k)));
                Shown(path, cell.CentreFrequencyHz(static_cast<unsigned>(k)));
            }
            const std::string subcells = Entry("cells", i, "subcells");
            Count(subcells, cell.NumOfSubCells());
            for (int k = 0; k < cell.NumOfSubCells(); ++k) {
                const auto index = static_cast<unsigned>(k);
                Number(Entry(subcells, k, "cell_id_extension"), cell.CellIdExtension(index));
                Number(Entry(subcells, k, "transposer_frequency_hz"),
                       cell.TransposerFrequency(index));
                Shown(Entry(subcells, k, "transposer_frequency_hz"),
                      cell.TransposerFrequencyHz(index));
            }
        }
    });
}

void Comparison::Linkage() {
    As<TCDescLinkage>([this](auto& d) {
        Number("transport_stream_id", d.TransportStreamId());
        Number("original_network_id", d.OriginalNetworkId());
        Number("service_id", d.ServiceId());
        Number("linkage_type", static_cast<unsigned>(d.LinkageType()));
        const bool lists = d.LinkageType() == TCDescLinkage::LINKAGE_TYPE_TS_CONTAINING_SSU;
        if (lists && (At("table_type") != nullptr || d.TableType() != 0)) {
            Number("table_type", static_cast<unsigned>(d.TableType()));
        }
        Count("OUIs", d.NumOfSSULinkLoop());
        for (int i = 0; i < d.NumOfSSULinkLoop(); ++i) {
            CSSULinkLoop& entry = *d.SSULinkLoop(static_cast<unsigned>(i));
            Number(Entry("OUIs", i, "OUI"), entry.OUI());
            Selector(Entry("OUIs", i, "selector_byte"), entry);
        }
    });
}

void Comparison::DataBroadcastId() {
    As<TCDescDataBroadcastId>([this](auto& d) {
        Number("data_broadcast_id", d.DataBroadcastId());
        Count("OUIs", d.NumOfSSUInfoLoop());
        for (int i = 0; i < d.NumOfSSUInfoLoop(); ++i) {
            CSSUInfoLoop& entry = *d.SSUInfoLoop(static_cast<unsigned>(i));
            Number(Entry("OUIs", i, "OUI"), entry.OUI());
            Number(Entry("OUIs", i, "update_type"), entry.UpdateType());
            Number(Entry("OUIs", i, "update_versioning_flag"), entry.UpdateVersioningFlag());
            Number(Entry("OUIs", i, "update_version"), entry.UpdateVersion());
            Selector(Entry("OUIs", i, "selector_byte"), entry);
        }
    });
}

void Comparison::ExtendedEvent() {
    As<TCDescExtendedEvent>([this](auto& d) {
        Number("descriptor_number", d.DescriptorNumber());
        Number("last_descriptor_number", d.LastDescriptorNumber());
        Letters("ISO_639_language_code", d.LanguageCode());
        Count("items", d.NumOfItems());
        for (int i = 0; i < d.NumOfItems(); ++i) {
            Bytes(Entry("items", i, "item_description"),
                  d.ItemDescription(static_cast<unsigned>(i)));
            Bytes(Entry("items", i, "item"), d.Item(static_cast<unsigned>(i)));
        }
        Bytes("text", d.Text());
    });
}

std::string Comparison::Fault() {
    switch (bytes_.U8(0)) {
        case 0x09:
            As<TCDescCA>([this](auto& d) {
                Number("CA_system_ID", d.CASystemId());
                Number("CA_PID", d.CAPID());
            });
            break;
        case 0x13:
            As<TCDescCarouselIdentifier>(
                [this](auto& d) { Number("carousel_id", d.CarouselId()); });
            break;
        case 0x40:
            As<TCDescNetworkName>([this](auto& d) { Bytes("network_name", d.Name()); });
            break;
        case 0x41:
            As<TCDescServiceList>([this](auto& d) {
                Count("services", d.NumOfServices());
                for (int i = 0; i < d.NumOfServices(); ++i) {
                    const auto index = static_cast<unsigned>(i);
                    Number(Entry("services", i, "service_id"), d.ServiceId(index));
                    Number(Entry("services", i, "service_type"), d.ServiceType(index));
                }
            });
            break;
        case 0x43:
            Satellite();
            break;
        case 0x44:
            Cable();
            break;
        case 0x47:
            As<TCDescBouquetName>([this](auto& d) { Bytes("bouquet_name", d.Name()); });
            break;
        case 0x48:
            As<TCDescService>([this](auto& d) {
                Number("service_type", d.ServiceType());
                Bytes("service_provider_name", d.ServiceProviderName());
                Bytes("service_name", d.ServiceName());
            });
            break;
        case 0x4A:
            Linkage();
            break;
        case 0x4D:
            As<TCDescShortEvent>([this](auto& d) {
                Letters("ISO_639_language_code", d.LanguageCode());
                Bytes("event_name", d.EventName());
                Bytes("text", d.Text());
            });
            break;
        case 0x4E:
            ExtendedEvent();
            break;
        case 0x50:
            As<TCDescComponent>([this](auto& d) {
                Number("stream_content_ext", d.StreamContentExt());
                Number("stream_content", d.StreamContent());
                Number("component_type", d.ComponentType());
                Number("component_tag", d.ComponentTag());
                Letters("ISO_639_language_code", d.LanguageCode());
                Bytes("text", d.Text());
            });
            break;
        case 0x52:
            As<TCDescStreamIdentifier>(
                [this](auto& d) { Number("component_tag", d.ComponentTag()); });
            break;
        case 0x54:
            As<TCDescContent>([this](auto& d) {
                Count("contents", d.NumOfContents());
                for (int i = 0; i < d.NumOfContents(); ++i) {
                    const unsigned nibbles = d.ContentNibbles(static_cast<unsigned>(i));
                    Number(Entry("contents", i, "content_nibble_level_1"), nibbles >> 4);
                    Number(Entry("contents", i, "content_nibble_level_2"), nibbles & 15);
                    Number(Entry("contents", i, "user_byte"), d.UserByte(static_cast<unsigned>(i)));
                }
            });
            break;
        case 0x55:
            As<TCDescParentalRating>([this](auto& d) {
                Count("ratings", d.NumOfRatings());
                for (int i = 0; i < d.NumOfRatings(); ++i) {
                    const auto index = static_cast<unsigned>(i);
                    Letters(Entry("ratings", i, "country_code"), d.CountryCode(index));
                    Number(Entry("ratings", i, "rating"), d.Rating(index));
                }
            });
            break;
        case 0x5A:
            Terrestrial();
            break;
        case 0x5F:
            As<TCDescPrivateDataSpecifier>(
                [this](auto& d) { Number("private_data_specifier", d.PrivateDataSpecifier()); });
            break;
        case 0x66:
            DataBroadcastId();
            break;
        case 0x6F:
            As<TCDescApplicationSignalling>([this](auto& d) {
                Count("applications", d.NumOfApplications());
                for (int i = 0; i < d.NumOfApplications(); ++i) {
                    const auto index = static_cast<unsigned>(i);
                    Number(Entry("applications", i, "application_type"), d.ApplicationType(index));
                    Number(Entry("applications", i, "AIT_version_number"),
                           d.AITVersionNumber(index));
                }
            });
            break;
        case 0x7F:
            if (bytes_.size() > 2 && bytes_.U8(2) == 0x04) {
                T2();
            }
            break;
        default:
            break;
    }
    return fault_;
}

// Compares each descriptor in the tree of a section; counts them by their tag.
void CompareAll(const Node& node, ByteView section, std::map<int, int>& compared,
                std::string& fault) {
    if (!node.IsContainer()) {
        return;
    }
    if (const Node* tag = node.Find("tag"); tag != nullptr && tag->bitCount == 8) {
        const ByteView bytes = section.Subview(node.bitOffset / 8, node.bitCount / 8);
        Comparison comparison(node, bytes);
        if (const std::string why = comparison.Fault(); !why.empty() && fault.empty()) {
            fault = why + " in ";
            AppendHex(bytes, fault);
        }
        compared[bytes.U8(0)] += comparison.compared() ? 1 : 0;
        return;
    }
    for (const Node* child = node.first; child != nullptr; child = child->next) {
        CompareAll(*child, section, compared, fault);
    }
}

// The tables that the platform has.
bool IsOfThePlatform(unsigned tableId) {
    return tableId <= 0x02 || tableId == 0x40 || tableId == 0x41 || tableId == 0x42 ||
           tableId == 0x46 || tableId == 0x4A || (tableId >= 0x4E && tableId <= 0x6F);
}

std::string Compare(const std::set<Section>& sections, std::map<int, int>& compared) {
    std::string fault;
    for (const Section& section : sections) {
        if (IsOfThePlatform(section[0])) {
            const ByteView view(section.data(), section.size());
            Decoder decoder({});
            Arena arena;
            CompareAll(*decoder.Section(view, arena), view, compared, fault);
        }
    }
    return fault;
}

TEST(PlatformDescriptors, OfEveryScenarioSayWhatTheDeclarationsSay) {
    std::map<int, int> compared;
    for (const generator::ScenarioInfo& scenario : generator::Scenarios()) {
        EXPECT_EQ("", Compare(SectionsOfStream(generator::MakeScenario(scenario.name)), compared))
            << scenario.name;
    }
    for (const int tag : {0x09, 0x13, 0x40, 0x41, 0x43, 0x44, 0x47, 0x48, 0x4A, 0x4D,
                          0x4E, 0x50, 0x52, 0x54, 0x55, 0x5A, 0x5F, 0x66, 0x6F, 0x7F}) {
        EXPECT_GT(compared[tag], 0) << std::hex << tag;
    }
}

TEST(PlatformDescriptors, OfTheCapturesSayWhatTheDeclarationsSay) {
    std::map<int, int> compared;
    const auto visit = [&compared](const std::string& name, const std::set<Section>& sections) {
        EXPECT_EQ("", Compare(sections, compared)) << name;
    };
    if (!ForEachCapture(TORVELSI_STREAMS, visit)) {
        GTEST_SKIP() << "no captures beside the checkout";
    }
    EXPECT_GT(compared[0x4D], 1000);
}

}  // namespace

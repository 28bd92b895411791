#include "tests/contract/platform/Dump.h"

#include <iomanip>

#include "tests/contract/platform/Descriptors.h"

namespace contract {

namespace {

using testsupport::Bytes;

constexpr unsigned kFarPastTheEnd = 0xFFFFFFFFu;

// Writes names and numbers of the fields of one class after the other.
class FieldDump {
  public:
    explicit FieldDump(TCBaseDesc& descriptor) : descriptor_(descriptor) {}

    std::string All() {
        Fields<TCDescApplicationSignalling>("ApplicationSignalling", [&](auto& d) {
            Number(d.NumOfApplications());
            ForEach(d.NumOfApplications(), [&](unsigned i) {
                Number(d.ApplicationType(i));
                Number(d.AITVersionNumber(i));
            });
        });
        Fields<TCDescBouquetName>("BouquetName", [&](auto& d) { Text(d.Name()); });
        Fields<TCDescCA>("CA", [&](auto& d) {
            Number(d.CASystemId());
            Number(d.CAPID());
        });
        Fields<TCDescCableDeliverySystem>("Cable", [&](auto& d) {
            Number(d.Frequency());
            Number(d.FrequencyHz());
            Number(d.FECOuter());
            Number(d.Modulation());
            Number(d.SymbolRate());
            Number(d.SymbolsPerSecond());
            Number(d.FECInner());
        });
        Fields<TCDescCarouselIdentifier>("Carousel", [&](auto& d) { Number(d.CarouselId()); });
        Fields<TCDescComponent>("Component", [&](auto& d) {
            Number(d.StreamContentExt());
            Number(d.StreamContent());
            Number(d.ComponentType());
            Number(d.ComponentTag());
            Number(d.LanguageCode());
            Text(d.Text());
        });
        Fields<TCDescContent>("Content", [&](auto& d) {
            Number(d.NumOfContents());
            ForEach(d.NumOfContents(), [&](unsigned i) {
                Number(d.ContentNibbles(i));
                Number(d.UserByte(i));
            });
        });
        Fields<TCDescDataBroadcastId>("DataBroadcastId", [&](auto& d) {
            Number(d.DataBroadcastId());
            Number(d.NumOfSSUInfoLoop());
            ForEach(d.NumOfSSUInfoLoop(), [&](unsigned i) {
                CSSUInfoLoop* const entry = d.SSUInfoLoop(i);
                if (IsThere(entry)) {
                    Number(entry->OUI());
                    Number(entry->UpdateType());
                    Number(entry->UpdateVersioningFlag());
                    Number(entry->UpdateVersion());
                    Selector(*entry);
                }
            });
        });
        Fields<TCDescExtendedEvent>("ExtendedEvent", [&](auto& d) {
            Number(d.DescriptorNumber());
            Number(d.LastDescriptorNumber());
            Number(d.LanguageCode());
            Number(d.NumOfItems());
            ForEach(d.NumOfItems(), [&](unsigned i) {
                Text(d.ItemDescription(i));
                Text(d.Item(i));
            });
            Text(d.Text());
        });
        Fields<TCDescLinkage>("Linkage", [&](auto& d) {
            Number(d.TransportStreamId());
            Number(d.OriginalNetworkId());
            Number(d.ServiceId());
            Number(d.LinkageType());
            Number(d.TableType());
            Number(d.NumOfSSULinkLoop());
            ForEach(d.NumOfSSULinkLoop(), [&](unsigned i) {
                CSSULinkLoop* const entry = d.SSULinkLoop(i);
                if (IsThere(entry)) {
                    Number(entry->OUI());
                    Selector(*entry);
                }
            });
        });
        Fields<TCDescNetworkName>("NetworkName", [&](auto& d) { Text(d.Name()); });
        Fields<TCDescParentalRating>("ParentalRating", [&](auto& d) {
            Number(d.NumOfRatings());
            ForEach(d.NumOfRatings(), [&](unsigned i) {
                Number(d.CountryCode(i));
                Number(d.Rating(i));
            });
        });
        Fields<TCDescPrivateDataSpecifier>("PrivateDataSpecifier",
                                           [&](auto& d) { Number(d.PrivateDataSpecifier()); });
        Fields<TCDescSatelliteDeliverySystem>("Satellite", [&](auto& d) {
            Number(d.Frequency());
            Number(d.FrequencyHz());
            Number(d.OrbitalPosition());
            Number(d.OrbitalPositionTenthDegrees());
            Number(d.WestEastFlag());
            Number(d.Polarization());
            Number(d.RollOff());
            Number(d.ModulationSystem());
            Number(d.ModulationType());
            Number(d.SymbolRate());
            Number(d.SymbolsPerSecond());
            Number(d.FECInner());
        });
        Fields<TCDescService>("Service", [&](auto& d) {
            Number(d.ServiceType());
            Text(d.ServiceProviderName());
            Text(d.ServiceName());
        });
        Fields<TCDescServiceList>("ServiceList", [&](auto& d) {
            Number(d.NumOfServices());
            ForEach(d.NumOfServices(), [&](unsigned i) {
                Number(d.ServiceId(i));
                Number(d.ServiceType(i));
            });
        });
        Fields<TCDescShortEvent>("ShortEvent", [&](auto& d) {
            Number(d.LanguageCode());
            Text(d.EventName());
            Text(d.Text());
        });
        Fields<TCDescStreamIdentifier>("StreamIdentifier",
                                       [&](auto& d) { Number(d.ComponentTag()); });
        Fields<TCDescTerrestrialDeliverySystem>("Terrestrial", [&](auto& d) {
            Number(d.CentreFrequency());
            Number(d.CentreFrequencyHz());
            Number(d.Bandwidth());
            Number(d.Priority());
            Number(d.TimeSlicingIndicator());
            Number(d.MPEFECIndicator());
            Number(d.Constellation());
            Number(d.HierarchyInformation());
            Number(d.CodeRateHPStream());
            Number(d.CodeRateLPStream());
            Number(d.GuardInterval());
            Number(d.TransmissionMode());
            Number(d.OtherFrequencyFlag());
        });
        Fields<TCDescExtension>("Extension", [&](auto& d) { Number(d.TagExtension()); });
        Fields<TCDescT2SystemDelivery>("T2", [&](auto& d) {
            Number(d.PLPId());
            Number(d.T2SystemId());
            Number(d.HasSystemPart());
            Number(d.SISOMISO());
            Number(d.Bandwidth());
            Number(d.GuardInterval());
            Number(d.TransmissionMode());
            Number(d.OtherFrequencyFlag());
            Number(d.TFSFlag());
            Number(d.NumOfCells());
            ForEach(d.NumOfCells(), [&](unsigned i) {
                const TCT2Cell* const cell = d.Cell(i);
                if (IsThere(cell)) {
                    Number(cell->CellId());
                    ForEach(cell->NumOfCentreFrequencies(), [&](unsigned k) {
                        Number(cell->CentreFrequency(k));
                        Number(cell->CentreFrequencyHz(k));
                    });
                    ForEach(cell->NumOfSubCells(), [&](unsigned k) {
                        Number(cell->CellIdExtension(k));
                        Number(cell->TransposerFrequency(k));
                        Number(cell->TransposerFrequencyHz(k));
                    });
                }
            });
        });
        return out_.str();
    }

  private:
    template <class T, class Write>
    void Fields(const char* name, Write write) {
        if (auto* const descriptor = dynamic_cast<T*>(&descriptor_)) {
            out_ << " " << name;
            write(*descriptor);
        }
    }

    template <class Value>
    void Number(Value number) {
        out_ << " " << +number;
    }

    void Text(const std::vector<unsigned char>& text) {
        out_ << " '" << std::hex;
        for (const unsigned char byte : text) {
            out_ << std::setw(2) << std::setfill('0') << +byte;
        }
        out_ << std::dec << "'";
    }

    // Visits all indexes, and two past the end.
    template <class Visit>
    void ForEach(int count, Visit visit) {
        out_ << " (";
        for (int i = 0; i < count; ++i) {
            visit(static_cast<unsigned>(i));
        }
        out_ << " |";
        visit(static_cast<unsigned>(count));
        visit(kFarPastTheEnd);
        out_ << " )";
    }

    bool IsThere(const void* entry) {
        out_ << (entry == nullptr ? " null" : " entry");
        return entry != nullptr;
    }

    template <class Entry>
    void Selector(Entry& entry) {
        Number(entry.SelectorLength());
        // A buffer of exactly the needed size, so that a write past its end is found.
        Bytes bytes(entry.SelectorLength());
        int length = static_cast<int>(bytes.size());
        Number(entry.SelectorByte(reinterpret_cast<char*>(bytes.data()), &length) != 0);
        Number(length);
        Text(bytes);
    }

    TCBaseDesc& descriptor_;
    std::ostringstream out_;
};

}  // namespace

Bytes BytesOf(TCBaseDesc& descriptor) {
    Bytes bytes(static_cast<size_t>(descriptor.Length()));
    int length = static_cast<int>(bytes.size());
    const int count = descriptor.GetDescriptor(bytes.data(), &length);
    bytes.resize(count == length ? static_cast<size_t>(count) : 0);
    return bytes;
}

std::string Dump(TCBaseDesc* descriptor) {
    if (descriptor == nullptr) {
        return "null";
    }
    std::ostringstream out;
    out << std::hex << descriptor->Tag() << std::dec << " " << descriptor->Length() << " "
        << std::hex;
    for (const unsigned char byte : BytesOf(*descriptor)) {
        out << std::setw(2) << std::setfill('0') << +byte;
    }
    return out.str() + FieldDump(*descriptor).All();
}

std::string DumpByTag(IDescriptorContainer& container) {
    std::ostringstream out;
    for (int tag = 0; tag <= 0x7FFF; tag = tag == 0xFF ? 0x7F00 : tag + 1) {
        const int count = container.NumOfDescriptors(tag);
        for (int i = 0; i < count; ++i) {
            out << tag << "[" << i << "] "
                << Dump(container.Descriptor(tag, static_cast<unsigned>(i))) << "; ";
        }
        if (container.Descriptor(tag, static_cast<unsigned>(count)) != nullptr ||
            container.Descriptor(tag, kFarPastTheEnd) != nullptr) {
            out << tag << " more than counted; ";
        }
    }
    return out.str();
}

}  // namespace contract

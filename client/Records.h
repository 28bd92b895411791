#pragma once

#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/Multiplex.h"
#include "client/SectionSet.h"
#include "platform/TCSectionParser.h"

class TCBaseDesc;

namespace client {

/// Asks the SI layer for software updates of any OUI (`INITInstance`, `IBATInstance`,
/// `IPMTParser`).
constexpr unsigned int kAny = 0xFFFFFFFF;

/// The whole descriptor, tag and length bytes first.
Bytes BytesOf(TCBaseDesc& desc);

/// A text as coded (ETSI EN 300 468 annex A), in UTF-8.
std::string Utf8(const Bytes& text);

/// An ISO 639 code of three characters, the first in the high byte of 24 bits. A character that is
/// not printable ASCII becomes a question mark.
std::string LanguageOf(unsigned int code);

/// Gives sections, in the order of their numbers, to a parser of the SI layer and to a parser of
/// the platform, which may be null.
/// @return false when one of the parsers refuses a section; the rest is then not parsed
template <class Parser>
bool ParseAll(unsigned short pid, Sections& sections, Parser& parser,
              TCSectionParser* platformParser = nullptr) {
    for (auto& section : sections) {
        unsigned char* const data = section.second.data();
        if (!parser.Parse(pid, data) ||
            (platformParser != nullptr && !platformParser->Parse(static_cast<short>(pid), data))) {
            return false;
        }
    }
    return true;
}

/// Decodes a loop that the SI layer does not save, with the result that it would give: private data
/// specifiers are left out, and each descriptor has the latest specifier before it.
DescriptorList SavedDescriptors(unsigned char* loop, int length, unsigned char tableId);

/// Appends a descriptor of a loop to a list, with the private data specifier `specifier`. A private
/// data specifier descriptor is appended too, and becomes the new `specifier`.
void AddBroadcast(TCBaseDesc& desc, std::optional<unsigned int>& specifier, DescriptorList& list);

/// A list of the SI layer's saved descriptors.
template <class Saved>
DescriptorList ToDescriptors(const std::vector<Saved>& saved) {
    DescriptorList descriptors;
    for (const Saved& record : saved) {
        Descriptor descriptor{record.m_tag, {}, {}, record.m_data.data(), record.m_data.size()};
        if (record.m_hasPrivateDataSpecifier) {
            descriptor.privateDataSpecifier = record.m_privateDataSpecifier;
        }
        if (record.m_hasExtendedTag) {
            descriptor.recordedExtension = record.m_extendedTag;
        }
        descriptors.Add(descriptor);
    }
    return descriptors;
}

/// Decodes the first descriptor with that tag into an object of the platform's class `Desc`; null
/// when there is none or it is malformed.
template <class Desc>
std::unique_ptr<Desc> FirstOf(const DescriptorList& descriptors, unsigned char tag) {
    for (const Descriptor& descriptor : descriptors) {
        if (descriptor.tag == tag) {
            auto desc = std::make_unique<Desc>();
            Bytes bytes(descriptor.data, descriptor.data + descriptor.size);
            return !bytes.empty() && desc->Parse(bytes.data()) != 0 ? std::move(desc) : nullptr;
        }
    }
    return nullptr;
}

/// Collects values in the order in which they are added, and drops values that it has already.
template <class Value>
class Distinct {
  public:
    void Add(Value value) {
        if (seen_.insert(value).second) {
            values_.push_back(std::move(value));
        }
    }
    std::vector<Value> Release() { return std::move(values_); }

  private:
    std::set<Value> seen_;
    std::vector<Value> values_;
};

/// The entries of a record of software updates, ascending by OUI.
template <class Record>
std::vector<SsuOffer> OffersOf(Record& record) {
    std::vector<SsuOffer> offers;
    std::list<unsigned int> ouis;
    record.GetOUIs(ouis);
    ouis.unique();  // equal OUIs are neighbours, and one query returns the selectors of all of them
    for (const unsigned int oui : ouis) {
        std::vector<std::shared_ptr<std::vector<unsigned char>>> selectors;
        record.GetSelectorBytes(oui, selectors);
        for (const auto& selector : selectors) {
            offers.push_back({oui, selector ? std::optional<Bytes>(*selector) : std::nullopt});
        }
    }
    return offers;
}

}  // namespace client

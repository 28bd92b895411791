#pragma once

#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "client/Multiplex.h"

class TCBaseDesc;

namespace client {

/// The whole descriptor, tag and length bytes first.
Bytes BytesOf(TCBaseDesc& desc);

/// A text as coded (ETSI EN 300 468 annex A), in UTF-8.
std::string Utf8(const Bytes& text);

/// An ISO 639 code of three characters, the first in the high byte of 24 bits. A character that is
/// not printable ASCII becomes a question mark.
std::string LanguageOf(unsigned int code);

/// The descriptors of a loop that the SI layer does not save, as it would save them: without the
/// private data specifiers, each with the latest one before it.
std::vector<Descriptor> SavedDescriptors(unsigned char* loop, int length, unsigned char tableId);

/// A saved descriptor of the SI layer.
template <class Saved>
Descriptor ToDescriptor(const Saved& saved) {
    Descriptor descriptor{saved.m_tag, {}, {}, saved.m_data};
    if (saved.m_hasPrivateDataSpecifier) {
        descriptor.privateDataSpecifier = saved.m_privateDataSpecifier;
    }
    if (saved.m_hasExtendedTag) {
        descriptor.extensionTag = saved.m_extendedTag;
    }
    return descriptor;
}

/// The platform's object of a class over the first descriptor of that tag; null when there is none
/// or it is malformed.
template <class Desc>
std::unique_ptr<Desc> FirstOf(const std::vector<Descriptor>& descriptors, unsigned char tag) {
    for (const Descriptor& descriptor : descriptors) {
        if (descriptor.tag == tag) {
            auto desc = std::make_unique<Desc>();
            Bytes bytes = descriptor.data;
            return !bytes.empty() && desc->Parse(bytes.data()) != 0 ? std::move(desc) : nullptr;
        }
    }
    return nullptr;
}

/// Values in the order in which they came, each once.
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

/// The entries of an SSU record, ascending by OUI.
template <class Record>
std::vector<SsuOffer> OffersOf(Record& record) {
    std::vector<SsuOffer> offers;
    std::list<unsigned int> ouis;
    record.GetOUIs(ouis);
    ouis.unique();  // they ascend; the selector bytes of equal ones come together
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

#include "platform/TCDescExtendedEvent.h"

#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::PayloadOf;
using tvservice::TextAt;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.15
struct TCDescExtendedEvent::Impl {};

namespace {

constexpr size_t kItemsAt = 5;  // after length_of_items

ByteView ItemsOf(ByteView payload) {
    return payload.Subview(kItemsAt, payload.U8(kItemsAt - 1));
}

struct ItemView {
    ByteView description;
    ByteView item;
};

// Walks through the items of an extended event, up to one that reaches past length_of_items.
class ItemReader {
  public:
    explicit ItemReader(ByteView items) : items_(items), reader_(items, 0) {}

    bool Next() {
        const auto at = static_cast<size_t>(reader_.at());
        if (at >= items_.size() || !reader_.Skip()) {
            return false;
        }
        item_.description = TextAt(items_, at);
        const auto itemAt = static_cast<size_t>(reader_.at());
        if (!reader_.Skip()) {
            return false;
        }
        item_.item = TextAt(items_, itemAt);
        return true;
    }

    // The current item. Only after Next() returned true.
    const ItemView& item() const { return item_; }

    // Where the reader stopped: after the last text that fits.
    int at() const { return reader_.at(); }

  private:
    ByteView items_;
    TextReader reader_;
    ItemView item_;
};

// The item at `index`; empty past the end.
ItemView ItemAt(const TCDescExtendedEvent& desc, size_t index) {
    ItemReader reader(ItemsOf(PayloadOf(desc)));
    while (reader.Next()) {
        if (index-- == 0) {
            return reader.item();
        }
    }
    return {};
}

std::vector<unsigned char> Copy(ByteView bytes) {
    return {bytes.begin(), bytes.end()};
}

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescExtendedEvent& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.Text();
    }
}

}  // namespace

TCDescExtendedEvent::TCDescExtendedEvent() = default;

TCDescExtendedEvent::TCDescExtendedEvent(const TCDescExtendedEvent& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescExtendedEvent::~TCDescExtendedEvent() = default;

TCBaseDesc* TCDescExtendedEvent::Fork() const {
    return new TCDescExtendedEvent(*this);
}

int TCDescExtendedEvent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    const ByteView items = ItemsOf(bytes);
    TextReader text(bytes, kItemsAt + bytes.U8(kItemsAt - 1));
    if (!bytes.Has(kItemsAt, bytes.U8(kItemsAt - 1)) || !text.Skip()) {
        return -1;
    }
    MakeTexts(*this);
    ItemReader reader(items);
    while (reader.Next()) {
    }
    const bool isWhole = reader.at() == static_cast<int>(items.size());
    return isWhole ? text.at() : static_cast<int>(kItemsAt) + reader.at();
}

unsigned char TCDescExtendedEvent::DescriptorNumber() const {
    return PayloadOf(*this).U8(0) >> 4;
}

unsigned char TCDescExtendedEvent::LastDescriptorNumber() const {
    return PayloadOf(*this).U8(0) & 0x0F;
}

unsigned int TCDescExtendedEvent::LanguageCode() const {
    return PayloadOf(*this).U24(1);
}

int TCDescExtendedEvent::NumOfItems() const {
    ItemReader reader(ItemsOf(PayloadOf(*this)));
    int count = 0;
    while (reader.Next()) {
        ++count;
    }
    return count;
}

std::vector<unsigned char> TCDescExtendedEvent::ItemDescription(unsigned int index) const {
    return Copy(ItemAt(*this, index).description);
}

std::vector<unsigned char> TCDescExtendedEvent::Item(unsigned int index) const {
    return Copy(ItemAt(*this, index).item);
}

const std::vector<unsigned char>& TCDescExtendedEvent::Text() const {
    const ByteView payload = PayloadOf(*this);
    return tvservice::TextOf(*this, 0, TextAt(payload, kItemsAt + payload.U8(kItemsAt - 1)));
}

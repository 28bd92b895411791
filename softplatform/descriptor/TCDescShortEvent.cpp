#include "platform/TCDescShortEvent.h"

#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::PayloadOf;
using tvservice::TextAt;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.37
struct TCDescShortEvent::Impl {};

namespace {

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescShortEvent& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.EventName();
        desc.Text();
    }
}

}  // namespace

TCDescShortEvent::TCDescShortEvent() = default;

TCDescShortEvent::TCDescShortEvent(const TCDescShortEvent& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescShortEvent::~TCDescShortEvent() = default;

TCBaseDesc* TCDescShortEvent::Fork() const {
    return new TCDescShortEvent(*this);
}

int TCDescShortEvent::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    TextReader reader(bytes, 3);
    if (!reader.Skip() || !reader.Skip()) {
        return -1;
    }
    MakeTexts(*this);
    return reader.at();
}

unsigned int TCDescShortEvent::LanguageCode() const {
    return PayloadOf(*this).U24(0);
}

const std::vector<unsigned char>& TCDescShortEvent::EventName() const {
    return tvservice::TextOf(*this, 0, TextAt(PayloadOf(*this), 3));
}

const std::vector<unsigned char>& TCDescShortEvent::Text() const {
    const ByteView payload = PayloadOf(*this);
    return tvservice::TextOf(*this, 1, TextAt(payload, 3 + 1 + payload.U8(3)));
}

#include "platform/TCDescService.h"

#include <vector>

#include "softplatform/base/ByteView.h"
#include "softplatform/descriptor/BaseDesc.h"
#include "softplatform/descriptor/TextReader.h"

using tvservice::ByteView;
using tvservice::PayloadOf;
using tvservice::TextAt;
using tvservice::TextReader;

// ETSI EN 300 468 6.2.33
struct TCDescService::Impl {};

namespace {

// Several threads may read a descriptor that owns its bytes: its texts are made now, not when they
// are first asked for.
void MakeTexts(const TCDescService& desc) {
    if (tvservice::OwnsItsBytes(desc)) {
        desc.ServiceProviderName();
        desc.ServiceName();
    }
}

}  // namespace

TCDescService::TCDescService() = default;

TCDescService::TCDescService(const TCDescService& other) : TCBaseDesc(other) {
    MakeTexts(*this);
}

TCDescService::~TCDescService() = default;

TCBaseDesc* TCDescService::Fork() const {
    return new TCDescService(*this);
}

int TCDescService::Decode(const unsigned char* payload, int length) {
    const ByteView bytes(payload, static_cast<size_t>(length));
    TextReader reader(bytes, 1);
    if (!reader.Skip() || !reader.Skip()) {
        return -1;
    }
    MakeTexts(*this);
    return reader.at();
}

unsigned char TCDescService::ServiceType() const {
    return PayloadOf(*this).U8(0);
}

const std::vector<unsigned char>& TCDescService::ServiceProviderName() const {
    return tvservice::TextOf(*this, 0, TextAt(PayloadOf(*this), 1));
}

const std::vector<unsigned char>& TCDescService::ServiceName() const {
    const ByteView payload = PayloadOf(*this);
    return tvservice::TextOf(*this, 1, TextAt(payload, 1 + 1 + payload.U8(1)));
}

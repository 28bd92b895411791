#include "syntax/Decoder.h"

#include <algorithm>
#include <string>

#include "softplatform/base/Crc32.h"
#include "syntax/Encoder.h"
#include "syntax/Scalar.h"

namespace syntax {

namespace {

constexpr std::uint8_t kProgramMap = 0x02;
constexpr unsigned kRegistrationDescriptor = 0x05;
constexpr unsigned kPrivateDataSpecifierDescriptor = 0x5F;
constexpr std::size_t kCrcBits = 32;

bool IsNumber(OpKind kind) {
    return kind <= OpKind::kLabel;
}

}  // namespace

void Decoder::Begin(ByteView bytes, Arena& arena) {
    arena_ = &arena;
    reader_ = BitReader(bytes);
    failed_ = {};
    programFormat_ = 0;
    program_ = false;
    depth_ = 0;
    badCrc_ = false;
}

Node* Decoder::NewNode(const Op& op, NodeType type, std::size_t begin, std::size_t bits) {
    Node* node = arena_->Make<Node>();
    node->name = op.name;
    node->op = &op;
    node->type = type;
    node->bitOffset = static_cast<std::uint32_t>(begin);
    node->bitCount = static_cast<std::uint32_t>(bits);
    return node;
}

Node* Decoder::Section(ByteView section, Arena& arena) {
    Begin(section, arena);
    Node* object = MakeObject(arena);
    object->bitCount = static_cast<std::uint32_t>(section.size() * 8);
    if (section.empty()) {
        object->Append(MakeString(arena, "malformed", "table_id"));
        object->Append(MakeBytes(arena, "raw", section));
        return object;
    }
    const auto tableId = static_cast<std::uint8_t>(reader_.Take(8));
    const Known& known = FindTable(tableId);
    program_ = tableId == kProgramMap;
    Node* id = MakeNumber(arena, "table_id", tableId);
    id->bitCount = 8;
    object->Append(id);
    object->Append(MakeString(arena, "name", known.head.name));
    Frame frame{known.steps, {}};
    if (!Run(frame, 0, known.steps.size(), object)) {
        object->Append(MakeString(arena, "malformed", failed_));
        object->Append(MakeBytes(arena, "raw", section));
        return object;
    }
    if (reader_.left() >= 8) {
        object->Append(MakeBytes(arena, "trailing", reader_.TakeBytes(reader_.left() / 8)));
    }
    if (badCrc_) {
        object->Append(MakeString(arena, "malformed", "CRC_32"));
        object->Append(MakeBytes(arena, "raw", section));
        return object;
    }
    again_.clear();
    if (!EncodeForComparison(known, *object, section, options_, again_) ||
        !std::equal(again_.begin(), again_.end(), section.begin(), section.end())) {
        object->Append(MakeBytes(arena, "raw", section));
    }
    return object;
}

Node* Decoder::Descriptor(ByteView descriptor, Arena& arena, Space space) {
    Begin(descriptor, arena);
    Node* list = MakeArray(arena, {});
    DescriptorsToEnd(space, list);
    if (list->first != nullptr && list->first->next == nullptr) {
        return list->first;
    }
    // The bytes are not exactly one descriptor.
    Node* object = MakeObject(arena);
    object->Append(MakeString(arena, "malformed", "descriptor_length"));
    object->Append(MakeBytes(arena, "raw", descriptor));
    return object;
}

bool Decoder::Fail(const Op& op) {
    // Reserved bits and lengths have no names, so the error names the next field that has one.
    const Op* named = &op;
    while (named->name.empty() && named != stepsEnd_ - 1) {
        ++named;
    }
    failed_ = op.kind == OpKind::kSectionLength ? "section_length" : named->name;
    return false;
}

bool Decoder::Run(Frame& frame, std::size_t first, std::size_t last, Node* object) {
    for (std::size_t at = first; at < last; at += 1 + frame.steps[at].body) {
        const Op& op = frame.steps[at];
        const std::size_t body = at + 1;
        bool fits = true;
        stepsEnd_ = frame.steps.data() + frame.steps.size();
        switch (op.kind) {
            case OpKind::kLoop:
                fits = Entries(op, frame, body, object);
                break;
            case OpKind::kObject:
                fits = OneObject(op, frame, body, object);
                break;
            case OpKind::kDescriptors:
                fits = DescriptorLoop(op, object);
                break;
            case OpKind::kSectionLength:
                fits = SectionEndAt(op);
                break;
            case OpKind::kWindow:
                fits = Inside(op, frame, body, object);
                break;
            case OpKind::kIf:
                if (IsIn(op, frame.slots[op.ref])) {
                    fits = Run(frame, body, body + op.body, object);
                }
                break;
            case OpKind::kTry:
                fits = AtTry(op, frame, body, object);
                break;
            case OpKind::kOptional:
                if (reader_.left() > 0) {
                    fits = Run(frame, body, body + op.body, object);
                }
                break;
            default:
                fits = Field(op, frame, object);
                break;
        }
        if (!fits) {
            return false;
        }
    }
    return true;
}

bool Decoder::Field(const Op& op, Frame& frame, Node* object) {
    if (IsCodedAsBytes(op.kind)) {
        return Sized(op, frame, object);
    }
    if (reader_.left() < op.bits) {
        return Fail(op);
    }
    const std::size_t begin = reader_.position();
    if (op.kind == OpKind::kReserved) {
        reader_.SetPosition(begin + op.bits);
        return true;
    }
    const std::uint64_t value = reader_.Take(op.bits);
    if (op.slot >= 0) {
        frame.slots[op.slot] = value + op.plus;
    }
    if (IsNumber(op.kind)) {
        Node* node = NewNode(op, NodeType::kNumber, begin, op.bits);
        node->number = value;
        object->Append(node);
    }
    return true;
}

// Sets `bytes` to the extent of `op`. Reads the length or count in front of it, when there is one.
bool Decoder::TakeExtent(const Op& op, const Frame& frame, std::size_t& bytes) {
    switch (op.extent) {
        case Extent::kRest:
            bytes = reader_.left() / 8;
            break;
        case Extent::kBits:
            bytes = op.extentBits / 8;
            break;
        case Extent::kLength:
        case Extent::kCount:
            if (reader_.left() < op.extentBits) {
                return Fail(op);
            }
            bytes = reader_.Take(op.extentBits);
            break;
        case Extent::kByField:
            bytes = frame.slots[op.ref];
            break;
    }
    return true;
}

// Reads a field of whole bytes: characters, an address, a text or bytes.
bool Decoder::Sized(const Op& op, Frame& frame, Node* object) {
    std::size_t size = op.bits / 8;
    if (op.bits == 0 && !TakeExtent(op, frame, size)) {
        return false;
    }
    if (!reader_.aligned() || reader_.left() / 8 < size) {
        return Fail(op);
    }
    if (size == 0 && op.kind == OpKind::kBytes && op.extent == Extent::kRest) {
        return true;  // no byte is left: no field is added
    }
    Node* node = NewNode(op, NodeType::kBytes, reader_.position(), size * 8);
    const ByteView bytes = reader_.TakeBytes(size);
    node->bytes = bytes.data();
    node->size = bytes.size();
    object->Append(node);
    return true;
}

bool Decoder::Entries(const Op& op, Frame& frame, std::size_t body, Node* object) {
    const std::size_t begin = reader_.position();
    Node* list = NewNode(op, NodeType::kArray, begin, 0);
    list->first = nullptr;
    list->last = nullptr;
    object->Append(list);
    std::size_t extent = 0;
    if (!TakeExtent(op, frame, extent)) {
        return false;
    }
    const std::size_t outerEnd = reader_.end();
    const Op* counted =
        op.extent == Extent::kCount || op.extent == Extent::kByField ? &op : nullptr;
    std::size_t entries = SIZE_MAX;
    if (counted != nullptr) {
        entries = extent + (op.extent == Extent::kCount ? op.plus : 0u);
    } else if (op.extent == Extent::kLength) {
        if (reader_.left() / 8 < extent) {
            return Fail(op);
        }
        reader_.SetEnd(reader_.position() + extent * 8);
    }
    ++depth_;
    bool fits = true;
    for (std::size_t i = 0; fits && i < entries && (counted != nullptr || reader_.left() > 0);
         ++i) {
        const std::size_t before = reader_.position();
        Node* entry = NewNode(op, NodeType::kObject, before, 0);
        entry->name = {};
        entry->first = nullptr;
        entry->last = nullptr;
        list->Append(entry);
        fits = Run(frame, body, body + op.body, entry);
        entry->bitCount = static_cast<std::uint32_t>(reader_.position() - before);
        // An entry without bits would repeat forever, so it is an error.
        stepsEnd_ = frame.steps.data() + frame.steps.size();
        fits = fits && (entry->bitCount != 0 || Fail(op));
    }
    --depth_;
    list->bitCount = static_cast<std::uint32_t>(reader_.position() - begin);
    reader_.SetEnd(outerEnd);
    return fits;
}

bool Decoder::OneObject(const Op& op, Frame& frame, std::size_t body, Node* object) {
    const std::size_t begin = reader_.position();
    Node* inner = NewNode(op, NodeType::kObject, begin, 0);
    inner->first = nullptr;
    inner->last = nullptr;
    object->Append(inner);
    ++depth_;
    const bool fits = op.extent == Extent::kLength ? Inside(op, frame, body, inner)
                                                   : Run(frame, body, body + op.body, inner);
    --depth_;
    inner->bitCount = static_cast<std::uint32_t>(reader_.position() - begin);
    return fits;
}

// Reads fields that have a common length in front of them.
bool Decoder::Inside(const Op& op, Frame& frame, std::size_t body, Node* object) {
    std::size_t size = 0;
    if (!TakeExtent(op, frame, size)) {
        return false;
    }
    if (reader_.left() / 8 < size) {
        // Old splice sections have a length of 0xFFF, which means that it is unknown.
        return op.extent == Extent::kByField ? Run(frame, body, body + op.body, object) : Fail(op);
    }
    const std::size_t outerEnd = reader_.end();
    reader_.SetEnd(reader_.position() + size * 8);
    bool fits = Run(frame, body, body + op.body, object);
    stepsEnd_ = frame.steps.data() + frame.steps.size();
    if (fits && reader_.left() != 0) {
        if (op.kind == OpKind::kObject && reader_.aligned()) {
            object->Append(MakeBytes(*arena_, "trailing", reader_.TakeBytes(reader_.left() / 8)));
        } else {
            fits = Fail(op);
        }
    }
    reader_.SetEnd(outerEnd);
    return fits;
}

bool Decoder::AtTry(const Op& op, Frame& frame, std::size_t body, Node* object) {
    const std::size_t begin = reader_.position();
    const std::size_t end = reader_.end();
    const unsigned depth = depth_;
    Node* const last = object->first == nullptr ? nullptr : object->last;
    if (Run(frame, body, body + op.body, object) && (op.plus == 0 || reader_.left() == 0)) {
        return true;
    }
    if (last == nullptr) {
        object->first = nullptr;
    } else {
        last->next = nullptr;
    }
    object->last = last;
    reader_.SetEnd(end);
    reader_.SetPosition(begin);
    depth_ = depth;
    return true;
}

bool Decoder::SectionEndAt(const Op& op) {
    if (reader_.left() < op.bits) {
        return Fail(op);
    }
    const std::size_t length = reader_.Take(op.bits);
    if (length * 8 != reader_.left()) {
        return Fail(op);
    }
    const auto end = static_cast<SectionEnd>(op.low);
    // The first bit after table_id is section_syntax_indicator.
    const bool crc = end == SectionEnd::kCrc || (end == SectionEnd::kCrcIfSyntaxIndicator &&
                                                 (reader_.bytes().U8(1) & 0x80) != 0);
    if (crc) {
        if (reader_.left() < kCrcBits) {
            return Fail(op);
        }
        reader_.SetEnd(reader_.end() - kCrcBits);
        badCrc_ = tvservice::Crc32(reader_.bytes().data(), reader_.bytes().size()) != 0;
    }
    return true;
}

bool Decoder::DescriptorLoop(const Op& op, Node* object) {
    const std::size_t begin = reader_.position();
    Node* list = NewNode(op, NodeType::kArray, begin, 0);
    list->first = nullptr;
    list->last = nullptr;
    object->Append(list);
    std::size_t size = 0;
    if (!TakeExtent(op, Frame{}, size)) {
        return false;
    }
    if (!reader_.aligned() || reader_.left() / 8 < size) {
        return Fail(op);
    }
    const std::size_t outerEnd = reader_.end();
    reader_.SetEnd(reader_.position() + size * 8);
    DescriptorsToEnd(op.space, list);
    list->bitCount = static_cast<std::uint32_t>(reader_.position() - begin);
    reader_.SetEnd(outerEnd);
    return true;
}

void Decoder::DescriptorsToEnd(Space space, Node* list) {
    LoopState state{options_.specifier, programFormat_};
    while (reader_.left() >= 8) {
        const ByteView rest = reader_.bytes().Subview(reader_.position() / 8, reader_.left() / 8);
        if (rest.size() < 2 || rest.size() - 2 < rest.U8(1)) {
            Node* object = MakeObject(*arena_);
            object->bitOffset = static_cast<std::uint32_t>(reader_.position());
            object->bitCount = static_cast<std::uint32_t>(rest.size() * 8);
            object->Append(MakeString(*arena_, "malformed", "descriptor_length"));
            object->Append(MakeBytes(*arena_, "raw", rest));
            list->Append(object);
            reader_.SetPosition(reader_.end());
            return;
        }
        list->Append(OneDescriptor(space, state));
    }
    if (program_ && depth_ == 0) {
        programFormat_ = state.format;
    }
}

Node* Decoder::OneDescriptor(Space space, LoopState& state) {
    const std::size_t begin = reader_.position();
    auto tag = static_cast<unsigned>(reader_.Take(8));
    const auto length = static_cast<std::size_t>(reader_.Take(8));
    const ByteView whole = reader_.bytes().Subview(begin / 8, length + 2);

    Node* object = MakeObject(*arena_);
    object->bitOffset = static_cast<std::uint32_t>(begin);
    object->bitCount = static_cast<std::uint32_t>(whole.size() * 8);
    Node* tagNode = MakeNumber(*arena_, "tag", tag);
    tagNode->bitOffset = object->bitOffset;
    tagNode->bitCount = 8;
    object->Append(tagNode);

    // EN 300 468 6.2.31: a private_data_specifier is in force up to the next one or the loop's end.
    if (space != Space::kSplice) {
        if (tag == kPrivateDataSpecifierDescriptor && length == 4) {
            state.specifier = whole.U32(2);
        } else if (tag == kRegistrationDescriptor && length >= 4 && space == Space::kMain) {
            state.format = whole.U32(2);
        }
    }

    const std::size_t end = begin + whole.size() * 8;
    const std::size_t outerEnd = reader_.end();
    Space lookedUp = space;
    std::size_t bodyBegin = begin / 8 + 2;
    const Known* known = nullptr;
    Node* extension = nullptr;
    const InForce inForce{options_.standard, state.specifier, state.format};
    if (Space inner = space; ExtensionSpace(space, tag, inner) && length >= 1) {
        lookedUp = inner;
        extension = MakeNumber(*arena_, "extension_tag", whole.U8(2));
        extension->bitOffset = static_cast<std::uint32_t>(begin + 16);
        extension->bitCount = 8;
        ++bodyBegin;
        known = FindDescriptor(lookedUp, whole.U8(2), inForce);
    } else {
        known = FindDescriptor(lookedUp, tag, inForce);
    }
    if (known != nullptr) {
        object->Append(MakeString(*arena_, "name", known->head.name));
    }
    if (extension != nullptr) {
        object->Append(extension);
    }
    const bool isPrivate = space == Space::kMain && tag >= kFirstPrivateTag;
    if (isPrivate && state.specifier != 0) {
        object->Append(MakeNumber(*arena_, "private_data_specifier", state.specifier));
    }
    if (known == nullptr) {
        object->Append(MakeBytes(*arena_, "data", whole));
        if (isPrivate && state.specifier == 0) {
            Hint(object, tag);
        }
        reader_.SetPosition(end);
        return object;
    }

    reader_.SetPosition(bodyBegin * 8);
    reader_.SetEnd(end);
    Frame frame{known->steps, {}};
    const unsigned depth = depth_++;  // its fields are not fields of the section
    const bool fits = Run(frame, 0, known->steps.size(), object);
    depth_ = depth;
    if (!fits) {
        object->Append(MakeString(*arena_, "malformed", failed_));
        object->Append(MakeBytes(*arena_, "raw", whole));
    } else {
        if (reader_.left() >= 8) {
            object->Append(MakeBytes(*arena_, "trailing", reader_.TakeBytes(reader_.left() / 8)));
        }
        Verify(*known, object, whole, bodyBegin);
    }
    reader_.SetEnd(outerEnd);
    reader_.SetPosition(end);
    return object;
}

// Adds the bytes of the descriptor ("raw") when encoding its fields would give other bytes.
void Decoder::Verify(const Known& known, Node* object, ByteView whole, std::size_t begin) {
    const std::size_t at = again_.size();
    const ByteView body =
        reader_.bytes().Subview(begin, whole.size() - (begin - object->bitOffset / 8));
    const bool same = EncodeForComparison(known, *object, reader_.bytes(), options_, again_) &&
                      std::equal(again_.begin() + static_cast<std::ptrdiff_t>(at), again_.end(),
                                 body.begin(), body.end());
    again_.resize(at);
    if (!same) {
        object->Append(MakeBytes(*arena_, "raw", whole));
    }
}

void Decoder::Hint(Node* object, unsigned tag) {
    std::string hint;
    for (const Known* known : Explanations(tag)) {
        hint += hint.empty() ? "" : "; ";
        hint += known->head.name;
        hint += ' ';
        hint += ScopeWords(known->head.scope);
    }
    if (!hint.empty()) {
        object->Append(MakeString(*arena_, "hint", arena_->Copy(hint)));
    }
}

}  // namespace syntax

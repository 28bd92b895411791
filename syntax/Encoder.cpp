#include "syntax/Encoder.h"

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "softplatform/base/Crc32.h"
#include "syntax/BitWriter.h"
#include "syntax/Hex.h"
#include "syntax/Scalar.h"

namespace syntax {

namespace {

constexpr std::size_t kLongestDescriptor = 255;

struct Frame {
    std::span<const Op> steps;
    // The value of a field. For a length or count that is not yet known: the position of its bits.
    std::array<std::uint64_t, kMostSlots> slots{};
};

// Whether `name` is the name of words for a value: "x_name", where `object` has a field "x".
bool IsWordsOf(std::string_view name, const Node& object) {
    constexpr std::string_view kSuffix = "_name";
    if (name.size() <= kSuffix.size() || name.substr(name.size() - kSuffix.size()) != kSuffix) {
        return false;
    }
    return object.Find(name.substr(0, name.size() - kSuffix.size())) != nullptr;
}

// The width in bits of the length field that `op` refers to; 0 when there is none.
unsigned LengthBits(const Op& op, const Frame& frame) {
    for (const Op& other : frame.steps) {
        if (other.kind == OpKind::kLength && other.slot == op.ref) {
            return other.bits;
        }
    }
    return 0;
}

class Writer {
  public:
    Writer(const Options& options, std::vector<std::uint8_t>& bytes, EncodeError* error)
        : options_(options), out_(bytes), begin_(bytes.size()), error_(error) {}

    // Encodes only to compare with `source`, the bytes that the tree was decoded from. Descriptors
    // are copied from there. Texts that would not be encoded to the same bytes are refused.
    void CompareWith(ByteView source) {
        comparing_ = true;
        source_ = source;
    }

    bool Section(const Node& section);
    bool Descriptor(const Node& object, Space space);
    bool Fields(const Known& known, const Node& object);

  private:
    // A part of the path to the field that is being encoded: a name, or an index into a list.
    struct Step {
        std::string_view name;
        std::size_t index;
    };

    // Adds a part to the path; its destructor removes the part.
    class Inner {
      public:
        Inner(Writer& writer, std::string_view name, std::size_t index = SIZE_MAX)
            : path_(writer.path_) {
            path_.push_back({name, index});
        }
        ~Inner() { path_.pop_back(); }
        Inner(const Inner&) = delete;
        Inner& operator=(const Inner&) = delete;

      private:
        std::vector<Step>& path_;
    };

    std::string Path() const;
    bool Refuse(std::string_view name, const std::string& expected);
    const Node* Take(const Node& object, std::string_view name);
    const Node* Take(const Node& object, const Op& op);
    bool Run(Frame& frame, std::size_t first, std::size_t last, const Node& object);
    bool Number(const Op& op, Frame& frame, const Node& object);
    bool Sized(const Op& op, Frame& frame, const Node& object);
    bool Entries(const Op& op, Frame& frame, std::size_t body, const Node& object);
    bool OneObject(const Op& op, Frame& frame, std::size_t body, const Node& object);
    bool Inside(const Op& op, Frame& frame, std::size_t body, const Node& object);
    bool Conditional(const Op& op, Frame& frame, std::size_t body, const Node& object);
    bool DescriptorLoop(const Op& op, const Node& object);
    bool Length(const Op& op, std::size_t at, unsigned bits, std::uint64_t value);
    void PutReserved(const Op& op);
    std::uint64_t GuardValue(const Op& op, const Frame& frame, std::size_t at, std::size_t last,
                             const Node& object);
    bool AnyThere(const Frame& frame, std::size_t first, std::size_t last,
                  const Node& object) const;
    bool Trailing(const Node& object);
    bool AllUsed(const Node& object);
    bool Raw(const Node& object, Space space, bool section, bool& taken);
    bool Hex(const Node& node, std::vector<std::uint8_t>& bytes);

    const Options& options_;
    BitWriter out_;
    std::size_t begin_;
    EncodeError* error_;
    bool comparing_ = false;
    ByteView source_;
    std::vector<Step> path_;
    const Node* next_ = nullptr;  // the field after the one that was taken last
    std::size_t lengthAt_ = 0;    // of section_length
    SectionEnd end_ = SectionEnd::kNone;
};

std::string Writer::Path() const {
    std::string path;
    for (const Step& step : path_) {
        if (step.index != SIZE_MAX) {
            path += '[' + std::to_string(step.index) + ']';
            continue;
        }
        if (!path.empty()) {
            path += '.';
        }
        path += step.name;
    }
    return path;
}

bool Writer::Refuse(std::string_view name, const std::string& expected) {
    if (error_ != nullptr) {
        std::string path = Path();
        if (!path.empty() && !name.empty()) {
            path += '.';
        }
        error_->path = path + std::string(name);
        error_->expected = expected;
    }
    return false;
}

const Node* Writer::Take(const Node& object, std::string_view name) {
    const Node* node = object.Find(name);
    if (node != nullptr) {
        node->used = true;
    }
    return node;
}

// In a decoded tree the fields are in the order of the steps, so the next one is tried first.
const Node* Writer::Take(const Node& object, const Op& op) {
    const Node* node = next_ != nullptr && next_->op == &op ? next_ : object.Find(op.name);
    if (node != nullptr) {
        node->used = true;
        next_ = node->next;
    }
    return node;
}

bool Writer::Fields(const Known& known, const Node& object) {
    Frame frame{known.steps, {}};
    next_ = nullptr;
    return Run(frame, 0, known.steps.size(), object) && Trailing(object);
}

bool Writer::Trailing(const Node& object) {
    const Node* trailing = Take(object, "trailing");
    if (trailing == nullptr) {
        return true;
    }
    std::vector<std::uint8_t> bytes;
    if (!Hex(*trailing, bytes)) {
        return Refuse("trailing", "bytes in hexadecimal");
    }
    out_.PutBytes({bytes.data(), bytes.size()});
    return true;
}

bool Writer::Hex(const Node& node, std::vector<std::uint8_t>& bytes) {
    if (node.type == NodeType::kBytes) {
        const ByteView view = node.View();
        bytes.assign(view.begin(), view.end());
        return true;
    }
    return node.type == NodeType::kString && ParseHex(node.Chars(), bytes);
}

bool Writer::Run(Frame& frame, std::size_t first, std::size_t last, const Node& object) {
    for (std::size_t at = first; at < last; at += 1 + frame.steps[at].body) {
        const Op& op = frame.steps[at];
        const std::size_t body = at + 1;
        bool fits = true;
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
            case OpKind::kReserved:
                PutReserved(op);
                break;
            case OpKind::kGuard: {
                const std::uint64_t value = GuardValue(op, frame, at + 1, last, object);
                if (op.slot >= 0) {
                    frame.slots[static_cast<std::size_t>(op.slot)] = value;
                }
                out_.Put(value, 1);
                break;
            }
            case OpKind::kLength:
            case OpKind::kCount:
                if (op.slot >= 0) {
                    frame.slots[static_cast<std::size_t>(op.slot)] = out_.position();
                }
                out_.Put(0, op.bits);
                break;
            case OpKind::kSectionLength:
                lengthAt_ = out_.position();
                end_ = static_cast<SectionEnd>(op.low);
                out_.Put(0, op.bits);
                break;
            case OpKind::kWindow:
                fits = Inside(op, frame, body, object);
                break;
            case OpKind::kIf:
            case OpKind::kTry:
            case OpKind::kOptional:
                fits = Conditional(op, frame, body, object);
                break;
            default:
                fits =
                    IsCodedAsBytes(op.kind) ? Sized(op, frame, object) : Number(op, frame, object);
                break;
        }
        if (!fits) {
            return false;
        }
    }
    return true;
}

void Writer::PutReserved(const Op& op) {
    unsigned left = op.bits;
    for (; left > 64; left -= 64) {
        out_.Put(op.low, 64);
    }
    out_.Put(op.low, left);
}

bool Writer::Conditional(const Op& op, Frame& frame, std::size_t body, const Node& object) {
    bool there = true;
    if (op.kind == OpKind::kIf) {
        there = IsIn(op, frame.slots[static_cast<std::size_t>(op.ref)]);
    } else {
        there = AnyThere(frame, body, body + op.body, object);
    }
    return !there || Run(frame, body, body + op.body, object);
}

// Whether `object` has one of the fields of these steps.
bool Writer::AnyThere(const Frame& frame, std::size_t first, std::size_t last,
                      const Node& object) const {
    for (std::size_t at = first; at < last;) {
        const Op& op = frame.steps[at];
        if (IsNamed(op) && object.Find(op.name) != nullptr) {
            return true;
        }
        // Skips the fields of lists and inner objects: they are not fields of `object`.
        at += 1 + (op.kind == OpKind::kLoop || op.kind == OpKind::kObject ? op.body : 0u);
    }
    return false;
}

// The value of a flag that decides which fields follow; the fields of `object` tell it. The flag is
// 1 when a field is there that follows only a 1. It is also 1 when only fields for 0 are declared
// and none of them is there. Otherwise it is 0.
std::uint64_t Writer::GuardValue(const Op& op, const Frame& frame, std::size_t at, std::size_t last,
                                 const Node& object) {
    bool asksForOne = false;
    bool zeroThere = false;
    for (; at < last; ++at) {
        const Op& other = frame.steps[at];
        if (other.kind != OpKind::kIf || other.ref != op.slot || op.slot < 0) {
            continue;
        }
        const bool there = AnyThere(frame, at + 1, at + 1 + other.body, object);
        if (IsIn(other, 1)) {
            if (there) {
                return 1;
            }
            asksForOne = true;
        } else {
            zeroThere = zeroThere || there;
        }
    }
    return asksForOne || zeroThere ? 0 : 1;
}

bool Writer::Number(const Op& op, Frame& frame, const Node& object) {
    const Node* node = Take(object, op);
    if (node == nullptr) {
        return Refuse(op.name, "is missing");
    }
    std::uint64_t value = 0;
    std::string expected;
    if (!CodeNumber(op, *node, value, expected)) {
        return Refuse(op.name, "expected " + expected);
    }
    if (op.slot >= 0) {
        frame.slots[static_cast<std::size_t>(op.slot)] = value;
    }
    out_.Put(value, op.bits);
    return true;
}

bool Writer::Length(const Op& op, std::size_t at, unsigned bits, std::uint64_t value) {
    if (bits < 64 && value >> bits != 0) {
        return Refuse(op.name, "is longer than its length of " + std::to_string(bits) + " bits");
    }
    out_.Patch(at, value, bits);
    return true;
}

bool Writer::Sized(const Op& op, Frame& frame, const Node& object) {
    const Node* node = Take(object, op);
    if (node == nullptr && (op.kind != OpKind::kBytes || op.extent == Extent::kBits)) {
        return Refuse(op.name, "is missing");
    }
    std::size_t lengthAt = out_.position();
    unsigned lengthBits = 0;
    if (op.extent == Extent::kLength) {
        lengthBits = op.extentBits;
        out_.Put(0, lengthBits);
    } else if (op.extent == Extent::kByField) {
        lengthAt = frame.slots[static_cast<std::size_t>(op.ref)];
        lengthBits = LengthBits(op, frame);
    }
    if (!out_.aligned()) {
        return Refuse(op.name, "does not begin with a byte");
    }
    const std::size_t begin = out_.bytes().size();
    if (node != nullptr && node->type == NodeType::kBytes) {
        if (comparing_) {
            if (op.kind == OpKind::kText && !TextSurvives(node->View(), options_.text)) {
                return false;
            }
            if (op.kind == OpKind::kUtf8 && !IsValidUtf8(node->Chars())) {
                return false;
            }
        }
        out_.PutBytes(node->View());
    } else if (node != nullptr) {
        std::string_view table;
        if (op.kind == OpKind::kText) {
            const Node* said = Take(object, TextTableName(op.name));
            table = said != nullptr && said->type == NodeType::kString ? said->Chars() : table;
        }
        std::vector<std::uint8_t> bytes;
        std::string expected;
        if (!CodeBytes(op, *node, table, options_.text, bytes, expected)) {
            return Refuse(op.name, "expected " + expected);
        }
        out_.PutBytes({bytes.data(), bytes.size()});
    }
    const std::size_t size = out_.bytes().size() - begin;
    if (op.extent == Extent::kBits && size != op.extentBits / 8u) {
        return Refuse(op.name, "expected " + std::to_string(op.extentBits / 8) + " bytes");
    }
    return lengthBits == 0 || Length(op, lengthAt, lengthBits, size);
}

bool Writer::Entries(const Op& op, Frame& frame, std::size_t body, const Node& object) {
    const Node* list = Take(object, op);
    if (list != nullptr && list->type != NodeType::kArray) {
        return Refuse(op.name, "expected a list");
    }
    const std::size_t frontAt = out_.position();
    if (op.extent == Extent::kLength || op.extent == Extent::kCount) {
        out_.Put(0, op.extentBits);
    }
    const std::size_t begin = out_.position();
    std::uint64_t count = 0;
    {
        const Inner name(*this, op.name);
        for (const Node* entry = list == nullptr ? nullptr : list->first; entry != nullptr;
             entry = entry->next) {
            const Inner index(*this, {}, count);
            if (entry->type != NodeType::kObject) {
                return Refuse({}, "expected an object");
            }
            next_ = entry->first;
            if (!Run(frame, body, body + op.body, *entry) || !AllUsed(*entry)) {
                return false;
            }
            ++count;
        }
    }
    next_ = list == nullptr ? nullptr : list->next;
    switch (op.extent) {
        case Extent::kLength:
            return Length(op, frontAt, op.extentBits, (out_.position() - begin) / 8);
        case Extent::kCount:
            if (count < op.plus) {
                return Refuse(op.name, "expected at least one entry");
            }
            return Length(op, frontAt, op.extentBits, count - op.plus);
        case Extent::kByField:
            for (const Op& other : frame.steps) {
                if (other.kind == OpKind::kCount && other.slot == op.ref) {
                    if (count < other.plus) {
                        return Refuse(op.name, "expected at least one entry");
                    }
                    return Length(op, frame.slots[static_cast<std::size_t>(op.ref)], other.bits,
                                  count - other.plus);
                }
            }
            return true;
        default:
            return true;
    }
}

bool Writer::OneObject(const Op& op, Frame& frame, std::size_t body, const Node& object) {
    const Node* inner = Take(object, op);
    if (inner == nullptr || inner->type != NodeType::kObject) {
        return Refuse(op.name, "expected an object");
    }
    const Inner name(*this, op.name);
    next_ = inner->first;
    const bool fits = op.extent == Extent::kLength ? Inside(op, frame, body, *inner)
                                                   : Run(frame, body, body + op.body, *inner);
    next_ = inner->next;
    return fits && AllUsed(*inner);
}

bool Writer::Inside(const Op& op, Frame& frame, std::size_t body, const Node& object) {
    std::size_t frontAt = out_.position();
    unsigned bits = op.extentBits;
    if (op.extent == Extent::kByField) {
        frontAt = frame.slots[static_cast<std::size_t>(op.ref)];
        bits = LengthBits(op, frame);
    }
    out_.Put(0, op.extentBits);
    const std::size_t begin = out_.position();
    if (!Run(frame, body, body + op.body, object) ||
        (op.kind == OpKind::kObject && !Trailing(object))) {
        return false;
    }
    return Length(op, frontAt, bits, (out_.position() - begin) / 8);
}

bool Writer::DescriptorLoop(const Op& op, const Node& object) {
    const Node* list = Take(object, op);
    if (list != nullptr && list->type != NodeType::kArray) {
        return Refuse(op.name, "expected a list of descriptors");
    }
    const std::size_t frontAt = out_.position();
    if (op.extent == Extent::kLength) {
        out_.Put(0, op.extentBits);
    }
    const std::size_t begin = out_.position();
    {
        const Inner name(*this, op.name);
        std::size_t index = 0;
        for (const Node* each = list == nullptr ? nullptr : list->first; each != nullptr;
             each = each->next) {
            const Inner at(*this, {}, index++);
            if (comparing_) {
                out_.PutBytes(source_.Subview(each->bitOffset / 8, each->bitCount / 8));
            } else if (!Descriptor(*each, op.space)) {
                return false;
            }
        }
    }
    next_ = list == nullptr ? nullptr : list->next;
    return op.extent != Extent::kLength ||
           Length(op, frontAt, op.extentBits, (out_.position() - begin) / 8);
}

// Whether every field of the document was used; the first one that was not is refused.
bool Writer::AllUsed(const Node& object) {
    if (comparing_) {
        return true;
    }
    for (const Node* child = object.first; child != nullptr; child = child->next) {
        if (!child->used && !IsWordsOf(child->name, object)) {
            return Refuse(child->name, "is no field here");
        }
    }
    return true;
}

// Writes the bytes of "raw" and sets `taken`, unless they decode to other fields than those of
// `object`.
bool Writer::Raw(const Node& object, Space space, bool section, bool& taken) {
    taken = false;
    const Node* raw = Take(object, "raw");
    if (raw == nullptr) {
        return true;
    }
    std::vector<std::uint8_t> bytes;
    if (!Hex(*raw, bytes)) {
        return Refuse("raw", "expected bytes in hexadecimal");
    }
    const ByteView view(bytes.data(), bytes.size());
    Arena arena;
    Decoder decoder(options_);
    const Node* specifier = object.Find("private_data_specifier");
    Options under = options_;
    if (specifier != nullptr && specifier->type == NodeType::kNumber) {
        under.specifier = static_cast<std::uint32_t>(specifier->number);
    }
    Decoder decoderUnder(under);
    const Node* decoded =
        section ? decoder.Section(view, arena) : decoderUnder.Descriptor(view, arena, space);
    if (object.op == nullptr && !SaysTheSame(*decoded, object, options_.text)) {
        return true;
    }
    out_.PutBytes(view);
    taken = true;
    return true;
}

bool Writer::Descriptor(const Node& object, Space space) {
    if (object.type != NodeType::kObject) {
        return Refuse({}, "expected a descriptor");
    }
    bool taken = false;
    if (!Raw(object, space, false, taken) || taken) {
        return taken;
    }
    const Node* tagNode = Take(object, "tag");
    const Node* name = Take(object, "name");
    const Node* extension = Take(object, "extension_tag");
    const Node* data = Take(object, "data");
    Take(object, "hint");
    const Node* specifier = Take(object, "private_data_specifier");
    if (data != nullptr) {
        std::vector<std::uint8_t> bytes;
        if (!Hex(*data, bytes) || bytes.size() < 2 || bytes[1] != bytes.size() - 2) {
            return Refuse("data", "expected a whole descriptor in hexadecimal");
        }
        out_.PutBytes({bytes.data(), bytes.size()});
        return AllUsed(object);
    }
    const auto byteOf = [](const Node* node) {
        return node != nullptr && node->type == NodeType::kNumber && node->number < 256
                   ? static_cast<int>(node->number)
                   : -1;
    };
    const int tag = byteOf(tagNode);
    Space looked = space;
    const bool extended = tag >= 0 && ExtensionSpace(space, static_cast<unsigned>(tag), looked);
    const int wanted = extended ? byteOf(extension) : tag;
    const Known* known = nullptr;
    if (name != nullptr && name->IsContainer() == false && name->type != NodeType::kNumber) {
        known = FindDescriptor(looked, name->Chars(), wanted);
        if (known == nullptr && space != Space::kMain) {
            known = FindDescriptor(extended ? looked : Space::kMain, name->Chars(), wanted);
        }
    }
    if (known == nullptr && wanted >= 0) {
        const bool said = specifier != nullptr && specifier->type == NodeType::kNumber;
        const InForce inForce{
            options_.standard,
            said ? static_cast<std::uint32_t>(specifier->number) : options_.specifier, 0};
        known = FindDescriptor(looked, static_cast<unsigned>(wanted), inForce);
    }
    if (known == nullptr) {
        return Refuse("name", "expected the name of a known descriptor, or \"data\"");
    }
    if (wanted >= 0 && wanted != known->head.low) {
        return Refuse("tag", "expected " + std::to_string(known->head.low) + ", the tag of " +
                                 std::string(known->head.name));
    }
    out_.Put(extended ? static_cast<unsigned>(tag) : known->head.low, 8);
    const std::size_t lengthAt = out_.position();
    out_.Put(0, 8);
    if (extended) {
        out_.Put(known->head.low, 8);
    }
    if (!Fields(*known, object) || !AllUsed(object)) {
        return false;
    }
    const std::size_t length = (out_.position() - lengthAt) / 8 - 1;
    if (!out_.aligned()) {
        return Refuse({}, "its fields do not fill whole bytes");
    }
    if (length > kLongestDescriptor) {
        return Refuse({}, "is longer than the 255 bytes of a descriptor");
    }
    out_.Patch(lengthAt, length, 8);
    return true;
}

bool Writer::Section(const Node& section) {
    bool taken = false;
    if (!comparing_ && (!Raw(section, Space::kMain, true, taken) || taken)) {
        return taken;
    }
    const Node* id = Take(section, "table_id");
    if (id == nullptr || id->type != NodeType::kNumber || id->number > 0xFF) {
        return Refuse("table_id", "expected a number up to 255");
    }
    Take(section, "name");
    const Known& known = FindTable(static_cast<std::uint8_t>(id->number));
    out_.Put(id->number, 8);
    if (!Fields(known, section) || !AllUsed(section)) {
        return false;
    }
    if (!out_.aligned()) {
        return Refuse({}, "its fields do not fill whole bytes");
    }
    const bool crc = end_ == SectionEnd::kCrc || (end_ == SectionEnd::kCrcIfSyntaxIndicator &&
                                                  (out_.bytes()[begin_ + 1] & 0x80) != 0);
    const std::size_t length = out_.bytes().size() - begin_ - 3 + (crc ? 4 : 0);
    // ISO/IEC 13818-1 2.4.4.11
    if (length > 4093) {
        return Refuse({}, "is longer than the 4096 bytes of a section");
    }
    out_.Patch(lengthAt_, length, 12);
    if (crc) {
        out_.Put(tvservice::Crc32(out_.bytes().data() + begin_, out_.bytes().size() - begin_), 32);
    }
    return true;
}

}  // namespace

bool EncodeSection(const Node& section, const Options& options, std::vector<std::uint8_t>& bytes,
                   EncodeError& error) {
    const std::size_t begin = bytes.size();
    const bool fits = Writer(options, bytes, &error).Section(section);
    if (!fits) {
        bytes.resize(begin);
    }
    return fits;
}

bool EncodeDescriptor(const Node& descriptor, Space space, const Options& options,
                      std::vector<std::uint8_t>& bytes, EncodeError& error) {
    const std::size_t begin = bytes.size();
    const bool fits = Writer(options, bytes, &error).Descriptor(descriptor, space);
    if (!fits) {
        bytes.resize(begin);
    }
    return fits;
}

bool EncodeForComparison(const Known& known, const Node& object, ByteView source,
                         const Options& options, std::vector<std::uint8_t>& bytes) {
    Writer writer(options, bytes, nullptr);
    writer.CompareWith(source);
    return known.head.table ? writer.Section(object) : writer.Fields(known, object);
}

bool SaysTheSame(const Node& decoded, const Node& given, const TextRules& rules) {
    if (decoded.type == NodeType::kArray) {
        if (given.type != NodeType::kArray) {
            return false;
        }
        const Node* right = given.first;
        for (const Node* left = decoded.first; left != nullptr; left = left->next) {
            if (right == nullptr || !SaysTheSame(*left, *right, rules)) {
                return false;
            }
            right = right->next;
        }
        return right == nullptr;
    }
    if (decoded.type != NodeType::kObject) {
        Scalar left;
        Scalar right;
        ReadScalar(decoded, rules, left);
        ReadScalar(given, rules, right);
        if (left.type != right.type) {
            // The number types may differ: a document may contain 19 for 19.0.
            const auto number = [](const Scalar& scalar) {
                return scalar.type == Scalar::Type::kReal ? scalar.real
                                                          : static_cast<double>(scalar.number);
            };
            return left.type != Scalar::Type::kString && right.type != Scalar::Type::kString &&
                   left.type != Scalar::Type::kNull && right.type != Scalar::Type::kNull &&
                   number(left) == number(right);
        }
        switch (left.type) {
            case Scalar::Type::kNull:
                return true;
            case Scalar::Type::kReal:
                return left.real == right.real;
            case Scalar::Type::kString:
                return left.text == right.text;
            default:
                return left.number == right.number;
        }
    }
    if (given.type != NodeType::kObject) {
        return false;
    }
    const auto counts = [](std::string_view name) { return name != "raw" && name != "hint"; };
    for (const Node* left = decoded.first; left != nullptr; left = left->next) {
        if (!counts(left->name)) {
            continue;
        }
        const Node* right = given.Find(left->name);
        if (right == nullptr ? left->name != "name" : !SaysTheSame(*left, *right, rules)) {
            return false;
        }
        if (left->op != nullptr && left->op->kind == OpKind::kText && right->op == nullptr) {
            const Node* table = given.Find(TextTableName(left->name));
            if ((table == nullptr ? std::string_view() : table->Chars()) !=
                TextTable(left->View(), rules)) {
                return false;
            }
        }
    }
    for (const Node* right = given.first; right != nullptr; right = right->next) {
        if (!counts(right->name) || decoded.Find(right->name) != nullptr ||
            IsWordsOf(right->name, given)) {
            continue;
        }
        constexpr std::string_view kTable = "_table";
        if (right->name.size() > kTable.size() &&
            right->name.substr(right->name.size() - kTable.size()) == kTable) {
            continue;
        }
        return false;
    }
    return true;
}

}  // namespace syntax

// Sections and descriptors to trees of values.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "syntax/BitReader.h"
#include "syntax/Characters.h"
#include "syntax/Registry.h"
#include "syntax/Tree.h"

namespace syntax {

struct Options {
    Standard standard = Standard::kDvb;
    std::uint32_t specifier = 0;  // private_data_specifier where a loop has none; 0: none
    TextRules text;
};

// A tree names what it has in the order of the standard. Beside a section's or descriptor's own
// fields stand:
//
// - "tag" (with "extension_tag" and the "private_data_specifier" in force) and "name" of a
// descriptor,
//   "table_id" and "name" of a section;
// - "data": the whole bytes of a descriptor that nobody declared, with a "hint" where other options
//   would explain its tag;
// - "trailing": the bytes behind the last field that is known;
// - "malformed": the field at which the bytes do not fit their declaration; nothing is read behind
// it;
// - "raw": the whole bytes, where the fields alone would give other ones: odd reserved bits or
// texts,
//   lengths that lie, a wrong CRC_32.
//
// Any bytes may be given; work and memory grow with their number. Not for several threads at once.
class Decoder {
  public:
    explicit Decoder(const Options& options) : options_(options) {}

    // One whole section, from its table_id on. The tree lives in `arena`, and points into
    // `section`.
    Node* Section(ByteView section, Arena& arena);

    // One descriptor, from its tag on, as it stands in `space`.
    Node* Descriptor(ByteView descriptor, Arena& arena, Space space = Space::kMain);

  private:
    struct Frame {
        std::span<const Op> steps;
        std::uint64_t slots[kMostSlots];
    };

    // What counts for the descriptors of one loop.
    struct LoopState {
        std::uint32_t specifier;
        std::uint32_t format;
    };

    void Begin(ByteView bytes, Arena& arena);
    bool Run(Frame& frame, std::size_t first, std::size_t last, Node* object);
    bool Field(const Op& op, Frame& frame, Node* object);
    bool Sized(const Op& op, Frame& frame, Node* object);
    bool Entries(const Op& op, Frame& frame, std::size_t body, Node* object);
    bool OneObject(const Op& op, Frame& frame, std::size_t body, Node* object);
    bool Inside(const Op& op, Frame& frame, std::size_t body, Node* object);
    bool AtTry(const Op& op, Frame& frame, std::size_t body, Node* object);
    bool DescriptorLoop(const Op& op, Node* object);
    bool SectionEndAt(const Op& op);
    void DescriptorsToEnd(Space space, Node* list);
    Node* OneDescriptor(Space space, LoopState& state);
    void Hint(Node* object, unsigned tag);
    void Verify(const Known& known, Node* object, ByteView whole, std::size_t begin);
    bool Fail(const Op& op);
    bool TakeExtent(const Op& op, const Frame& frame, std::size_t& bytes);
    Node* NewNode(const Op& op, NodeType type, std::size_t begin, std::size_t bits);

    Options options_;
    Arena* arena_ = nullptr;
    BitReader reader_{ByteView()};
    std::string_view failed_;
    const Op* stepsEnd_ = nullptr;     // of the declaration that is being read
    std::uint32_t programFormat_ = 0;  // registration of a PMT's program_info
    bool program_ = false;             // a PMT
    unsigned depth_ = 0;               // of objects in the section
    bool badCrc_ = false;
    std::vector<std::uint8_t> again_;  // what the fields alone encode to
};

}  // namespace syntax

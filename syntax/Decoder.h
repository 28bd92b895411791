// Decodes sections and descriptors into trees of values.
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
    std::uint32_t specifier = 0;  // private_data_specifier of loops without one; 0: none
    TextRules text;
};

// A tree has the fields in the order of the standard, under the standard's names. These members are
// added:
//
// - "name", and "table_id" of a section or "tag" of a descriptor; "extension_tag" of an extension
//   descriptor; "private_data_specifier" of a private descriptor;
// - "data": the whole bytes of a descriptor without a declaration. A "hint" is added if other
//   options would explain its tag;
// - "trailing": the bytes after the last declared field;
// - "malformed": the field at which the bytes do not fit the declaration. Decoding ends there;
// - "raw": the whole bytes, if encoding the fields would give other bytes. This happens with
// unusual
//   reserved bits or texts, wrong lengths and a wrong CRC_32.
//
// Any bytes may be given. Time and memory grow in proportion to them. One object must not be used
// by several threads at once.
class Decoder {
  public:
    explicit Decoder(const Options& options) : options_(options) {}

    // Decodes one whole section, table_id first. The tree lives in `arena` and points into
    // `section`, so both must outlive it.
    Node* Section(ByteView section, Arena& arena);

    // Decodes one descriptor, tag first. `space` says how its tag is understood.
    Node* Descriptor(ByteView descriptor, Arena& arena, Space space = Space::kMain);

  private:
    struct Frame {
        std::span<const Op> steps;
        std::uint64_t slots[kMostSlots];
    };

    // The scope of the descriptors of one loop so far.
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
    const Op* stepsEnd_ = nullptr;     // the end of the current declaration's steps
    std::uint32_t programFormat_ = 0;  // format_identifier in a PMT's program_info loop; 0: none
    bool program_ = false;             // whether the section is a PMT
    unsigned depth_ = 0;               // how deep the current object is nested
    bool badCrc_ = false;
    std::vector<std::uint8_t> again_;  // the encoded fields, to compare with the original bytes
};

}  // namespace syntax

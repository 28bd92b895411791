#include "syntax/Tree.h"

#include <algorithm>
#include <cstring>

namespace syntax {

namespace {

Node* Make(Arena& arena, std::string_view name, NodeType type) {
    Node* node = arena.Make<Node>();
    node->name = name;
    node->type = type;
    return node;
}

}  // namespace

std::string_view Arena::Copy(std::string_view text) {
    if (text.empty()) {
        return {};
    }
    std::uint8_t* copy = Take((text.size() + 7) / 8 * 8);
    std::memcpy(copy, text.data(), text.size());
    return {reinterpret_cast<const char*>(copy), text.size()};
}

void Arena::Grow(std::size_t size) {
    while (used_ < blocks_.size() && blocks_[used_].size < size) {
        ++used_;
    }
    if (used_ == blocks_.size()) {
        const std::size_t room = std::max(size, kBlock);
        blocks_.push_back({std::make_unique<std::uint8_t[]>(room), room});
    }
    next_ = blocks_[used_].bytes.get();
    left_ = blocks_[used_].size;
    ++used_;
}

void Arena::Reset() {
    used_ = 0;
    next_ = nullptr;
    left_ = 0;
}

Node* MakeObject(Arena& arena, std::string_view name) {
    Node* node = Make(arena, name, NodeType::kObject);
    node->first = nullptr;
    node->last = nullptr;
    return node;
}

Node* MakeArray(Arena& arena, std::string_view name) {
    Node* node = MakeObject(arena, name);
    node->type = NodeType::kArray;
    return node;
}

Node* MakeNumber(Arena& arena, std::string_view name, std::uint64_t number) {
    Node* node = Make(arena, name, NodeType::kNumber);
    node->number = number;
    return node;
}

Node* MakeBoolean(Arena& arena, std::string_view name, bool value) {
    Node* node = Make(arena, name, NodeType::kBoolean);
    node->number = value ? 1 : 0;
    return node;
}

Node* MakeString(Arena& arena, std::string_view name, std::string_view text) {
    Node* node = Make(arena, name, NodeType::kString);
    node->bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    node->size = text.size();
    return node;
}

Node* MakeBytes(Arena& arena, std::string_view name, ByteView bytes) {
    Node* node = Make(arena, name, NodeType::kBytes);
    node->bytes = bytes.data();
    node->size = bytes.size();
    return node;
}

}  // namespace syntax

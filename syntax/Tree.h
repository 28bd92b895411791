// The tree of values that sections and descriptors decode to, and that they are encoded from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "softplatform/base/ByteView.h"
#include "syntax/Op.h"

namespace syntax {

using tvservice::ByteView;

// Memory that is allocated piece by piece and freed all at once. Not thread-safe.
class Arena {
  public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    Arena(Arena&&) = default;
    Arena& operator=(Arena&&) = default;

    // Makes an object that needs no destructor. It lives until `Reset` or the arena's destruction.
    template <class T, class... Arguments>
    T* Make(Arguments&&... arguments) {
        static_assert(std::is_trivially_destructible_v<T> && alignof(T) <= 8);
        return new (Take((sizeof(T) + 7) / 8 * 8)) T{std::forward<Arguments>(arguments)...};
    }

    // Makes a copy that lives as long.
    std::string_view Copy(std::string_view text);

    // Frees everything at once, but keeps the memory for later objects.
    void Reset();

  private:
    static constexpr std::size_t kBlock = 64 * 1024;

    struct Block {
        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t size;
    };

    std::uint8_t* Take(std::size_t size) {
        if (size > left_) {
            Grow(size);
        }
        std::uint8_t* taken = next_;
        next_ += size;
        left_ -= size;
        return taken;
    }
    void Grow(std::size_t size);

    std::vector<Block> blocks_;
    std::size_t used_ = 0;  // the number of blocks in use
    std::uint8_t* next_ = nullptr;
    std::size_t left_ = 0;
};

enum class NodeType : std::uint8_t {
    kNull,
    kBoolean,   // number
    kNumber,    // number: the coded value if `op` is set, otherwise the number of a document
    kNegative,  // number, as two's complement; in trees from a document only
    kReal,      // real; in trees from a document only
    kString,    // bytes: UTF-8
    kBytes,     // bytes: as in the section; `op` says what they mean
    kObject,    // children
    kArray,     // children, without names
};

// One value. A decoded node has the step that it came from: its number or bytes are the coded ones,
// and the step says how to convert them (Scalar.h). A node without a step holds its value itself.
struct Node {
    std::string_view name;  // points into the declaration, or into the document it was read from
    const Op* op = nullptr;
    Node* next = nullptr;
    union {
        std::uint64_t number = 0;
        double real;
        const std::uint8_t* bytes;
        Node* first;
    };
    union {
        std::size_t size = 0;
        Node* last;
    };
    NodeType type = NodeType::kNull;
    mutable bool used = false;    // set by the encoder, which reports values that it did not use
    std::uint32_t bitOffset = 0;  // its position in the section or descriptor that was decoded
    std::uint32_t bitCount = 0;

    bool IsContainer() const { return type == NodeType::kObject || type == NodeType::kArray; }
    ByteView View() const { return {bytes, size}; }
    std::string_view Chars() const { return {reinterpret_cast<const char*>(bytes), size}; }

    void Append(Node* child) {
        if (first == nullptr) {
            first = child;
        } else {
            last->next = child;
        }
        last = child;
    }

    // The child with this name; null when there is none or this is not an object.
    const Node* Find(std::string_view childName) const {
        if (type != NodeType::kObject) {
            return nullptr;
        }
        for (const Node* child = first; child != nullptr; child = child->next) {
            if (child->name == childName) {
                return child;
            }
        }
        return nullptr;
    }
};

// These make nodes in an arena.
Node* MakeObject(Arena& arena, std::string_view name = {});
Node* MakeArray(Arena& arena, std::string_view name);
Node* MakeNumber(Arena& arena, std::string_view name, std::uint64_t number);
Node* MakeBoolean(Arena& arena, std::string_view name, bool value);
Node* MakeString(Arena& arena, std::string_view name, std::string_view text);
// The bytes are shown in hexadecimal. They are not copied, so they must outlive the node.
Node* MakeBytes(Arena& arena, std::string_view name, ByteView bytes);

}  // namespace syntax

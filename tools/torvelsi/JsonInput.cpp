#include "tools/torvelsi/JsonInput.h"

#include <nlohmann/json.hpp>
#include <vector>

namespace tool {

namespace {

using syntax::Arena;
using syntax::Node;
using syntax::NodeType;

constexpr std::size_t kDeepest = 100;

// Builds the tree from the events of the JSON parser.
class TreeBuilder final : public nlohmann::json_sax<nlohmann::json> {
  public:
    explicit TreeBuilder(Arena& arena) : arena_(arena) {}

    const Node* root() const { return root_; }
    const std::string& error() const { return error_; }

    bool null() override { return Add(NodeType::kNull) != nullptr; }
    bool boolean(bool value) override {
        Node* node = Add(NodeType::kBoolean);
        node->number = value ? 1 : 0;
        return true;
    }
    bool number_integer(number_integer_t value) override {
        Node* node = Add(value < 0 ? NodeType::kNegative : NodeType::kNumber);
        node->number = static_cast<std::uint64_t>(value);
        return true;
    }
    bool number_unsigned(number_unsigned_t value) override {
        Add(NodeType::kNumber)->number = value;
        return true;
    }
    bool number_float(number_float_t value, const string_t& /*text*/) override {
        Add(NodeType::kReal)->real = value;
        return true;
    }
    bool string(string_t& value) override {
        const std::string_view copy = arena_.Copy(value);
        Node* node = Add(NodeType::kString);
        node->bytes = reinterpret_cast<const std::uint8_t*>(copy.data());
        node->size = copy.size();
        return true;
    }
    bool binary(binary_t& /*value*/) override { return false; }
    bool key(string_t& value) override {
        key_ = arena_.Copy(value);
        return true;
    }
    bool start_object(std::size_t /*elements*/) override { return Open(NodeType::kObject); }
    bool start_array(std::size_t /*elements*/) override { return Open(NodeType::kArray); }
    bool end_object() override { return Close(); }
    bool end_array() override { return Close(); }
    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& exception) override {
        error_ = exception.what();
        return false;
    }

  private:
    Node* Add(NodeType type) {
        Node* node = arena_.Make<Node>();
        node->type = type;
        if (open_.empty()) {
            root_ = node;
            return node;
        }
        Node* parent = open_.back();
        if (parent->type == NodeType::kObject) {
            node->name = key_;
            for (Node* child = parent->first; child != nullptr; child = child->next) {
                if (child->name == key_) {
                    node->next = child->next;
                    *child = *node;
                    return child;
                }
            }
        }
        parent->Append(node);
        return node;
    }

    bool Open(NodeType type) {
        if (open_.size() == kDeepest) {
            error_ = "more than " + std::to_string(kDeepest) + " levels deep";
            return false;
        }
        Node* node = Add(type);
        node->first = nullptr;
        node->last = nullptr;
        open_.push_back(node);
        return true;
    }

    bool Close() {
        open_.pop_back();
        return true;
    }

    Arena& arena_;
    const Node* root_ = nullptr;
    std::vector<Node*> open_;
    std::string_view key_;
    std::string error_;
};

}  // namespace

const Node* ParseJsonInput(std::string_view text, Arena& arena, std::string& error) {
    TreeBuilder builder(arena);
    if (!nlohmann::json::sax_parse(text, &builder)) {
        error = builder.error();
        return nullptr;
    }
    return builder.root();
}

}  // namespace tool

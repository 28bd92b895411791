#include "tests/unit/syntax/RoundTrip.h"

#include <algorithm>
#include <vector>

#include "syntax/Encoder.h"
#include "syntax/Json.h"
#include "tools/torvelsi/JsonInput.h"

namespace syntaxtest {

using namespace syntax;

namespace {

// Takes "raw" out of everything that is not malformed itself; false where something is malformed.
bool TakeRawAway(Node& node) {
    if (!node.IsContainer()) {
        return true;
    }
    bool whole = node.Find("malformed") == nullptr;
    Node* before = nullptr;
    for (Node* child = node.first; child != nullptr; child = child->next) {
        whole = TakeRawAway(*child) && whole;
    }
    for (Node* child = node.first; child != nullptr; child = child->next) {
        if (whole && node.type == NodeType::kObject && child->name == "raw") {
            (before == nullptr ? node.first : before->next) = child->next;
            node.last = child->next == nullptr ? before : node.last;
            continue;
        }
        before = child;
    }
    return whole;
}

std::string Json(const Node& tree, const Options& options) {
    std::string json;
    WriteJson(tree, options.text, false, json);
    return json;
}

}  // namespace

std::string RoundTripFault(ByteView section, const Options& options) {
    Decoder decoder(options);
    Arena arena;
    Node* tree = decoder.Section(section, arena);
    const auto same = [section](const std::vector<std::uint8_t>& bytes) {
        return std::equal(bytes.begin(), bytes.end(), section.begin(), section.end());
    };
    std::vector<std::uint8_t> bytes;
    EncodeError error;
    const std::string json = Json(*tree, options);
    if (!EncodeSection(*tree, options, bytes, error) || !same(bytes)) {
        return "tree: " + error.path + ": " + error.expected + "\n" + json;
    }
    std::string why;
    const Node* read = tool::ParseJsonInput(json, arena, why);
    bytes.clear();
    if (read == nullptr || !EncodeSection(*read, options, bytes, error) || !same(bytes)) {
        return "JSON: " + why + error.path + ": " + error.expected + "\n" + json;
    }
    if (!TakeRawAway(*tree)) {
        return {};
    }
    const std::string fields = Json(*tree, options);
    const Node* alone = tool::ParseJsonInput(fields, arena, why);
    bytes.clear();
    if (alone == nullptr || !EncodeSection(*alone, options, bytes, error)) {
        return "without raw: " + error.path + ": " + error.expected + "\n" + fields;
    }
    Arena second;
    Node* again = Decoder(options).Section({bytes.data(), bytes.size()}, second);
    TakeRawAway(*again);
    const std::string fieldsAgain = Json(*again, options);
    return fields == fieldsAgain ? std::string()
                                 : "without raw:\n" + fields + "\nagain:\n" + fieldsAgain;
}

}  // namespace syntaxtest

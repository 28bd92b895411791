#include "syntax/Json.h"

#include <array>
#include <charconv>

#include "syntax/Hex.h"
#include "syntax/Scalar.h"

namespace syntax {

namespace {

class JsonWriter {
  public:
    JsonWriter(const TextRules& rules, bool indented, std::string& out)
        : rules_(rules), indented_(indented), out_(out) {}

    void Write(const Node& node) {
        if (!node.IsContainer()) {
            return PutScalar(node);
        }
        const bool object = node.type == NodeType::kObject;
        out_ += object ? '{' : '[';
        ++depth_;
        bool first = true;
        for (const Node* child = node.first; child != nullptr; child = child->next) {
            Separate(first);
            if (object) {
                PutName(*child);
            }
            Write(*child);
            if (object && child->op != nullptr) {
                PutBeside(*child, node);
            }
        }
        --depth_;
        if (!first) {
            Break();
        }
        out_ += object ? '}' : ']';
    }

  private:
    void Break() {
        if (indented_) {
            out_ += '\n';
            out_.append(depth_ * 2, ' ');
        }
    }

    void Separate(bool& first) {
        if (!first) {
            out_ += ',';
        }
        first = false;
        Break();
    }

    void PutName(const Node& child) {
        if (child.op != nullptr) {
            return PutPlainName(child.name, {});
        }
        WriteJsonString(child.name, out_);
        out_ += indented_ ? ": " : ":";
    }

    // Names of fields contain no character that needs an escape.
    void PutPlainName(std::string_view name, std::string_view suffix) {
        out_ += '"';
        out_ += name;
        out_ += suffix;
        out_ += indented_ ? "\": " : "\":";
    }

    // Adds the words for a coded value ("x_name") or the character table of a text.
    void PutBeside(const Node& child, const Node& object) {
        if (child.type == NodeType::kNumber) {
            const std::string_view words = Words(*child.op, object, child.number);
            if (!words.empty()) {
                bool first = false;
                Separate(first);
                PutPlainName(child.name, "_name");
                WriteJsonString(words, out_);
            }
        } else if (child.op->kind == OpKind::kText && child.type == NodeType::kBytes) {
            const std::string table = TextTable(child.View(), rules_);
            if (!table.empty()) {
                bool first = false;
                Separate(first);
                PutPlainName(TextTableName(child.name), {});
                WriteJsonString(table, out_);
            }
        }
    }

    void PutScalar(const Node& node) {
        ReadScalar(node, rules_, scalar_);
        char text[32];
        std::to_chars_result end{text, {}};
        switch (scalar_.type) {
            case Scalar::Type::kNull:
                out_ += "null";
                return;
            case Scalar::Type::kBoolean:
                out_ += scalar_.number != 0 ? "true" : "false";
                return;
            case Scalar::Type::kUnsigned:
                end = std::to_chars(text, text + sizeof text, scalar_.number);
                break;
            case Scalar::Type::kNegative:
                end = std::to_chars(text, text + sizeof text,
                                    static_cast<std::int64_t>(scalar_.number));
                break;
            case Scalar::Type::kReal:
                end = std::to_chars(text, text + sizeof text, scalar_.real);
                break;
            case Scalar::Type::kString:
                WriteJsonString(scalar_.text, out_);
                return;
        }
        out_.append(text, end.ptr);
    }

    const TextRules& rules_;
    bool indented_;
    std::string& out_;
    std::size_t depth_ = 0;
    Scalar scalar_;
};

// The bytes that never need an escape. 0xC2 may need one, depending on the next byte.
constexpr std::array<bool, 256> kPlain = [] {
    std::array<bool, 256> plain{};
    for (unsigned c = 0x20; c < 256; ++c) {
        plain[c] = c != '"' && c != '\\' && c != 0x7F && c != 0xC2;
    }
    return plain;
}();

}  // namespace

void WriteJson(const Node& node, const TextRules& rules, bool indented, std::string& out) {
    JsonWriter(rules, indented, out).Write(node);
}

void WriteJsonString(std::string_view text, std::string& out) {
    out += '"';
    std::size_t begin = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto c = static_cast<unsigned char>(text[at]);
        if (kPlain[c]) {
            continue;
        }
        // U+0080 to U+009F, in UTF-8 C2 80 to C2 9F, are control characters: they are escaped.
        const bool control =
            c == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
        if (c == 0xC2 && !control) {
            continue;
        }
        out.append(text, begin, at - begin);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c == '\n') {
            out += "\\n";
        } else {
            const unsigned code = control ? static_cast<unsigned char>(text[++at]) : c;
            out += "\\u00";
            out += kHexDigits[code >> 4];
            out += kHexDigits[code & 15];
        }
        begin = at + 1;
    }
    out.append(text, begin);
    out += '"';
}

}  // namespace syntax

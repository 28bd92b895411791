#include "syntax/PlainText.h"

#include <charconv>

#include "syntax/Hex.h"
#include "syntax/Scalar.h"

namespace syntax {

namespace {

constexpr std::string_view kDescriptorSuffix = "_descriptor";

class TextWriter {
  public:
    TextWriter(ByteView source, const TextRules& rules, const PlainTextStyle& style,
               std::string& out)
        : source_(source), rules_(rules), style_(style), out_(out) {}

    void Write(const Node& node, std::size_t indent, std::string_view label) {
        line_.clear();
        Line(node);
        if (indent + label.size() + line_.size() <= style_.width || !IsLarge(node)) {
            out_.append(indent, ' ');
            out_ += label;
            out_ += line_;
            out_ += '\n';
            Hex(node, indent + 2);
            return;
        }
        out_.append(indent, ' ');
        out_ += label;
        Title(node, out_);
        out_ += '\n';
        for (const Node* child = node.first; child != nullptr; child = child->next) {
            if (IsTitle(*child, node)) {
                continue;
            }
            if (child->type == NodeType::kArray && child->first != nullptr) {
                out_.append(indent + 2, ' ');
                out_ += child->name;
                out_ += ":\n";
                for (const Node* entry = child->first; entry != nullptr; entry = entry->next) {
                    Write(*entry, indent + 4, "- ");
                }
            } else if (child->type == NodeType::kObject) {
                Write(*child, indent + 2, std::string(child->name) + ": ");
            } else {
                out_.append(indent + 2, ' ');
                line_.clear();
                Member(*child, node);
                out_ += line_;
                out_ += '\n';
            }
        }
        Hex(node, indent + 2);
    }

  private:
    static bool IsLarge(const Node& node) {
        std::size_t members = 0;
        for (const Node* child = node.IsContainer() ? node.first : nullptr; child != nullptr;
             child = child->next) {
            ++members;
        }
        return members > 1;
    }

    static bool IsDescriptor(const Node& node) {
        return node.type == NodeType::kObject && node.first != nullptr && node.first->name == "tag";
    }

    static bool IsTitle(const Node& child, const Node& object) {
        if (child.op != nullptr) {
            return false;
        }
        const bool section = object.first != nullptr && object.first->name == "table_id";
        return (IsDescriptor(object) || section) &&
               (child.name == "tag" || child.name == "name" || child.name == "extension_tag" ||
                child.name == "table_id");
    }

    // Adds a title such as "0x4D short_event" or "table 0x42 service_description_section".
    static void Title(const Node& object, std::string& out) {
        const Node* tag = object.Find("tag");
        const Node* table = object.Find("table_id");
        if ((!IsDescriptor(object) || tag == nullptr) && table == nullptr) {
            return;
        }
        AppendCode(tag != nullptr ? tag->number : table->number, out);
        if (const Node* extension = object.Find("extension_tag")) {
            out += '/';
            AppendCode(extension->number, out);
        }
        if (const Node* name = object.Find("name")) {
            std::string_view text = name->Chars();
            if (text.size() > kDescriptorSuffix.size() &&
                text.substr(text.size() - kDescriptorSuffix.size()) == kDescriptorSuffix) {
                text.remove_suffix(kDescriptorSuffix.size());
            }
            out += ' ';
            out += text;
        }
    }

    static void AppendCode(std::uint64_t code, std::string& out) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        out += "0x";
        out += kDigits[code >> 4 & 15];
        out += kDigits[code & 15];
    }

    void Line(const Node& node) {
        if (!node.IsContainer()) {
            return Value(node);
        }
        const std::size_t before = line_.size();
        Title(node, line_);
        const bool titled = line_.size() != before;
        bool first = !titled;
        for (const Node* child = node.first; child != nullptr; child = child->next) {
            if (IsTitle(*child, node)) {
                continue;
            }
            line_ += first ? "" : titled && !colon_ ? ": " : ", ";
            colon_ = true;
            first = false;
            Member(*child, node);
        }
        colon_ = false;
    }

    void Member(const Node& child, const Node& object) {
        line_ += child.name;
        line_ += ' ';
        const bool colon = colon_;
        if (child.IsContainer()) {
            line_ += '[';
            if (child.type == NodeType::kArray) {
                for (const Node* entry = child.first; entry != nullptr; entry = entry->next) {
                    colon_ = false;
                    Line(*entry);
                    if (entry->next != nullptr) {
                        line_ += "; ";
                    }
                }
            } else {
                colon_ = false;
                Line(child);
            }
            line_ += ']';
        } else {
            const std::string_view words = child.op != nullptr && child.type == NodeType::kNumber
                                               ? Words(*child.op, object, child.number)
                                               : std::string_view();
            Value(child);
            if (!words.empty()) {
                line_ += " (";
                line_ += words;
                line_ += ')';
            }
        }
        colon_ = colon;
    }

    void Value(const Node& node) {
        ReadScalar(node, rules_, scalar_);
        char text[32];
        std::to_chars_result end{text, {}};
        switch (scalar_.type) {
            case Scalar::Type::kNull:
                line_ += "undefined";
                return;
            case Scalar::Type::kBoolean:
                line_ += scalar_.number != 0 ? "yes" : "no";
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
                String(node);
                return;
        }
        line_.append(text, end.ptr);
    }

    // Adds a text in quotes, or a code without. A newline becomes a space. Other control characters
    // become a question mark or are dropped, so that a text cannot control the terminal.
    void String(const Node& node) {
        const bool quoted =
            node.op != nullptr && node.op->kind >= OpKind::kText && node.op->kind <= OpKind::kUtf8;
        line_ += quoted ? "\"" : "";
        for (std::size_t at = 0; at < scalar_.text.size(); ++at) {
            const auto c = static_cast<unsigned char>(scalar_.text[at]);
            if (c == 0xC2 && at + 1 < scalar_.text.size() &&
                static_cast<unsigned char>(scalar_.text[at + 1]) < 0xA0) {
                ++at;
                continue;
            }
            line_ += c == '\n'               ? " "
                     : c < 0x20 || c == 0x7F ? "?"
                                             : std::string(1, scalar_.text[at]);
        }
        line_ += quoted ? "\"" : "";
    }

    void Hex(const Node& node, std::size_t indent) {
        if (!style_.hex || !IsDescriptor(node)) {
            return;
        }
        out_.append(indent, ' ');
        AppendHex(source_.Subview(node.bitOffset / 8, node.bitCount / 8), out_);
        out_ += '\n';
    }

    ByteView source_;
    const TextRules& rules_;
    const PlainTextStyle& style_;
    std::string& out_;
    std::string line_;
    Scalar scalar_;
    bool colon_ = false;  // the colon after the line's title is written
};

}  // namespace

void WritePlainText(const Node& node, ByteView source, const TextRules& rules,
                    const PlainTextStyle& style, std::string& out) {
    TextWriter(source, rules, style, out).Write(node, style.indent, {});
}

}  // namespace syntax

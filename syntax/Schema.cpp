#include "syntax/Schema.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "syntax/Json.h"
#include "syntax/Outline.h"
#include "syntax/Registry.h"
#include "syntax/Scalar.h"

namespace syntax {

namespace {

constexpr std::string_view kHead =
    R"({
  "$schema": "https://json-schema.org/draft/2020-12/schema",
  "title": "torvelsi-descriptors/1",
  "description": "One section or one descriptor, as `torvelsi decode --format json` writes it. The keys of an object come in the order in which its properties are listed here. Byte strings are lower-case hexadecimal; so is a value whose bits cannot be said in its field's own form. Words (`..._name`) and character tables (`..._text_table`) stand beside the field that they belong to. Written from the declarations in syntax/.",
  "if": {"required": ["table_id"]},
  "then": {"$ref": "#/$defs/section"},
  "else": {"$ref": "#/$defs/descriptor"},
  "$defs": {
    "bytes": {"type": "string", "pattern": "^([0-9a-f]{2})*$"},
    "malformed": {
      "type": "object",
      "description": "What does not fit its declaration: the field at which it ends, behind those before it, and the whole bytes. A section with a wrong CRC_32 is so too.",
      "required": ["malformed", "raw"],
      "properties": {
        "malformed": {"type": "string"},
        "raw": {"$ref": "#/$defs/bytes"}
      }
    },
    "unknown": {
      "type": "object",
      "description": "A descriptor that is not declared: its whole bytes, and the options that would explain a private tag.",
      "additionalProperties": false,
      "required": ["tag", "data"],
      "properties": {
        "tag": {"type": "integer", "minimum": 0, "maximum": 255},
        "extension_tag": {"type": "integer", "minimum": 0, "maximum": 255},
        "private_data_specifier": {"type": "integer", "minimum": 1, "maximum": 4294967295},
        "data": {"$ref": "#/$defs/bytes"},
        "hint": {"type": "string"}
      }
    })";

constexpr std::string_view kBytes = R"({"$ref": "#/$defs/bytes"})";

// The definitions of descriptors, by the space of their tags.
constexpr std::string_view kSpaceNames[] = {"descriptor",
                                            "MPEG_extension_descriptor",
                                            "DVB_extension_descriptor",
                                            "AIT_descriptor",
                                            "UNT_descriptor",
                                            "INT_descriptor",
                                            "carousel_descriptor",
                                            "splice_descriptor",
                                            "RNT_descriptor"};
static_assert(std::size(kSpaceNames) == static_cast<std::size_t>(Space::kResolution) + 1);

std::string_view NameOf(Space space) {
    return kSpaceNames[static_cast<std::size_t>(space)];
}

struct Property {
    std::string name;
    std::string schema;
    bool required = false;
};

std::string Quoted(std::string_view text) {
    std::string quoted;
    WriteJsonString(text, quoted);
    return quoted;
}

std::string Reference(std::string_view definition) {
    return R"({"$ref": "#/$defs/)" + std::string(definition) + "\"}";
}

std::string Line(std::size_t depth) {
    return '\n' + std::string(depth * 2, ' ');
}

std::string Joined(const std::vector<std::string>& parts, std::size_t depth, char open,
                   char close) {
    std::string text(1, open);
    for (const std::string& part : parts) {
        text += (&part == parts.data() ? "" : ",") + Line(depth + 1) + part;
    }
    return text + Line(depth) + close;
}

// One of several ways, each of them once.
std::string AnyOf(std::vector<std::string> ways) {
    std::vector<std::string> different;
    std::string joined;
    for (std::string& way : ways) {
        if (std::find(different.begin(), different.end(), way) == different.end()) {
            joined += (joined.empty() ? "" : ", ") + way;
            different.push_back(std::move(way));
        }
    }
    return different.size() == 1 ? joined : R"({"anyOf": [)" + joined + "]}";
}

// --- Types of fields

std::string Integer(std::string_view least, std::uint64_t most, std::string_view more = {}) {
    return R"({"type": "integer", "minimum": )" + std::string(least) + R"(, "maximum": )" +
           std::to_string(most) + std::string(more) + "}";
}

std::string String(std::string_view pattern) {
    return R"({"type": "string", "pattern": ")" + std::string(pattern) + "\"}";
}

std::string MultipleOf(std::uint32_t unit) {
    return unit == 1 ? "" : R"(, "multipleOf": )" + std::to_string(unit);
}

std::string Decimal(const Op& op) {
    std::uint64_t most = 1;
    for (unsigned bits = 0; bits < op.bits; bits += 4) {
        most *= 10;
    }
    const bool fraction = op.divisor != 1;
    return std::string(R"({"type": [")") + (fraction ? "number" : "integer") +
           R"(", "string"], "minimum": 0, "maximum": )" +
           std::to_string(fraction ? most / op.divisor : (most - 1) * op.scale) +
           MultipleOf(op.scale) + R"(, "pattern": "^[0-9a-f]{)" + std::to_string(op.bits / 4) +
           "}$\"}";
}

std::string ScalarType(const Op& op) {
    const std::uint64_t most = AllOnes(op.bits);
    switch (op.kind) {
        case OpKind::kFlag:
            return R"({"type": "boolean"})";
        case OpKind::kSigned:
            return Integer("-" + std::to_string(most / 2 + 1), most / 2);
        case OpKind::kScaled:
            return Integer("0", most * op.scale, MultipleOf(op.scale));
        case OpKind::kBcd:
            return Decimal(op);
        case OpKind::kTime:
            return R"({"type": ["string", "null"], "pattern": )"
                   R"("^([0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}Z|[0-9a-f]{10})$"})";
        case OpKind::kDate:
            return String("^[0-9]{4}-[0-9]{2}-[0-9]{2}$");
        case OpKind::kDuration:
            return R"({"type": ["integer", "string", "null"], "minimum": 0, "maximum": 359999, )"
                   R"("pattern": "^[0-9a-f]{6}$"})";
        case OpKind::kOffset:
            return String("^([0-9]{2}:[0-5][0-9]|[0-9a-f]{4})$");
        case OpKind::kLabel:
            return R"({"type": ["string", "integer"], "minimum": 0, "maximum": 1048575, )"
                   R"("pattern": "^[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}$"})";
        case OpKind::kLatin: {
            const std::string length = std::to_string(op.bits / 8);
            return R"({"type": "string", "minLength": )" + length + R"(, "maxLength": )" + length +
                   "}";
        }
        case OpKind::kIpv4:
            return R"({"type": "string", "format": "ipv4"})";
        case OpKind::kIpv6:
            return R"({"type": "string", "format": "ipv6"})";
        case OpKind::kMac:
            return String("^[0-9a-f]{2}(:[0-9a-f]{2}){5}$");
        case OpKind::kText:
        case OpKind::kUtf8:
            return R"({"type": "string"})";
        case OpKind::kBytes:
            return std::string(kBytes);
        default:
            return Integer("0", most);
    }
}

std::string ObjectType(std::vector<Property> properties, std::size_t depth) {
    std::string required;
    std::vector<std::string> lines;
    for (const Property& property : properties) {
        if (property.required) {
            required += (required.empty() ? "" : ", ") + Quoted(property.name);
        }
        lines.push_back(Quoted(property.name) + ": " + property.schema);
    }
    return "{" + Line(depth + 1) + R"("type": "object",)" + Line(depth + 1) +
           R"("additionalProperties": false,)" + Line(depth + 1) + R"("required": [)" + required +
           "]," + Line(depth + 1) + R"("properties": )" + Joined(lines, depth + 1, '{', '}') +
           Line(depth) + "}";
}

std::vector<Property> Fields(std::span<const Op> steps, std::size_t depth);

std::string FieldType(const OutlinedField::Form& form, std::size_t depth) {
    const Op& op = *form.op;
    if (op.kind == OpKind::kDescriptors) {
        return R"({"type": "array", "items": )" + Reference(NameOf(op.space)) + "}";
    }
    if (op.kind == OpKind::kLoop) {
        return R"({"type": "array", "items": )" + ObjectType(Fields(form.body, depth + 2), depth) +
               "}";
    }
    if (op.kind == OpKind::kObject) {
        std::vector<Property> fields = Fields(form.body, depth + 2);
        if (op.extent == Extent::kLength) {
            fields.push_back({"trailing", std::string(kBytes)});
        }
        return ObjectType(std::move(fields), depth);
    }
    return ScalarType(op);
}

// The properties of an object, each written at `depth`.
std::vector<Property> Fields(std::span<const Op> steps, std::size_t depth) {
    std::vector<Property> properties;
    for (const OutlinedField& field : Outline(steps)) {
        std::vector<std::string> types;
        bool words = false;
        bool table = false;
        for (const OutlinedField::Form& form : field.forms) {
            types.push_back(FieldType(form, depth));
            words = words || !form.op->values.empty();
            table = table || form.op->kind == OpKind::kText;
        }
        properties.push_back({std::string(field.name), AnyOf(std::move(types)), field.always});
        if (words) {
            properties.push_back({std::string(field.name) + "_name", R"({"type": "string"})"});
        }
        if (table) {
            properties.push_back({TextTableName(field.name), R"({"type": "string"})"});
        }
    }
    return properties;
}

// --- Declarations

constexpr std::size_t kDefinitionDepth = 2;

std::string Constant(unsigned value) {
    return R"({"const": )" + std::to_string(value) + "}";
}

// The object that `known` decodes to.
std::string Declared(const Known& known) {
    const Head& head = known.head;
    const Space space = head.scope.space;
    std::vector<Property> properties;
    const Property name{"name", R"({"const": )" + Quoted(head.name) + "}", true};
    if (head.table) {
        const std::string id = head.low == head.high ? Constant(head.low)
                                                     : Integer(std::to_string(head.low), head.high);
        properties = {{"table_id", id, true}, name};
    } else if (space == Space::kMpegExtension || space == Space::kDvbExtension) {
        properties = {{"tag", Constant(space == Space::kDvbExtension ? 0x7F : 0x3F), true},
                      name,
                      {"extension_tag", Constant(head.low), true}};
    } else {
        properties = {{"tag", Constant(head.low), true}, name};
        if (space == Space::kMain && head.low >= kFirstPrivateTag) {
            properties.push_back({"private_data_specifier", Integer("1", UINT32_MAX)});
        }
    }
    for (Property& field : Fields(known.steps, kDefinitionDepth + 2)) {
        properties.push_back(std::move(field));
    }
    properties.push_back({"trailing", std::string(kBytes)});
    properties.push_back({"raw", std::string(kBytes)});
    return ObjectType(std::move(properties), kDefinitionDepth);
}

// All declarations of one name among the tables, or among the descriptors of one space.
struct Definition {
    std::string key;
    std::string_view name;
    std::vector<const Known*> declarations;
};

std::vector<Definition> Definitions(bool tables, Space space) {
    std::vector<Definition> definitions;
    for (const Known& known : AllKnown()) {
        if (known.head.table != tables || known.head.scope.space != space) {
            continue;
        }
        auto definition = std::find_if(
            definitions.begin(), definitions.end(),
            [&known](const Definition& other) { return other.name == known.head.name; });
        if (definition == definitions.end()) {
            std::string key = std::string(tables ? "section" : NameOf(space)) + ".";
            for (const char c : known.head.name) {
                key += c == '/' ? '-' : c;  // a slash would divide a JSON pointer
            }
            definition = definitions.insert(definition, {key, known.head.name, {}});
        }
        definition->declarations.push_back(&known);
    }
    return definitions;
}

class SchemaWriter {
  public:
    std::string Write() {
        out_ = kHead;
        const std::vector<Definition> tables = Definitions(true, Space::kMain);
        const std::vector<Definition> main = Definitions(false, Space::kMain);
        const std::vector<Definition> mpeg = Definitions(false, Space::kMpegExtension);
        const std::vector<Definition> dvb = Definitions(false, Space::kDvbExtension);
        std::vector<Definition> everywhere = main;
        everywhere.insert(everywhere.end(), mpeg.begin(), mpeg.end());
        everywhere.insert(everywhere.end(), dvb.begin(), dvb.end());

        Define("section", OfDeclared(R"("required": ["table_id", "name"],)", Choice(tables, {})));
        Define("descriptor",
               OfDeclared(R"("if": {"required": ["name"]},)", OrUnknown(Choice(everywhere, {}))));
        for (const Space space : {Space::kApplication, Space::kUpdate, Space::kIpMac,
                                  Space::kCarousel, Space::kSplice, Space::kResolution}) {
            const std::vector<Definition> own = Definitions(false, space);
            // What is not its own is as everywhere; so is what has no name.
            Define(NameOf(space),
                   R"({)" + Line(3) +
                       R"("if": {"required": ["name"], "properties": {"name": {"enum": [)" +
                       Names(own) + "]}}}," + Line(3) + R"("then": )" +
                       OfDeclared("", Choice(own, main)) + "," + Line(3) + R"("else": )" +
                       Reference("descriptor") + Line(2) + "}");
            DefineEach(own);
        }
        DefineEach(tables);
        DefineEach(everywhere);
        return out_ + "\n  }\n}\n";
    }

  private:
    void Define(std::string_view key, const std::string& schema) {
        out_ += "," + Line(kDefinitionDepth) + Quoted(key) + ": " + schema;
    }

    void DefineEach(const std::vector<Definition>& definitions) {
        for (const Definition& definition : definitions) {
            std::vector<std::string> forms;
            for (const Known* known : definition.declarations) {
                forms.push_back(Declared(*known));
            }
            Define(definition.key, AnyOf(std::move(forms)));
        }
    }

    static std::string Names(const std::vector<Definition>& definitions) {
        std::string names;
        for (const Definition& definition : definitions) {
            names += (names.empty() ? "" : ", ") + Quoted(definition.name);
        }
        return names;
    }

    // The definition by "name"; by its tag too where `others` has the name as well.
    static std::string Choice(const std::vector<Definition>& definitions,
                              const std::vector<Definition>& others) {
        std::vector<std::string> ways;
        for (const Definition& definition : definitions) {
            const auto other = std::find_if(
                others.begin(), others.end(),
                [&definition](const Definition& each) { return each.name == definition.name; });
            ways.push_back(R"({"if": {"properties": {"name": {"const": )" +
                           Quoted(definition.name) + R"(}}}, "then": )" +
                           (other == others.end() ? Reference(definition.key)
                                                  : R"({"anyOf": [)" + Reference(definition.key) +
                                                        ", " + Reference(other->key) + "]}") +
                           "}");
        }
        return R"("properties": {"name": {"enum": [)" + Names(definitions) + "]}}," + Line(3) +
               R"("allOf": )" + Joined(ways, 3, '[', ']');
    }

    static std::string OrUnknown(const std::string& choice) {
        return R"("then": {)" + Line(3) + choice + Line(3) + "}," + Line(3) + R"("else": )" +
               Reference("unknown");
    }

    // What is malformed, and what is not.
    static std::string OfDeclared(std::string_view first, const std::string& rest) {
        return R"({"if": {"required": ["malformed"]}, "then": )" + Reference("malformed") +
               R"(, "else": {)" + Line(3) + R"("type": "object",)" + Line(3) + std::string(first) +
               (first.empty() ? "" : Line(3)) + rest + Line(2) + "}}";
    }

    std::string out_;
};

}  // namespace

std::string DescriptorsSchema() {
    return SchemaWriter().Write();
}

}  // namespace syntax

// The commands decode and encode: from the bytes of sections and descriptors to text or JSON, and
// back.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "syntax/Encoder.h"
#include "syntax/Hex.h"
#include "syntax/Json.h"
#include "syntax/PlainText.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/JsonInput.h"
#include "tools/torvelsi/Session.h"
#include "tools/torvelsi/TextOption.h"

namespace tool {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// The options of both commands that influence the meaning of bytes.
struct Reading {
    TextOption specifier;
    std::string standard = "dvb";
    std::string charset = "iso6937";

    void Add(CLI::App& command) {
        specifier.Add(command, "--pds",
                      "The private_data_specifier of loops that have none, e.g. 0x28");
        command.add_option("--standard", standard, "dvb, isdb or atsc")
            ->check(CLI::IsMember({"dvb", "isdb", "atsc"}))
            ->capture_default_str();
        command
            .add_option("--default-charset", charset,
                        "The character table of texts that select none, e.g. iso8859-9")
            ->check([](const std::string& name) {
                return syntax::IsTextTable(name) ? std::string()
                                                 : name + " is not a known character table";
            })
            ->capture_default_str();
    }

    syntax::Options Options() const {
        syntax::Options options;
        if (specifier.IsGiven()) {
            options.specifier = static_cast<std::uint32_t>(specifier.Number(UINT32_MAX));
        }
        options.standard = standard == "isdb"   ? syntax::Standard::kIsdb
                           : standard == "atsc" ? syntax::Standard::kAtsc
                                                : syntax::Standard::kDvb;
        options.text.arib = options.standard == syntax::Standard::kIsdb;
        options.text.defaultTable = charset;
        return options;
    }
};

bool ReadFile(const std::string& path, std::string& content) {
    std::ifstream file(path, std::ios::binary);
    content.assign(std::istreambuf_iterator<char>(file), {});
    return file.is_open() && !file.bad();
}

/// The sizes of consecutive sections (their length is in bytes 1 and 2) or of consecutive
/// descriptors. If the last one is cut, its size is the number of bytes that are left.
std::vector<std::size_t> Sizes(const Bytes& bytes, bool tables) {
    std::vector<std::size_t> sizes;
    for (std::size_t at = 0; at < bytes.size();) {
        const tvservice::ByteView rest(bytes.data() + at, bytes.size() - at);
        const std::size_t size = tables ? 3u + (rest.U16(1) & 0xFFFu) : 2u + rest.U8(1);
        sizes.push_back(std::min(size, rest.size()));
        at += sizes.back();
    }
    return sizes;
}

void PrintOffsets(const syntax::Node& node, const Bytes& bytes, const syntax::Options& options,
                  int level) {
    for (const syntax::Node* child = node.IsContainer() ? node.first : nullptr; child != nullptr;
         child = child->next) {
        if (child->bitCount != 0) {
            const std::size_t begin = child->bitOffset / 8;
            const std::size_t end = (child->bitOffset + child->bitCount + 7) / 8;
            std::string hex;
            std::string value;
            if (!child->IsContainer()) {
                syntax::AppendHex({bytes.data() + begin, end - begin}, hex);
                syntax::WriteJson(*child, options.text, false, value);
            }
            fmt::print("{:5}.{} {:5} bits  {:{}}{} {} {}\n", begin, child->bitOffset % 8,
                       child->bitCount, "", level * 2, child->name, value, hex);
        }
        PrintOffsets(*child, bytes, options, level + 1);
    }
}

int Decode(const std::string& input, bool tables, bool descriptors, bool offsets, bool json,
           const syntax::Options& options) {
    Bytes bytes;
    std::string content;
    if (std::filesystem::is_regular_file(input)) {
        if (!ReadFile(input, content)) {
            PrintError(fmt::format("{}: cannot be read", Printable(input)));
            return kUnreadable;
        }
        bytes.assign(content.begin(), content.end());
    } else {
        std::string digits;
        for (const char c : input) {
            if (c != ' ' && c != ':') {
                digits += c;
            }
        }
        if (digits.empty() || !syntax::ParseHex(digits, bytes)) {
            PrintError(
                fmt::format("'{}' is neither a file nor bytes in hexadecimal", Printable(input)));
            return kUsage;
        }
    }
    if (!tables && !descriptors) {
        // If the second byte is the length of the rest, the bytes are taken for one descriptor.
        descriptors = bytes.size() > 1 && bytes[1] + 2u == bytes.size();
    }
    syntax::Decoder decoder(options);
    std::size_t at = 0;
    for (const std::size_t size : Sizes(bytes, !descriptors)) {
        const Bytes one(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(at + size));
        const tvservice::ByteView view(one.data(), one.size());
        syntax::Arena arena;
        const syntax::Node* tree =
            descriptors ? decoder.Descriptor(view, arena) : decoder.Section(view, arena);
        std::string out;
        if (offsets) {
            PrintOffsets(*tree, one, options, 0);
        } else if (json) {
            syntax::WriteJson(*tree, options.text, true, out);
            out += '\n';
        } else {
            syntax::WritePlainText(*tree, view, options.text, {}, out);
        }
        std::fwrite(out.data(), 1, out.size(), stdout);
        at += size;
    }
    return kDone;
}

/// Prints the bytes of one section or descriptor. `path` is its place in the document, for errors.
int EncodeOne(const syntax::Node& tree, const std::string& file, const std::string& path,
              const syntax::Options& options) {
    Bytes bytes;
    syntax::EncodeError error;
    const bool fits =
        tree.Find("table_id") != nullptr
            ? syntax::EncodeSection(tree, options, bytes, error)
            : syntax::EncodeDescriptor(tree, syntax::Space::kMain, options, bytes, error);
    if (!fits) {
        const bool both = !path.empty() && !error.path.empty();
        PrintError(fmt::format("{}: {}{}{}: {}", Printable(file), path, both ? "." : "",
                               Printable(error.path), Printable(error.expected)));
        return kUnreadable;
    }
    std::string hex;
    syntax::AppendHex({bytes.data(), bytes.size()}, hex);
    fmt::print("{}\n", hex);
    return kDone;
}

int Encode(const std::string& file, const syntax::Options& options) {
    std::string content;
    if (!ReadFile(file, content)) {
        PrintError(fmt::format("{}: cannot be read", Printable(file)));
        return kUnreadable;
    }
    syntax::Arena arena;
    std::string why;
    const syntax::Node* tree = ParseJsonInput(content, arena, why);
    if (tree == nullptr) {
        PrintError(fmt::format("{}: {}", Printable(file), Printable(why)));
        return kUnreadable;
    }
    if (tree->type != syntax::NodeType::kArray) {
        return EncodeOne(*tree, file, {}, options);
    }
    std::size_t index = 0;
    for (const syntax::Node* each = tree->first; each != nullptr; each = each->next) {
        const int result = EncodeOne(*each, file, fmt::format("[{}]", index++), options);
        if (result != kDone) {
            return result;
        }
    }
    return kDone;
}

}  // namespace

void AddDecodeCommand(CLI::App& app, Run& run) {
    struct Options {
        Reading reading;
        std::string input;
        std::string format = "text";
        bool table = false;
        bool descriptor = false;
        bool offsets = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("decode", "Show sections or descriptors, field by field");
    command->add_option("INPUT", options->input, "Bytes in hexadecimal, or a binary file")
        ->required();
    CLI::Option* table = command->add_flag("--table", options->table, "INPUT holds sections");
    command->add_flag("--descriptor", options->descriptor, "INPUT holds descriptors")
        ->excludes(table);
    command->add_flag("--offsets", options->offsets, "Show the position and bytes of each field");
    command->add_option("--format", options->format, "text or json")
        ->check(CLI::IsMember({"text", "json"}))
        ->capture_default_str();
    options->reading.Add(*command);
    command->callback([options, &run] {
        const syntax::Options reading = options->reading.Options();
        run = [options, reading] {
            return Decode(options->input, options->table, options->descriptor, options->offsets,
                          options->format == "json", reading);
        };
    });
}

void AddEncodeCommand(CLI::App& app, Run& run) {
    struct Options {
        Reading reading;
        std::string file;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "encode", "Print the bytes of a section or descriptor, or of a list of them, in JSON");
    command->add_option("FILE", options->file, "The JSON, as decode --format json writes it")
        ->required();
    options->reading.Add(*command);
    command->callback([options, &run] {
        const syntax::Options reading = options->reading.Options();
        run = [options, reading] { return Encode(options->file, reading); };
    });
}

}  // namespace tool

#include "tools/torvelsi/SectionsDocument.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "softplatform/section/SectionView.h"

namespace tool {

namespace {

/// A view of the section; no value when it was cut or has no long header
/// (section_syntax_indicator 0).
std::optional<tvservice::SectionView> LongHeader(const ReceivedSection& section) {
    const auto view = tvservice::SectionView::From(section.data, section.length);
    return view && view->section_syntax_indicator() ? view : std::nullopt;
}

unsigned int TableId(const ReceivedSection& section) {
    return section.length > 0 ? section.data[0] : 0U;
}

Json SectionToJson(const ReceivedSection& section) {
    Json json = {{"id", section.subscription},       {"pid", section.pid},
                 {"length", section.length},         {"table_id", TableId(section)},
                 {"table_id_extension", Json()},     {"version_number", Json()},
                 {"current_next_indicator", Json()}, {"section_number", Json()},
                 {"last_section_number", Json()}};
    if (const auto header = LongHeader(section)) {
        json["table_id_extension"] = header->table_id_extension();
        json["version_number"] = header->version_number();
        json["current_next_indicator"] = header->current_next_indicator();
        json["section_number"] = header->section_number();
        json["last_section_number"] = header->last_section_number();
    }
    json["data"] = Hex(section.data, section.length);
    return json;
}

}  // namespace

std::string SectionText(const ReceivedSection& section) {
    constexpr int kBytesPerLine = 16;
    std::string text = fmt::format("subscription {}, PID {}, table_id {}", section.subscription,
                                   Id16(section.pid), Id8(TableId(section)));
    if (const auto header = LongHeader(section)) {
        text += fmt::format(", extension {}, version {}{}, section {} of 0 to {}",
                            Id16(header->table_id_extension()), header->version_number(),
                            header->current_next_indicator() ? "" : " (next)",
                            header->section_number(), header->last_section_number());
    }
    text += fmt::format(", {} bytes\n", section.length);
    const unsigned char* const data = section.data;
    for (int at = 0; at < section.length; at += kBytesPerLine) {
        const int end = std::min<int>(at + kBytesPerLine, section.length);
        std::string characters;
        for (int i = at; i < end; ++i) {
            characters += data[i] >= 0x20 && data[i] < 0x7F ? static_cast<char>(data[i]) : '.';
        }
        text +=
            fmt::format("  {:04x}  {:<47}  {}\n", at,
                        fmt::format("{:02x}", fmt::join(data + at, data + end, " ")), characters);
    }
    return text;
}

std::string SectionsBegin(unsigned int subscription) {
    return fmt::format(
        "{{\n  \"schema\": \"torvelsi-sections/1\",\n  \"subscription\": {},\n  \"sections\": [",
        subscription != 0 ? std::to_string(subscription) : "null");
}

std::string SectionsEntry(const ReceivedSection& section, std::uint64_t index) {
    return fmt::format("{}\n    {}", index == 0 ? "" : ",", SectionToJson(section).dump());
}

std::string SectionsEnd(const SectionsSummary& summary) {
    return fmt::format(
        "{}],\n  \"timed_out\": {},\n  \"input\": {},\n  \"counters\": {}{}\n}}\n",
        summary.sections == 0 ? "" : "\n  ", summary.timedOut,
        InputToJson(summary.input).dump(-1, ' ', false, Json::error_handler_t::replace),
        CountersToJson(summary.counters).dump(),
        summary.faults.empty() ? "" : ",\n  \"faults\": " + FaultsToJson(summary.faults).dump());
}

std::string SummaryText(const SectionsSummary& summary) {
    return fmt::format("{} section{} from {}\n{}{}", summary.sections,
                       summary.sections == 1 ? "" : "s", Printable(summary.input.uri),
                       CountersToText(summary.counters), CountersToText(summary.faults));
}

}  // namespace tool

#include "tools/torvelsi/SectionsRequest.h"

#include <CLI/CLI.hpp>

#include "tools/torvelsi/Arguments.h"

namespace tool {

using TORVEL_MW::ISectionManager;

SectionsOptions::SectionsOptions(CLI::App& command) : receiver_(AddReceiverOptions(command)) {
    AddFilter(command);
    AddEndAndFormat(command);
}

void SectionsOptions::AddFilter(CLI::App& command) {
    pid_.Add(command, "--pid", "The PID; numbers are decimal or 0x hexadecimal")->required();
    CLI::Option* tableId = tableId_.Add(command, "--table-id", "Filter by this table_id");
    CLI::Option* extension =
        extension_.Add(command, "--extension", "Filter by this table_id_extension as well")
            ->needs(tableId);
    CLI::Option* pattern = pattern_.Add(command, "--pattern",
                                        "Filter by these bytes, in hexadecimal, from table_id on");
    CLI::Option* mask = mask_.Add(command, "--mask",
                                  "Compare only the bits that are 1 in this mask; it must be as "
                                  "long as the pattern");
    mode_
        .Add(command, "--mode",
             "Of the compared bits that are 1 here, at least one must differ from the pattern; the "
             "mode must be as long as the pattern")
        ->needs(pattern);
    pattern->needs(mask)->excludes(tableId);
    mask->needs(pattern);
    command
        .add_flag("--from-cache", fromCache_,
                  "Subscribe as a second client: wait until the table begins to repeat, then show "
                  "the sections from the receiver's cache, and after them those of the input")
        ->needs(tableId)
        ->excludes(extension);
    command
        .add_option("--filter-mode", filterMode_,
                    "continuous; one-shot: the first section only; toggle: after each section the "
                    "filter changes to the other table_id of its pair")
        ->check(CLI::IsMember({"continuous", "one-shot", "toggle"}))
        ->capture_default_str();
}

void SectionsOptions::AddEndAndFormat(CLI::App& command) {
    timeout_.Add(command, "--timeout",
                 "Time-out for the first section: a number with ms, s (the default unit) or min. "
                 "On inputs other than files it also ends the command");
    count_.Add(command, "--count", "End after this number of sections");
    command
        .add_option("--format", format_,
                    "hex to read, json for programs, binary for the bytes of the sections only")
        ->check(CLI::IsMember({"hex", "json", "binary"}))
        ->capture_default_str();
}

SectionsRequest SectionsOptions::Request() const {
    SectionsRequest request;
    request.receiver = *receiver_;
    ReadFilter(request);
    ReadEndAndFormat(request);
    return request;
}

void SectionsOptions::ReadFilter(SectionsRequest& request) const {
    request.pid = static_cast<unsigned short>(pid_.Number(0x1FFF));
    if (tableId_.IsGiven()) {
        request.tableId = static_cast<unsigned int>(tableId_.Number(0xFF));
    }
    if (extension_.IsGiven()) {
        request.extension = static_cast<unsigned int>(extension_.Number(0xFFFF));
    }
    if (pattern_.IsGiven()) {
        request.pattern = pattern_.Parsed(ParseBytes);
        request.mask = mask_.Parsed(ParseBytes);
    }
    if (mode_.IsGiven()) {
        request.mode = mode_.Parsed(ParseBytes);
    }
    if (!tableId_.IsGiven() && !pattern_.IsGiven()) {
        throw CLI::RequiredError("--table-id or --pattern");
    }
    if (request.mask.size() != request.pattern.size() ||
        (!request.mode.empty() && request.mode.size() != request.pattern.size())) {
        throw CLI::ValidationError("--mask and --mode", "must be as long as --pattern");
    }
    request.filterMode = filterMode_ == "toggle"     ? ISectionManager::EToggle
                         : filterMode_ == "one-shot" ? ISectionManager::EOneShot
                                                     : ISectionManager::EContinuous;
    request.fromCache = fromCache_;
}

void SectionsOptions::ReadEndAndFormat(SectionsRequest& request) const {
    if (timeout_.IsGiven()) {
        request.timeout = timeout_.Parsed(ParseDuration);
    }
    if (count_.IsGiven()) {
        request.count = count_.Number(UINT64_MAX);
        if (*request.count == 0) {
            throw CLI::ValidationError("--count", "must be at least 1");
        }
    }
    request.format = format_ == "json"     ? SectionsRequest::kJson
                     : format_ == "binary" ? SectionsRequest::kBinary
                                           : SectionsRequest::kHex;
}

}  // namespace tool

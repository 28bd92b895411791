#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "SI/Include/ISectionManager.h"
#include "client/Barrier.h"
#include "tools/torvelsi/Arguments.h"
#include "tools/torvelsi/Command.h"
#include "tools/torvelsi/ExitCode.h"
#include "tools/torvelsi/Format.h"
#include "tools/torvelsi/Progress.h"
#include "tools/torvelsi/ReceiverOptions.h"
#include "tools/torvelsi/Session.h"
#include "tools/torvelsi/TextOption.h"

namespace tool {

namespace {

using TORVEL_MW::ISectionManager;
using tvservice::InputEnd;
using tvservice::SoftwarePlatform;

constexpr unsigned int kNoTimeout = 0xFFFFFFFF;
constexpr int kSyntaxHeader = 8;  // bytes up to last_section_number
constexpr std::chrono::milliseconds kSignalPoll(50);
constexpr std::chrono::seconds kTimeoutGrace(1);  // for a busy machine to tell of a time-out

enum class SectionsFormat { kHex, kJson, kBinary };

struct Request {
    ReceiverOptions receiver;
    unsigned short pid = 0;
    std::optional<unsigned int> tableId;
    std::optional<unsigned int> extension;
    std::vector<unsigned char> pattern;
    std::vector<unsigned char> mask;
    std::vector<unsigned char> mode;
    ISectionManager::EFilterMode filterMode = ISectionManager::EContinuous;
    unsigned int timeout = kNoTimeout;
    std::optional<std::uint64_t> count;
    bool fromCache = false;
    SectionsFormat format = SectionsFormat::kHex;
};

/// The fields of a section's header (ISO/IEC 13818-1 2.4.4.11) that show what it is.
Json SectionToJson(unsigned short id, unsigned short pid, const unsigned char* data,
                   unsigned short length) {
    const bool syntax = length >= kSyntaxHeader && (data[1] & 0x80) != 0;
    Json json = {{"id", id}, {"pid", pid}, {"length", length}, {"table_id", data[0]}};
    const auto optional = [&](const char* name, int value) {
        json[name] = syntax ? Json(value) : Json();
    };
    optional("table_id_extension", syntax ? data[3] << 8 | data[4] : 0);
    optional("version_number", syntax ? data[5] >> 1 & 0x1F : 0);
    json["current_next_indicator"] = syntax ? Json((data[5] & 1) != 0) : Json();
    optional("section_number", syntax ? data[6] : 0);
    optional("last_section_number", syntax ? data[7] : 0);
    json["data"] = Hex(data, length);
    return json;
}

std::string SectionToText(unsigned short id, unsigned short pid, const unsigned char* data,
                          unsigned short length) {
    constexpr int kBytesPerLine = 16;
    std::string text =
        fmt::format("subscription {}, PID {}, table_id {}", id, Id16(pid), Id8(data[0]));
    if (length >= kSyntaxHeader && (data[1] & 0x80) != 0) {
        text +=
            fmt::format(", extension {}, version {}{}, section {} of 0 to {}",
                        Id16(static_cast<unsigned int>(data[3] << 8 | data[4])),
                        data[5] >> 1 & 0x1F, (data[5] & 1) != 0 ? "" : " (next)", data[6], data[7]);
    }
    text += fmt::format(", {} bytes\n", length);
    for (int at = 0; at < length; at += kBytesPerLine) {
        const int end = std::min<int>(at + kBytesPerLine, length);
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

/// Prints each section on the event thread. Lives as long as the process: after an interruption
/// sections may still be on their way to it.
class Printer : public TORVEL_MW::ISectionObserver {
  public:
    explicit Printer(const Request& request)
        : format_(request.format),
          isOneShot_(request.filterMode == ISectionManager::EOneShot),
          wanted_(isOneShot_ ? std::optional<std::uint64_t>(1) : request.count),
          armed_(request.timeout != kNoTimeout) {}

    void OnSectionReceived(unsigned short id, unsigned short pid, unsigned short length,
                           unsigned char* data) override {
        std::lock_guard<std::mutex> lock(mutex_);
        armed_ = false;
        if (closed_ || Enough()) {
            return;
        }
        std::string text;
        if (format_ == SectionsFormat::kBinary) {
            text.assign(data, data + length);
        } else if (format_ == SectionsFormat::kHex) {
            text = SectionToText(id, pid, data, length);
        } else {
            text = fmt::format("{}\n    {}", sections_ == 0 ? "" : ",",
                               SectionToJson(id, pid, data, length).dump());
        }
        std::fwrite(text.data(), 1, text.size(), stdout);
        if (std::fflush(stdout) != 0) {  // told when the tool ends
            closed_ = true;
            SoftwarePlatform::Instance().Interrupt();
            return;
        }
        ++sections_;
        changed_.notify_all();
        if (Enough()) {
            SoftwarePlatform::Instance().Interrupt();
        }
    }

    void OnSectionTimeout(unsigned int id) override {
        std::lock_guard<std::mutex> lock(mutex_);
        armed_ = false;
        timedOut_ = true;
        changed_.notify_all();
        if (!closed_) {
            PrintError(fmt::format("subscription {}: no section within the time-out", id));
        }
    }

    /// Tells that the subscription has been made, and that its time-out runs.
    void Subscribed(unsigned int timeout) {
        std::lock_guard<std::mutex> lock(mutex_);
        due_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
    }

    /// Waits for the time-out while it is armed and nothing has come, or for a signal. A section
    /// without a byte uses up a one-shot and stops its time-out, and nobody is told: there the
    /// waiting ends a little after the time-out was due.
    void WaitForTimeout() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (armed_ && !Interrupted()) {
            if (isOneShot_ && std::chrono::steady_clock::now() > due_ + kTimeoutGrace) {
                PrintError("no section came, and no time-out: an empty one used up the one-shot");
                return;
            }
            changed_.wait_for(lock, kSignalPoll);  // a signal cannot notify
        }
    }

    /// Ends what plays once the time-out has passed, for inputs that may have no end of their own.
    /// Returns when Played has been called.
    void EndWithTimeout() {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!played_) {
            if (timedOut_) {  // again and again: it may have passed before anything played
                SoftwarePlatform::Instance().Interrupt();
            }
            changed_.wait_for(lock, kSignalPoll);
        }
    }

    void Played() {
        std::lock_guard<std::mutex> lock(mutex_);
        played_ = true;
        changed_.notify_all();
    }

    /// Nothing is printed after this.
    void Close() {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }

    std::uint64_t Sections() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return sections_;
    }

    bool TimedOut() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return timedOut_;
    }

    bool GotAllWanted() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return !wanted_ || Enough();
    }

  private:
    bool Enough() const { return wanted_ && sections_ >= *wanted_; }

    const SectionsFormat format_;
    const bool isOneShot_;
    const std::optional<std::uint64_t> wanted_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool armed_;                                 // guarded by mutex_, as all below
    std::chrono::steady_clock::time_point due_;  // of an armed time-out
    bool timedOut_ = false;
    bool played_ = false;
    bool closed_ = false;
    std::uint64_t sections_ = 0;
};

/// While it lives, the printer's time-out ends what plays.
class TimeoutWatch {
  public:
    explicit TimeoutWatch(Printer& printer)
        : printer_(printer), thread_([&printer] { printer.EndWithTimeout(); }) {}
    TimeoutWatch(const TimeoutWatch&) = delete;
    TimeoutWatch& operator=(const TimeoutWatch&) = delete;
    ~TimeoutWatch() {
        printer_.Played();
        thread_.join();
    }

  private:
    Printer& printer_;
    std::thread thread_;
};

unsigned int Subscribe(const Request& request, Printer& printer) {
    ISectionManager& manager = *ISectionManager::Instance();
    if (!request.tableId) {
        return manager.Subscribe(request.pid, request.pattern, request.mask, request.mode, printer,
                                 request.filterMode, request.timeout);
    }
    if (request.extension) {
        return manager.Subscribe(request.pid, *request.tableId, *request.extension, printer,
                                 request.filterMode, request.timeout);
    }
    return manager.Subscribe(request.pid, *request.tableId, printer, request.filterMode,
                             request.timeout, request.fromCache);
}

/// Begins a JSON document; `subscription` is "null" where none was made.
void BeginOutput(const Request& request, const std::string& subscription) {
    if (request.format == SectionsFormat::kJson) {
        fmt::print(
            "{{\n  \"schema\": \"torvelsi-sections/1\",\n  \"subscription\": {},\n"
            "  \"sections\": [",
            subscription);
    }
}

/// Subscribes for the printer and begins its document.
/// @return false when the platform refused the filter
bool Begin(const Request& request, Printer& printer) {
    const unsigned int id = Subscribe(request, printer);
    if (id == 0) {
        return false;
    }
    printer.Subscribed(request.timeout);
    BeginOutput(request, std::to_string(id));
    return true;
}

/// A client that has the table before the printer, which comes when the table begins to repeat and
/// so is in the cache. Lives as long as the process.
class FirstClient : public TORVEL_MW::ISectionObserver {
  public:
    FirstClient(const Request& request, Printer& printer) : request_(request), printer_(printer) {}

    bool Subscribe() {
        return ISectionManager::Instance()->Subscribe(request_.pid, *request_.tableId, *this,
                                                      ISectionManager::EContinuous, kNoTimeout,
                                                      false) != 0;
    }

    void OnSectionReceived(unsigned short /*id*/, unsigned short /*pid*/, unsigned short length,
                           unsigned char* data) override {
        constexpr std::size_t kMostSections = 4096;
        std::lock_guard<std::mutex> lock(mutex_);
        if (outcome_ != kWaiting ||
            (seen_.emplace(data, data + length).second && seen_.size() < kMostSections)) {
            return;
        }
        outcome_ = Begin(request_, printer_) ? kBegun : kRefused;
        if (outcome_ == kRefused) {
            SoftwarePlatform::Instance().Interrupt();
        }
    }

    void OnSectionTimeout(unsigned int /*id*/) override {}

    enum Outcome { kWaiting, kBegun, kRefused, kOver };

    /// What came of it; the printer does not begin any more.
    Outcome End() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (outcome_ == kWaiting) {
            outcome_ = kOver;
        }
        return outcome_;
    }

  private:
    const Request request_;
    Printer& printer_;
    std::mutex mutex_;                           // held while the printer begins
    std::set<std::vector<unsigned char>> seen_;  // guarded by mutex_
    Outcome outcome_ = kWaiting;                 // guarded by mutex_
};

int Refused() {
    PrintError("the platform refused the filter");
    return kUsage;
}

InputEnd Play(tvservice::SourcePtr source, const tvservice::SourceInfo& info) {
    const Progress progress(info.size);
    tvservice::PlayOptions options;
    // A toggling filter is re-armed when its section has been handled: what the next packet
    // brings must wait for that.
    options.reading = tvservice::PlayOptions::kLockStep;
    SoftwarePlatform& platform = SoftwarePlatform::Instance();
    return platform.Play(std::move(source), options)
               ? platform.WaitEnd()
               : InputEnd{InputEnd::kFailed, info.name + ": cannot be played"};
}

/// What stands behind the sections.
void EndOutput(const Request& request, const Printer& printer, const std::string& name) {
    const SoftwarePlatform& platform = SoftwarePlatform::Instance();
    const std::vector<tvservice::CounterValue> counters = platform.Counters();
    const std::vector<tvservice::CounterValue> faults = platform.FaultCounts();
    if (request.format != SectionsFormat::kJson) {
        fmt::print(stderr, "{} sections from {}\n{}{}", printer.Sections(), Printable(name),
                   CountersToText(counters), CountersToText(faults));
        return;
    }
    const client::InputFacts input{name, platform.PacketSize(), platform.Counter("packets"),
                                   platform.Counter("bytes")};
    fmt::print("{}],\n  \"timed_out\": {},\n  \"input\": {},\n  \"counters\": {}{}\n}}\n",
               printer.Sections() == 0 ? "" : "\n  ", printer.TimedOut(),
               InputToJson(input).dump(-1, ' ', false, Json::error_handler_t::replace),
               CountersToJson(counters).dump(),
               faults.empty() ? "" : ",\n  \"faults\": " + FaultsToJson(faults).dump());
}

int Sections(const Request& request) {
    tvservice::SourcePtr source;
    if (const int failure = OpenAndStart(request.receiver, source); failure != kDone) {
        return failure;
    }
    const tvservice::SourceInfo info = tvservice::Describe(*source);
    // Both to the end of the process, as the event thread that may still call them.
    static Printer& printer = *new Printer(request);
    [[maybe_unused]] static client::Barrier& barrier = *new client::Barrier;
    FirstClient* const first = request.fromCache ? new FirstClient(request, printer) : nullptr;
    if (!(first != nullptr ? first->Subscribe() : Begin(request, printer))) {
        return Refused();
    }
    std::optional<TimeoutWatch> watch;
    if (info.live || !info.rewindable) {
        watch.emplace(printer);
    }
    const InputEnd end = Play(std::move(source), info);
    watch.reset();
    const FirstClient::Outcome outcome = first != nullptr ? first->End() : FirstClient::kBegun;
    if (outcome == FirstClient::kRefused) {
        return Refused();
    }
    const bool isBegun = outcome == FirstClient::kBegun;
    if (isBegun) {
        printer.WaitForTimeout();
    } else {
        BeginOutput(request, "null");
    }
    printer.Close();
    SayWhatIsAmiss();
    EndOutput(request, printer, info.name);
    if (end.reason == InputEnd::kFailed) {
        PrintError(end.error);
        return kUnreadable;
    }
    if (!isBegun && !Interrupted()) {
        PrintError("the table did not repeat, so that the cache was not asked for it");
        return kIncomplete;
    }
    if (printer.TimedOut()) {
        return kIncomplete;
    }
    return printer.GotAllWanted() ? kDone : kIncomplete;
}

struct Options {
    TextOption pid, tableId, extension, pattern, mask, mode, timeout, count;
    std::string filterMode = "continuous";
    std::string format = "hex";
    bool fromCache = false;
};

void AddFilterOptions(CLI::App& command, Options& options) {
    options.pid.Add(command, "--pid", "the PID; numbers are decimal or 0x hexadecimal")->required();
    CLI::Option* tableId = options.tableId.Add(command, "--table-id", "filter by this table_id");
    CLI::Option* extension =
        options.extension.Add(command, "--extension", "and by this table_id_extension")
            ->needs(tableId);
    CLI::Option* pattern = options.pattern.Add(
        command, "--pattern", "filter by these bytes, in hexadecimal, from table_id on");
    CLI::Option* mask =
        options.mask.Add(command, "--mask",
                         "which bits of the pattern count, as many bytes; 00 lets everything pass");
    options.mode
        .Add(command, "--mode", "bits that are 1: at least one of them must differ; as many bytes")
        ->needs(pattern);
    pattern->needs(mask)->excludes(tableId);
    mask->needs(pattern);
    command
        .add_flag("--from-cache", options.fromCache,
                  "be the second client: let another one have the table first, subscribe when it "
                  "begins to repeat, and show what the receiver's cache holds, then what comes")
        ->needs(tableId)
        ->excludes(extension);
    command
        .add_option("--filter-mode", options.filterMode,
                    "continuous, one-shot (the first section only) or toggle (after each section "
                    "the other table_id of a pair)")
        ->check(CLI::IsMember({"continuous", "one-shot", "toggle"}))
        ->capture_default_str();
}

void AddEndAndFormatOptions(CLI::App& command, Options& options) {
    options.timeout.Add(command, "--timeout",
                        "how long to wait for the first section: a number with ms, s (if none is "
                        "given) or min; what is no file is left then");
    options.count.Add(command, "--count", "end after so many sections");
    command
        .add_option("--format", options.format,
                    "hex for people, json for programs, binary for the bare sections")
        ->check(CLI::IsMember({"hex", "json", "binary"}))
        ->capture_default_str();
}

/// Fills in what the filter matches.
void ReadFilter(const Options& options, Request& request) {
    request.pid = static_cast<unsigned short>(options.pid.Number(0x1FFF));
    if (options.tableId.IsGiven()) {
        request.tableId = static_cast<unsigned int>(options.tableId.Number(0xFF));
    }
    if (options.extension.IsGiven()) {
        request.extension = static_cast<unsigned int>(options.extension.Number(0xFFFF));
    }
    if (options.pattern.IsGiven()) {
        request.pattern = options.pattern.Parsed(ParseBytes);
        request.mask = options.mask.Parsed(ParseBytes);
    }
    if (options.mode.IsGiven()) {
        request.mode = options.mode.Parsed(ParseBytes);
    }
    if (!options.tableId.IsGiven() && !options.pattern.IsGiven()) {
        throw CLI::RequiredError("--table-id or --pattern");
    }
    if (request.mask.size() != request.pattern.size() ||
        (!request.mode.empty() && request.mode.size() != request.pattern.size())) {
        throw CLI::ValidationError("--mask and --mode", "must be as long as --pattern");
    }
    request.filterMode = options.filterMode == "toggle"     ? ISectionManager::EToggle
                         : options.filterMode == "one-shot" ? ISectionManager::EOneShot
                                                            : ISectionManager::EContinuous;
    request.fromCache = options.fromCache;
}

/// Fills in when it ends and what is printed.
void ReadEndAndFormat(const Options& options, Request& request) {
    if (options.timeout.IsGiven()) {
        request.timeout = options.timeout.Parsed(ParseDuration);
    }
    if (options.count.IsGiven()) {
        request.count = options.count.Number(UINT64_MAX);
        if (*request.count == 0) {
            throw CLI::ValidationError("--count", "at least one section");
        }
    }
    request.format = options.format == "json"     ? SectionsFormat::kJson
                     : options.format == "binary" ? SectionsFormat::kBinary
                                                  : SectionsFormat::kHex;
}

}  // namespace

void AddSectionsCommand(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "sections", "Show the sections that a filter of the section manager lets through");
    const auto receiver = AddReceiverOptions(*command);
    AddFilterOptions(*command, *options);
    AddEndAndFormatOptions(*command, *options);
    command->callback([options, receiver, &run] {
        Request request;
        request.receiver = *receiver;
        ReadFilter(*options, request);
        ReadEndAndFormat(*options, request);
        run = [request] { return Sections(request); };
    });
}

}  // namespace tool

#include "tools/torvelsi/SectionsPrinter.h"

#include <fmt/format.h>

#include <cstdio>
#include <string>

#include "softplatform/service/SoftwarePlatform.h"
#include "tools/torvelsi/SectionsDocument.h"
#include "tools/torvelsi/Session.h"

namespace tool {

namespace {
constexpr std::chrono::milliseconds kSignalPoll(50);
constexpr std::chrono::seconds kTimeoutGrace(1);  // a busy machine may report a time-out late
}  // namespace

SectionsPrinter::SectionsPrinter(const SectionsRequest& request)
    : format_(request.format),
      isOneShot_(request.IsOneShot()),
      timeout_(request.timeout),
      wanted_(isOneShot_ ? std::optional<std::uint64_t>(1) : request.count),
      isTimeoutRunning_(request.timeout != SectionsRequest::kNoTimeout) {}

void SectionsPrinter::OnSectionReceived(unsigned short id, unsigned short pid,
                                        unsigned short length, unsigned char* data) {
    std::lock_guard<std::mutex> lock(mutex_);
    isTimeoutRunning_ = false;
    if (closed_ || Enough()) {
        return;
    }
    const ReceivedSection section{id, pid, data, length};
    std::string text;
    switch (format_) {
        case SectionsRequest::kBinary:
            text.assign(data, data + length);
            break;
        case SectionsRequest::kHex:
            text = SectionText(section);
            break;
        case SectionsRequest::kJson:
            text = SectionsEntry(section, sections_);
            break;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (std::fflush(stdout) != 0) {  // main prints the error when the tool ends
        closed_ = true;
        tvservice::SoftwarePlatform::Instance().Interrupt();
        return;
    }
    ++sections_;
    changed_.notify_all();
    if (Enough()) {
        tvservice::SoftwarePlatform::Instance().Interrupt();
    }
}

void SectionsPrinter::OnSectionTimeout(unsigned int id) {
    std::lock_guard<std::mutex> lock(mutex_);
    isTimeoutRunning_ = false;
    timedOut_ = true;
    changed_.notify_all();
    if (!closed_) {
        PrintError(fmt::format("subscription {}: no section within the time-out", id));
    }
}

void SectionsPrinter::Subscribed() {
    std::lock_guard<std::mutex> lock(mutex_);
    due_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_);
}

void SectionsPrinter::WaitForTimeout() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (isTimeoutRunning_ && !Interrupted()) {
        if (isOneShot_ && std::chrono::steady_clock::now() > due_ + kTimeoutGrace) {
            PrintError("the one-shot was consumed by an empty section");
            return;
        }
        changed_.wait_for(lock, kSignalPoll);  // polls, because a signal does not notify
    }
}

void SectionsPrinter::EndWithTimeout() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!played_) {
        if (timedOut_) {  // again and again, because the source may begin to play only later
            tvservice::SoftwarePlatform::Instance().Interrupt();
        }
        changed_.wait_for(lock, kSignalPoll);
    }
}

void SectionsPrinter::Played() {
    std::lock_guard<std::mutex> lock(mutex_);
    played_ = true;
    changed_.notify_all();
}

void SectionsPrinter::Close() {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
}

std::uint64_t SectionsPrinter::Sections() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sections_;
}

bool SectionsPrinter::TimedOut() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return timedOut_;
}

bool SectionsPrinter::GotAllWanted() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !wanted_ || Enough();
}

}  // namespace tool

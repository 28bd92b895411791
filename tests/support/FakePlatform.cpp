#include "tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/Log.h"
#include "platform/TCSectionCriteriaHelper.h"
#include "platform/TCSectionFilterCriteriaHelper.h"
#include "tests/support/FakeLogFormats.h"
#include "tests/support/FakeTables.h"

namespace fake {

namespace {

constexpr std::chrono::seconds kPatience(20);

// The source files whose log lines have fixed line numbers.
bool HasFixedNumbers(const std::string& file) {
    return file == "KorvoSectionManager.cpp" || file == "DescriptorsKorvo.cpp" ||
           file == "NITParserKorvo.cpp" || file == "BATParserKorvo.cpp";
}

/// The source files of the SI layer. The line numbers of log lines are checked against them.
class Sources {
  public:
    Sources() {
        for (const auto& entry : std::filesystem::recursive_directory_iterator(SI_SOURCES)) {
            std::ifstream file(entry.path());
            std::vector<std::string>& lines = files_[entry.path().filename().string()];
            for (std::string line; std::getline(file, line);) {
                lines.push_back(line);
            }
        }
    }

    /// Returns whether the statement on this line of the file writes to the log. Compilers give a
    /// statement of several lines the number of its first or of its last line. For a file that is
    /// no source of the SI layer the answer is true.
    bool LogAt(const std::string& file, std::size_t number) const {
        const auto found = files_.find(file);
        if (found == files_.end()) {
            return true;
        }
        if (number > found->second.size()) {
            return false;
        }
        for (; number > 0; --number) {
            const std::string& line = found->second[number - 1];
            if (line.find("SI_LOG(") != std::string::npos ||
                line.find("SI_LOG_PLACE(") != std::string::npos) {
                return true;
            }
            const std::string before = number > 1 ? found->second[number - 2] : ";";
            if (before.empty() || std::string(";{}").find(before.back()) != std::string::npos) {
                return false;
            }
        }
        return false;
    }

  private:
    std::map<std::string, std::vector<std::string>> files_;
};

const Sources& TheSources() {
    static const Sources& sources = *new Sources;
    return sources;
}

// "File.cpp: Function(12) > text" -> "5 File.cpp Function(*) > text". Checks the format.
std::string Normalised(int priority, const std::string& format, const std::string& text) {
    const std::size_t colon = text.find(": ");
    const std::size_t open = text.find('(', colon);
    const std::size_t close = text.find(") > ", open);
    if (colon == std::string::npos || open == std::string::npos || close == std::string::npos) {
        ADD_FAILURE() << "a log line without its prefix: " << text;
        return text;
    }
    const std::string file = text.substr(0, colon);
    const std::string number = text.substr(open + 1, close - open - 1);
    if (!HasFixedNumbers(file)) {
        EXPECT_TRUE(TheSources().LogAt(file, std::strtoul(number.c_str(), nullptr, 10)))
            << "no log statement of " << file << " is on that line: " << text;
    }
    EXPECT_TRUE(IsFormatOf(file, format)) << file << " has no log line of the format " << format;
    return std::to_string(priority) + " " + file + " " + text.substr(colon + 2, open - colon - 2) +
           "(" + (HasFixedNumbers(file) ? number : "*") + text.substr(close);
}

}  // namespace

FakePlatform& FakePlatform::Get() {
    static FakePlatform& platform = *new FakePlatform;
    return platform;
}

void FakePlatform::Reset() {
    TheSources();  // read here, so that no test counts the memory as its own
    ResetTables();
    ResetDescriptors();
    duringCreation = nullptr;
    duringRequest = nullptr;
    duringRelease = nullptr;
    duringLog = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    pat = PatScript();
    replies_.clear();
    releases_.clear();
    hasSubscriber_ = true;
    nextHandle_ = 100;
    requests_.clear();
    released_.clear();
    log_.clear();
}

void FakePlatform::NextReply(Reply reply) {
    std::lock_guard<std::mutex> lock(mutex_);
    replies_.push_back(reply);
}

void FakePlatform::NextRelease(bool result) {
    std::lock_guard<std::mutex> lock(mutex_);
    releases_.push_back(result);
}

void FakePlatform::HaveNoSubscriber() {
    std::lock_guard<std::mutex> lock(mutex_);
    hasSubscriber_ = false;
}

std::vector<Request> FakePlatform::Requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

std::vector<int> FakePlatform::Released() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return released_;
}

bool FakePlatform::IsReleased(int handle) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::find(released_.begin(), released_.end(), handle) != released_.end();
}

int FakePlatform::SubscribersMade() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return subscribersMade_;
}

std::vector<std::string> FakePlatform::TakeLog() {
    std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(log_, {});
}

bool FakePlatform::WaitForLog(const std::string& line) {
    return WaitForLog(line, 1);
}

bool FakePlatform::WaitForLog(const std::string& line, int count) {
    std::unique_lock<std::mutex> lock(mutex_);
    return logged_.wait_for(lock, kPatience,
                            [&] { return std::count(log_.begin(), log_.end(), line) >= count; });
}

void FakePlatform::Deliver(int id, Bytes section, bool flag) {
    std::thread([&] {
        callback(flag, static_cast<unsigned short>(section.size()), section.data(), id);
        // Until now only the platform could change these bytes.
        std::fill(section.begin(), section.end(), static_cast<unsigned char>(0xEE));
    }).join();
}

int FakePlatform::SubscribeTable(int id, TCSectionCriteriaHelper* criteria, int* handle) {
    return Answer({true,
                   id,
                   criteria->m_pid,
                   criteria->m_tableId,
                   criteria->m_reserved,
                   criteria->m_selector,
                   {},
                   {},
                   {},
                   criteria->m_flag,
                   *handle},
                  handle);
}

int FakePlatform::SubscribeFilter(int id, TCSectionFilterCriteriaHelper* criteria, int* handle) {
    return Answer({false, id, criteria->m_pid, 0, 0, 0, criteria->m_filter, criteria->m_mask,
                   criteria->m_mode, criteria->m_flag, *handle},
                  handle);
}

int FakePlatform::Answer(Request request, int* handle) {
    Reply reply;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        requests_.push_back(request);
        if (replies_.empty()) {
            reply.handle = nextHandle_++;
        } else {
            reply = replies_.front();
            replies_.pop_front();
        }
    }
    if (const auto hook = duringRequest) {  // a copy, because a hook may remove itself
        hook(request);
    }
    if (reply.handle) {
        *handle = *reply.handle;
    }
    return reply.result;
}

bool FakePlatform::Unsubscribe(int handle) {
    bool result = true;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        released_.push_back(handle);
        if (!releases_.empty()) {
            result = releases_.front();
            releases_.pop_front();
        }
    }
    if (const auto hook = duringRelease) {
        hook(handle);
    }
    return result;
}

ISectionSubscriber* FakePlatform::MakeSubscriber(TVServiceAPI::SectionCallback sectionCallback,
                                                 int theProfile, int theParameter) {
    std::unique_lock<std::mutex> lock(mutex_);
    ++subscribersMade_;
    callback = sectionCallback;
    profile = theProfile;
    parameter = theParameter;
    lock.unlock();
    if (const auto hook = duringCreation) {
        hook();
    }
    lock.lock();
    return hasSubscriber_ ? this : nullptr;
}

void FakePlatform::WriteLog(int bufferId, int priority, const char* tag, const std::string& format,
                            const std::string& text) {
    EXPECT_EQ(bufferId, 0);
    EXPECT_STREQ(tag, "TORVEL");
    const std::string line = Normalised(priority, format, text);
    {
        std::lock_guard<std::mutex> lock(mutex_);
        log_.push_back(line);
    }
    logged_.notify_all();
    if (const auto hook = duringLog) {
        hook(line);
    }
}

}  // namespace fake

int LOG(int bufferId, int priority, const char* tag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    char text[2000];
    const int size = std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    EXPECT_LT(size, static_cast<int>(sizeof(text)));
    fake::FakePlatform::Get().WriteLog(bufferId, priority, tag, format, text);
    return -1;
}

int TVServiceAPI::CreateSectionSubscriber(SectionCallback callback, EProfile profile, int parameter,
                                          ISectionSubscriber** subscriber) {
    *subscriber = fake::FakePlatform::Get().MakeSubscriber(callback, profile, parameter);
    return -1;
}

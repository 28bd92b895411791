#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace tool {

/// Shows the progress of the source that plays: one line on standard error, rewritten a few times a
/// second and erased at the end. Does nothing when standard error is not a terminal.
class Progress {
  public:
    /// @param totalBytes  the size of the source; 0 when unknown
    /// @param note        returns the text before the figures; called on a thread of this object;
    ///                    may be empty
    explicit Progress(std::uint64_t totalBytes, std::function<std::string()> note = {});
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

  private:
    void Show();

    const std::uint64_t totalBytes_;
    const std::function<std::string()> note_;
    std::mutex mutex_;
    std::condition_variable ended_;
    bool end_ = false;  // guarded by mutex_
    std::thread thread_;
};

}  // namespace tool

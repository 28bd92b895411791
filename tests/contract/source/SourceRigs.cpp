#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "softplatform/fault/FaultPlan.h"
#include "softplatform/fault/FaultySource.h"
#include "softplatform/input/BufferSource.h"
#include "softplatform/input/FileSource.h"
#include "softplatform/input/FollowSource.h"
#include "softplatform/input/LoopSource.h"
#include "softplatform/input/MappedSource.h"
#include "softplatform/input/PaceSource.h"
#include "softplatform/input/RtpSource.h"
#include "softplatform/input/StreamSource.h"
#include "softplatform/input/UdpSource.h"
#include "tests/contract/source/SourceRig.h"
#include "tests/support/TempDir.h"
#include "tests/unit/input/PcrBytes.h"
#include "tests/unit/input/RtpBytes.h"
#include "tests/unit/input/Sender.h"

namespace testsupport {

using tvservice::ByteSource;
using tvservice::FileDescriptor;

namespace {

// Replaces the open descriptor by one that cannot be read: that of a directory.
void Spoil(int descriptor) {
    const FileDescriptor directory(::open("/", O_RDONLY | O_CLOEXEC));
    if (::dup2(directory.get(), descriptor) < 0) {
        ADD_FAILURE() << "dup2";
    }
}

class MemoryRig final : public SourceRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return std::make_shared<tvservice::BufferSource>("memory", content, 0);
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        // Reading byte by byte takes as long as the test needs.
        return std::make_shared<tvservice::LoopSource>(
            std::make_shared<tvservice::BufferSource>("memory", Bytes(1 << 20), 1));
    }
};

class FileRig : public SourceRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return OpenFile(dir_.WriteFile("stream.ts", content), content.size());
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        constexpr off_t kSize = off_t{1} << 40;  // a sparse file
        const std::string path = dir_.WriteFile("stream.ts", {});
        EXPECT_EQ(::truncate(path.c_str(), kSize), 0);
        return OpenFile(path, kSize);
    }
    void Add(const Bytes& content) override {
        std::ofstream file(dir_.Path("stream.ts"), std::ios::binary | std::ios::app);
        file.write(reinterpret_cast<const char*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
    }
    void Break() override { Spoil(descriptor_); }

  protected:
    virtual std::shared_ptr<ByteSource> Make(const std::string& path, FileDescriptor file,
                                             uint64_t size) const {
        return std::make_shared<tvservice::FileSource>(path, std::move(file), size);
    }

  private:
    std::shared_ptr<ByteSource> OpenFile(const std::string& path, uint64_t size) {
        FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        descriptor_ = file.get();
        return Make(path, std::move(file), size);
    }

    const TempDir dir_;
    int descriptor_ = -1;
};

// Reads the file in windows that are shorter than the stream.
class MappedFileRig final : public FileRig {
  protected:
    std::shared_ptr<ByteSource> Make(const std::string& path, FileDescriptor file,
                                     uint64_t size) const override {
        return std::make_shared<tvservice::MappedSource>(
            path, std::move(file), size, static_cast<size_t>(::sysconf(_SC_PAGESIZE)));
    }
};

class PipeRig : public SourceRig {
  public:
    explicit PipeRig(bool isLive = false) : isLive_(isLive) {}
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        std::shared_ptr<ByteSource> source = OpenEndless();
        Add(content);
        return source;
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        descriptor_ = ends[0];
        in_ = FileDescriptor(ends[1]);
        return std::make_shared<tvservice::StreamSource>("a pipe", FileDescriptor(ends[0]),
                                                         isLive_);
    }
    void Add(const Bytes& content) override {
        EXPECT_EQ(::write(in_.get(), content.data(), content.size()),
                  static_cast<ssize_t>(content.size()));
    }
    void Close() override { in_ = FileDescriptor(); }
    void Break() override { Spoil(descriptor_); }

  private:
    const bool isLive_;
    FileDescriptor in_;
    int descriptor_ = -1;
};

// The packets of a tuned adapter. Such a stream ends only when the driver fails.
class DvrRig final : public PipeRig {
  public:
    DvrRig() : PipeRig(true) {}
};

// Sends seven packets in each datagram.
constexpr size_t kDatagram = size_t{7} * 188;

class UdpRig : public SourceRig {
  public:
    explicit UdpRig(std::string host = "127.0.0.1") : host_(std::move(host)) {}

    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        std::shared_ptr<ByteSource> source = OpenEndless();
        Add(content);
        return source;
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        const bool isIpv6 = host_.find(':') != std::string::npos;
        std::string error;
        const auto source = tvservice::UdpSource::Open(
            "udp://" + (isIpv6 ? "[" + host_ + "]" : host_) + ":0", error);
        EXPECT_TRUE(source) << error;
        descriptor_ = source->descriptor();
        sender_ = std::make_unique<Sender>(source->port(), host_);
        return source;
    }
    void Add(const Bytes& content) override {
        for (size_t at = 0; at < content.size(); at += kDatagram) {
            sender_->Send(Slice(content, at, kDatagram));
        }
    }
    void Break() override { Spoil(descriptor_); }

  private:
    const std::string host_;
    std::unique_ptr<Sender> sender_;
    int descriptor_ = -1;
};

class Udp6Rig final : public UdpRig {
  public:
    Udp6Rig() : UdpRig("::1") {}
};

class RtpRig final : public SourceRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        std::shared_ptr<ByteSource> source = OpenEndless();
        Add(content);
        return source;
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        std::string error;
        const auto source = tvservice::RtpSource::Open("rtp://127.0.0.1:0", error);
        EXPECT_TRUE(source) << error;
        descriptor_ = source->descriptor();
        sender_ = std::make_unique<Sender>(source->port());
        return source;
    }
    void Add(const Bytes& content) override {
        for (size_t at = 0; at < content.size(); at += kDatagram) {
            sender_->Send(RtpBytes{.sequence_number = sequence_number_++}.Build(
                Slice(content, at, kDatagram)));
        }
    }
    void Break() override { Spoil(descriptor_); }

  private:
    std::unique_ptr<Sender> sender_;
    uint16_t sequence_number_ = 65533;
    int descriptor_ = -1;
};

class LoopRig final : public FileRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return std::make_shared<tvservice::LoopSource>(FileRig::Open(content));
    }
    std::shared_ptr<ByteSource> OpenEndless() override { return Open(ContractStream()); }
};

class FollowRig final : public FileRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return std::make_shared<tvservice::FollowSource>(
            FileRig::Open(content), std::make_unique<tvservice::SystemTimer>());
    }
    std::shared_ptr<ByteSource> OpenEndless() override { return Open(ContractStream()); }
};

std::shared_ptr<ByteSource> Pace(std::shared_ptr<ByteSource> source, double speed) {
    return std::make_shared<tvservice::PaceSource>(
        std::move(source), std::make_unique<tvservice::SystemTimer>(), speed);
}

constexpr double kVerySlow = 1e-5;

class PacedFileRig final : public FileRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return Pace(FileRig::Open(content), 1);
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        return Pace(FileRig::Open(ContractStream()), kVerySlow);
    }
};

class PacedPipeRig final : public PipeRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        std::shared_ptr<ByteSource> source = Pace(PipeRig::OpenEndless(), 1);
        Add(content);
        return source;
    }
    std::shared_ptr<ByteSource> OpenEndless() override {
        return Pace(PipeRig::OpenEndless(), kVerySlow);
    }
};

// Applies a fault plan whose only fault is behind the end of every stream.
class FaultyFileRig final : public FileRig {
  public:
    std::shared_ptr<ByteSource> Open(const Bytes& content) override {
        return Faulty(FileRig::Open(content));
    }
    std::shared_ptr<ByteSource> OpenEndless() override { return Faulty(FileRig::OpenEndless()); }

  private:
    static std::shared_ptr<ByteSource> Faulty(std::shared_ptr<ByteSource> source) {
        std::string error;
        return std::make_shared<tvservice::FaultySource>(
            std::move(source), tvservice::FaultPlan::Parse({"drop@1000000000"}, 1, error));
    }
};

template <typename Rig>
std::unique_ptr<SourceRig> Make() {
    return std::make_unique<Rig>();
}

}  // namespace

void SourceRig::Add(const Bytes&) {
    throw std::logic_error("this kind of source does not wait");
}

void SourceRig::Break() {
    throw std::logic_error("this kind of source does not fail");
}

const std::vector<SourceKind>& SourceKinds() {
    static const std::vector<SourceKind> kinds = [] {
        std::vector<SourceKind> those{
            // name          rig                  ends   restarts waits  fails
            {"Memory", &Make<MemoryRig>, true, true, false, false},
            {"File", &Make<FileRig>, true, true, false, true},
            {"MappedFile", &Make<MappedFileRig>, true, true, false, true},
            {"Pipe", &Make<PipeRig>, true, false, true, true},
            {"Dvr", &Make<DvrRig>, false, false, true, true},
            {"Udp", &Make<UdpRig>, false, false, true, true},
            {"Rtp", &Make<RtpRig>, false, false, true, true},
            {"LoopedFile", &Make<LoopRig>, false, true, false, true},
            {"FollowedFile", &Make<FollowRig>, false, true, true, true},
            {"FaultyFile", &Make<FaultyFileRig>, true, true, false, true},
            {"PacedFile", &Make<PacedFileRig>, true, true, false, true},
            {"PacedPipe", &Make<PacedPipeRig>, true, false, true, true}};
        std::string error;
        if (tvservice::UdpSource::Open("udp://[::1]:0", error)) {  // this machine has IPv6
            those.push_back({"UdpIpv6", &Make<Udp6Rig>, false, false, true, true});
        }
        return those;
    }();
    return kinds;
}

Bytes ContractStream() {
    constexpr uint64_t kFiveMs = 27000 * 5;
    Bytes stream;
    for (uint64_t n = 0; n < 4; ++n) {
        stream = Join({stream, PlainPackets(5),
                       PcrBytes{.program_clock_reference = n * kFiveMs}.Build(), PlainPackets(10)});
    }
    return stream;
}

}  // namespace testsupport

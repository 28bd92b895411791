#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/TsBytes.h"

namespace testsupport {

// A directory for one test. The destructor removes it.
class TempDir {
  public:
    TempDir() {
        std::string path = testing::TempDir() + "torvelsi-XXXXXX";
        if (mkdtemp(path.data()) == nullptr) {
            ADD_FAILURE() << "cannot make a temporary directory";
        }
        path_ = path;
    }
    ~TempDir() { std::filesystem::remove_all(path_); }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string Path(const std::string& name) const { return path_ / name; }

    std::string WriteFile(const std::string& name, const Bytes& bytes) const {
        std::ofstream file(Path(name), std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
        return Path(name);
    }

  private:
    std::filesystem::path path_;
};

}  // namespace testsupport

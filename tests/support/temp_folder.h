#pragma once
// A fresh folder under the system's temporary folder, removed with everything in it at the end.
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace tornel::testing {

class TempFolder {
  public:
    TempFolder() {
        std::random_device rd;
        path_ = std::filesystem::temp_directory_path() /
                ("tornel-test-" + std::to_string(rd()) + std::to_string(rd()));
        std::filesystem::create_directories(path_);
    }
    ~TempFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // The folder with a final "/", as the program's folder texts are.
    std::string Path() const { return path_.string() + "/"; }
    std::string File(const std::string& name) const { return Path() + name; }
    std::string Write(const std::string& name, const std::string& bytes) const {
        std::string p = File(name);
        std::filesystem::create_directories(std::filesystem::path(p).parent_path());
        std::ofstream(p, std::ios::binary) << bytes;
        return p;
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(File(name), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
    std::string MakeFolder(const std::string& name) const {
        std::filesystem::create_directories(path_ / name);
        return Path() + name + "/";
    }

  private:
    std::filesystem::path path_;
};

}  // namespace tornel::testing

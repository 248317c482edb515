#include "comun/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace tornel {

namespace fs = std::filesystem;

bool FileExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && fs::is_regular_file(path, ec);
}

bool FolderExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && fs::is_directory(path, ec);
}

bool ReadWholeFile(const std::string& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::ostringstream ss;
    ss << in.rdbuf();
    if (in.bad()) return false;
    text = ss.str();
    return true;
}

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::string::size_type start = 0;
    while (start < text.size()) {
        auto end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(std::move(line));
        start = end + 1;
    }
    return lines;
}

bool WriteFileAtomically(const std::string& path, const std::string& text, Durability durability) {
    std::string temp = path + ".tmp" + std::to_string(::getpid());
    int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0) return false;
    size_t done = 0;
    while (done < text.size()) {
        ssize_t w = ::write(fd, text.data() + done, text.size() - done);
        if (w <= 0) {
            ::close(fd);
            ::unlink(temp.c_str());
            return false;
        }
        done += static_cast<size_t>(w);
    }
    bool ok = durability == Durability::Transient || ::fsync(fd) == 0;
    ok = ::close(fd) == 0 && ok;
    if (ok) ok = std::rename(temp.c_str(), path.c_str()) == 0;
    if (!ok) ::unlink(temp.c_str());
    return ok;
}

std::string WithTrailingSlash(std::string folder) {
    if (folder.empty() || folder.back() != '/') folder += '/';
    return folder;
}

double FileStamp(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return -1;
    return static_cast<double>(st.st_mtim.tv_sec) + st.st_mtim.tv_nsec * 1e-9;
}

bool CopyFileAtomically(const std::string& from, const std::string& to) {
    std::string text;
    return ReadWholeFile(from, text) && WriteFileAtomically(to, text);
}

}  // namespace tornel

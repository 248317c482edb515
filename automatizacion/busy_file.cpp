#include "automatizacion/busy_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string>

#include "comun/files.h"

namespace tornel {

namespace {

// The kernel refuses a read lease while any process holds the file open for writing. Answers 1
// when open for writing, 0 when not, -1 when no lease can be asked for (a file of another user, a
// file system without leases).
int OpenForWritingByLease(const std::string& path) {
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return -1;
    int answer = -1;
    if (::fcntl(fd, F_SETLEASE, F_RDLCK) == 0) {
        ::fcntl(fd, F_SETLEASE, F_UNLCK);
        answer = 0;
    } else if (errno == EAGAIN) {
        answer = 1;
    }
    ::close(fd);
    return answer;
}

// The access mode of an open descriptor, from the "flags:" line of its fdinfo (octal).
bool DescriptorWrites(const std::string& fdinfo) {
    std::ifstream in(fdinfo);
    std::string key, value;
    while (in >> key >> value)
        if (key == "flags:") {
            long flags = std::strtol(value.c_str(), nullptr, 8);
            return (flags & O_ACCMODE) == O_WRONLY || (flags & O_ACCMODE) == O_RDWR;
        }
    return false;
}

// Every descriptor of the processes that can be seen, compared with the file by device and inode.
bool OpenForWritingByScan(const std::string& path) {
    struct stat target {};
    if (::stat(path.c_str(), &target) != 0) return false;
    DIR* proc = ::opendir("/proc");
    if (!proc) return false;
    bool writing = false;
    while (dirent* p = ::readdir(proc)) {
        if (writing) break;
        if (p->d_name[0] < '0' || p->d_name[0] > '9') continue;
        std::string base = std::string("/proc/") + p->d_name;
        DIR* fds = ::opendir((base + "/fd").c_str());
        if (!fds) continue;
        while (dirent* f = ::readdir(fds)) {
            if (f->d_name[0] == '.') continue;
            struct stat st {};
            if (::stat((base + "/fd/" + f->d_name).c_str(), &st) != 0) continue;
            if (st.st_dev == target.st_dev && st.st_ino == target.st_ino &&
                DescriptorWrites(base + "/fdinfo/" + f->d_name)) {
                writing = true;
                break;
            }
        }
        ::closedir(fds);
    }
    ::closedir(proc);
    return writing;
}

}  // namespace

bool FileBeingWritten(const std::string& path, double ahora) {
    double stamp = FileStamp(path);
    if (stamp < 0) return false;
    if (ahora - stamp < 1.0) return true;
    int byLease = OpenForWritingByLease(path);
    return byLease < 0 ? OpenForWritingByScan(path) : byLease == 1;
}

}  // namespace tornel

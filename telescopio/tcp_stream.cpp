// Plain sockets rather than a network library: the links exchange a few short texts, and the waits
// must be sliced so that the event pump runs between them, which poll() gives directly.
#include "telescopio/tcp_stream.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace tornel {
namespace {

constexpr int kSliceMs = 40;

int SliceUntil(LinkWait::Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - LinkWait::Clock::now());
    if (left.count() <= 0) return 0;
    return static_cast<int>(std::min<long long>(left.count(), kSliceMs));
}

}  // namespace

TcpStream::~TcpStream() {
    Close();
}

void TcpStream::Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

void TcpStream::Connect(const std::string& host, uint16_t port, const LinkWait& wait) {
    Close();
    peer_ = host + ":" + std::to_string(port);
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0 || !found)
        throw LinkError("Unknown host " + host + ".");
    const auto deadline = wait.Deadline();
    std::string failure = "No server answers at " + peer_ + ".";
    for (addrinfo* a = found; a && fd_ < 0; a = a->ai_next) {
        int fd = ::socket(a->ai_family, a->ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC, a->ai_protocol);
        if (fd < 0) continue;
        if (::connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
            fd_ = fd;
            break;
        }
        if (errno != EINPROGRESS) {
            ::close(fd);
            continue;
        }
        bool done = false;
        while (!done) {
            pollfd p{fd, POLLOUT, 0};
            int slice = SliceUntil(deadline);
            if (slice == 0) {
                failure = "No server answers at " + peer_ + " within the time limit.";
                break;
            }
            if (::poll(&p, 1, slice) > 0) {
                int err = 0;
                socklen_t len = sizeof err;
                getsockopt(fd, SOL_SOCKET, SO_ERROR, &err, &len);
                if (err == 0) fd_ = fd;
                done = true;
            } else {
                wait.Pump();
            }
        }
        if (fd_ != fd) ::close(fd);
    }
    freeaddrinfo(found);
    if (fd_ < 0) throw LinkError(failure);
}

void TcpStream::Send(const std::string& data) {
    size_t sent = 0;
    while (sent < data.size()) {
        if (fd_ < 0) throw LinkError("The connection to " + peer_ + " is closed.");
        ssize_t n = ::send(fd_, data.data() + sent, data.size() - sent, MSG_NOSIGNAL);
        if (n > 0) {
            sent += static_cast<size_t>(n);
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd p{fd_, POLLOUT, 0};
            ::poll(&p, 1, kSliceMs);
        } else if (n < 0 && errno != EINTR) {
            Close();
            throw LinkError("The server at " + peer_ + " closed the connection.");
        }
    }
}

std::string TcpStream::Receive(LinkWait::Clock::time_point deadline, const LinkWait& wait) {
    if (fd_ < 0) throw LinkError("The connection to " + peer_ + " is closed.");
    for (;;) {
        pollfd p{fd_, POLLIN, 0};
        int slice = SliceUntil(deadline);
        int ready = ::poll(&p, 1, slice);
        if (ready > 0) {
            char buffer[16384];
            ssize_t n = ::recv(fd_, buffer, sizeof buffer, 0);
            if (n > 0) return std::string(buffer, static_cast<size_t>(n));
            if (n == 0 || (errno != EAGAIN && errno != EINTR)) {
                Close();
                throw LinkError("The server at " + peer_ + " closed the connection.");
            }
        }
        if (slice == 0) return {};
        wait.Pump();
    }
}

}  // namespace tornel

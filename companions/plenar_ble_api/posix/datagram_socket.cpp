#include "air/datagram_socket.h"

#include <array>
#include <cerrno>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace plenar_ble {
namespace {

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }

  [[nodiscard]] int Get() const { return fd_; }

 private:
  int fd_;
};

/// What is sent to the air's address and, bound to it, hears nothing that was sent anywhere else.
struct AirSocket {
  AirSocket() {
    address.sin_family = AF_INET;
    address.sin_port = htons(kAirPort);
    inet_pton(AF_INET, kAirAddress, &address.sin_addr);
  }

  [[nodiscard]] bool Enable(int option) const {
    const int on = 1;
    return setsockopt(fd.Get(), SOL_SOCKET, option, &on, sizeof on) == 0;
  }
  [[nodiscard]] const sockaddr* Address() const {
    return reinterpret_cast<const sockaddr*>(&address);
  }

  FileDescriptor fd{socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)};
  sockaddr_in address{};
};

class PosixSender final : public DatagramSender {
 public:
  bool Open() { return air_.Enable(SO_BROADCAST); }

  bool Send(std::span<const std::uint8_t> datagram) override {
    return sendto(air_.fd.Get(), datagram.data(), datagram.size(), 0, air_.Address(),
                  sizeof air_.address) == static_cast<ssize_t>(datagram.size());
  }

 private:
  AirSocket air_;
};

class PosixReceiver final : public DatagramReceiver {
 public:
  bool Open() {
    return interrupt_.Get() >= 0 && air_.Enable(SO_REUSEADDR) &&
           bind(air_.fd.Get(), air_.Address(), sizeof air_.address) == 0;
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    std::array<pollfd, 2> events{{{air_.fd.Get(), POLLIN, 0}, {interrupt_.Get(), POLLIN, 0}}};
    while (true) {
      if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR) return std::nullopt;
      if (events[1].revents != 0) return std::nullopt;
      const ssize_t length = recv(air_.fd.Get(), buffer.data(), buffer.size(), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
    }
  }

  void Interrupt() override { eventfd_write(interrupt_.Get(), 1); }

 private:
  AirSocket air_;
  FileDescriptor interrupt_{eventfd(0, EFD_CLOEXEC)};
};

template <class Socket>
std::unique_ptr<Socket> Opened() {
  auto socket = std::make_unique<Socket>();
  if (!socket->Open()) return nullptr;
  return socket;
}

}  // namespace

std::uint32_t OwnProcess() {
  return static_cast<std::uint32_t>(getpid());
}

std::unique_ptr<DatagramSender> DatagramSender::Open() {
  return Opened<PosixSender>();
}

std::unique_ptr<DatagramReceiver> DatagramReceiver::Open() {
  return Opened<PosixReceiver>();
}

}  // namespace plenar_ble

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

  [[nodiscard]] bool IsOpen() const { return fd_ >= 0; }
  [[nodiscard]] int Get() const { return fd_; }

 private:
  int fd_;
};

int OpenSocket() {
  return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

bool Enable(int fd, int option) {
  const int on = 1;
  return setsockopt(fd, SOL_SOCKET, option, &on, sizeof on) == 0;
}

sockaddr_in Air() {
  sockaddr_in air{};
  air.sin_family = AF_INET;
  air.sin_port = htons(kAirPort);
  inet_pton(AF_INET, kAirAddress, &air.sin_addr);
  return air;
}

const sockaddr* Generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

class PosixSender final : public DatagramSender {
 public:
  bool Open() { return socket_.IsOpen() && Enable(socket_.Get(), SO_BROADCAST); }

  bool Send(std::span<const std::uint8_t> datagram) override {
    return sendto(socket_.Get(), datagram.data(), datagram.size(), 0, Generic(air_), sizeof air_) ==
           static_cast<ssize_t>(datagram.size());
  }

 private:
  FileDescriptor socket_{OpenSocket()};
  const sockaddr_in air_ = Air();
};

class PosixReceiver final : public DatagramReceiver {
 public:
  bool Open() {
    const sockaddr_in air = Air();
    // Bound to the broadcast address itself, it hears nothing that was sent anywhere else.
    return socket_.IsOpen() && interrupt_.IsOpen() && Enable(socket_.Get(), SO_REUSEADDR) &&
           bind(socket_.Get(), Generic(air), sizeof air) == 0;
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    std::array<pollfd, 2> events{{{socket_.Get(), POLLIN, 0}, {interrupt_.Get(), POLLIN, 0}}};
    while (true) {
      if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR) return std::nullopt;
      if (events[1].revents != 0) return std::nullopt;
      const ssize_t length = recv(socket_.Get(), buffer.data(), buffer.size(), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
    }
  }

  void Interrupt() override { eventfd_write(interrupt_.Get(), 1); }

 private:
  FileDescriptor socket_{OpenSocket()};
  FileDescriptor interrupt_{eventfd(0, EFD_CLOEXEC)};
};

}  // namespace

std::unique_ptr<DatagramSender> DatagramSender::Open() {
  auto sender = std::make_unique<PosixSender>();
  if (!sender->Open()) return nullptr;
  return sender;
}

std::unique_ptr<DatagramReceiver> DatagramReceiver::Open() {
  auto receiver = std::make_unique<PosixReceiver>();
  if (!receiver->Open()) return nullptr;
  return receiver;
}

}  // namespace plenar_ble

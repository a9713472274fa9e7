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

class PosixSocket final : public DatagramSocket {
 public:
  PosixSocket() {
    air_.sin_family = AF_INET;
    air_.sin_port = htons(kAirPort);
    inet_pton(AF_INET, kAirAddress, &air_.sin_addr);
  }
  PosixSocket(const PosixSocket&) = delete;
  PosixSocket& operator=(const PosixSocket&) = delete;
  ~PosixSocket() override {
    for (const int fd : {socket_, interrupt_}) {
      if (fd >= 0) close(fd);
    }
  }

  [[nodiscard]] bool Enable(int option) const {
    const int on = 1;
    return setsockopt(socket_, SOL_SOCKET, option, &on, sizeof on) == 0;
  }

  /// Bound to the air's address it hears nothing that was sent anywhere else.
  [[nodiscard]] bool Bind() {
    interrupt_ = eventfd(0, EFD_CLOEXEC);
    return interrupt_ >= 0 && bind(socket_, Address(), sizeof air_) == 0;
  }

  bool Send(std::span<const std::uint8_t> datagram) override {
    return sendto(socket_, datagram.data(), datagram.size(), 0, Address(), sizeof air_) ==
           static_cast<ssize_t>(datagram.size());
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    std::array<pollfd, 2> events{{{socket_, POLLIN, 0}, {interrupt_, POLLIN, 0}}};
    while (true) {
      if (poll(events.data(), events.size(), -1) < 0 && errno != EINTR) return std::nullopt;
      if (events[1].revents != 0) return std::nullopt;
      const ssize_t length = recv(socket_, buffer.data(), buffer.size(), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      if (errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR) return std::nullopt;
    }
  }

  void Interrupt() override { eventfd_write(interrupt_, 1); }

 private:
  [[nodiscard]] const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&air_); }

  int socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  int interrupt_ = -1;
  sockaddr_in air_{};
};

}  // namespace

std::uint32_t OwnProcess() {
  return static_cast<std::uint32_t>(getpid());
}

std::unique_ptr<DatagramSocket> DatagramSocket::OpenToSend() {
  auto socket = std::make_unique<PosixSocket>();
  if (!socket->Enable(SO_BROADCAST)) return nullptr;
  return socket;
}

std::unique_ptr<DatagramSocket> DatagramSocket::OpenToReceive() {
  auto socket = std::make_unique<PosixSocket>();
  if (!socket->Enable(SO_REUSEADDR) || !socket->Bind()) return nullptr;
  return socket;
}

}  // namespace plenar_ble

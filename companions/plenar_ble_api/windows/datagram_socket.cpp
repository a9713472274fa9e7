#include "air/datagram_socket.h"

#include <array>

#include <winsock2.h>
#include <ws2tcpip.h>

namespace plenar_ble {
namespace {

class WindowsSocket final : public DatagramSocket {
 public:
  WindowsSocket() {
    u_long on = 1;
    ioctlsocket(socket_, static_cast<long>(FIONBIO), &on);
  }
  WindowsSocket(const WindowsSocket&) = delete;
  WindowsSocket& operator=(const WindowsSocket&) = delete;
  ~WindowsSocket() override {
    if (socket_ != INVALID_SOCKET) closesocket(socket_);
    if (started_) WSACleanup();
    for (const HANDLE event : {interrupted_, readable_}) {
      if (event != nullptr) CloseHandle(event);
    }
  }

  [[nodiscard]] bool Enable(int option) const {
    const BOOL on = TRUE;
    return setsockopt(socket_, SOL_SOCKET, option, reinterpret_cast<const char*>(&on), sizeof on) ==
           0;
  }

  /// Systems differ in which address has to be bound for broadcasts of the loopback range: the
  /// broadcast address itself where that is allowed, the interface's elsewhere. Neither can be
  /// reached from another machine.
  [[nodiscard]] bool Bind() {
    interrupted_ = CreateEventA(nullptr, /*bManualReset=*/TRUE, FALSE, nullptr);
    readable_ = CreateEventA(nullptr, /*bManualReset=*/FALSE, FALSE, nullptr);
    const auto binds = [this](const Endpoint& endpoint) {
      return bind(socket_, endpoint.Get(), sizeof endpoint.address) == 0;
    };
    return interrupted_ != nullptr && readable_ != nullptr &&
           (binds(air_) || binds(Endpoint("127.0.0.1"))) &&
           WSAEventSelect(socket_, readable_, FD_READ) == 0;
  }

  bool Send(std::span<const std::uint8_t> datagram) override {
    const int length = static_cast<int>(datagram.size());
    return sendto(socket_, reinterpret_cast<const char*>(datagram.data()), length, 0, air_.Get(),
                  sizeof air_.address) == length;
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    const std::array<HANDLE, 2> events{interrupted_, readable_};
    while (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      const int length =
          recv(socket_, reinterpret_cast<char*>(buffer.data()), static_cast<int>(buffer.size()), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      const int error = WSAGetLastError();
      if (error == WSAEMSGSIZE) return 0;  // Too long to be one of ours.
      if (error != WSAEWOULDBLOCK) break;
    }
    return std::nullopt;
  }

  void Interrupt() override { SetEvent(interrupted_); }

 private:
  struct Endpoint {
    explicit Endpoint(const char* text) {
      address.sin_family = AF_INET;
      address.sin_port = htons(kAirPort);
      inet_pton(AF_INET, text, &address.sin_addr);
    }

    [[nodiscard]] const sockaddr* Get() const {
      return reinterpret_cast<const sockaddr*>(&address);
    }

    sockaddr_in address{};
  };

  static bool StartWinsock() {
    WSADATA unused{};
    return WSAStartup(MAKEWORD(2, 2), &unused) == 0;
  }

  bool started_ = StartWinsock();  // Winsock counts its users.
  SOCKET socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  HANDLE interrupted_ = nullptr;
  HANDLE readable_ = nullptr;
  const Endpoint air_{kAirAddress};
};

}  // namespace

/// An emulated system counts its processes beside the machine's own, so the ids are kept apart.
std::uint32_t OwnProcess() {
  return GetCurrentProcessId() | 0x8000'0000;
}

std::unique_ptr<DatagramSocket> DatagramSocket::OpenToSend() {
  auto socket = std::make_unique<WindowsSocket>();
  if (!socket->Enable(SO_BROADCAST)) return nullptr;
  return socket;
}

std::unique_ptr<DatagramSocket> DatagramSocket::OpenToReceive() {
  auto socket = std::make_unique<WindowsSocket>();
  if (!socket->Enable(SO_REUSEADDR) || !socket->Bind()) return nullptr;
  return socket;
}

}  // namespace plenar_ble

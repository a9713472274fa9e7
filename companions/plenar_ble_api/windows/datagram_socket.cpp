#include "air/datagram_socket.h"

#include <array>

#include <winsock2.h>
#include <ws2tcpip.h>

namespace plenar_ble {
namespace {

/// Winsock counts its users, of which each socket is one.
class UdpSocket {
 public:
  UdpSocket() {
    WSADATA unused{};
    started_ = WSAStartup(MAKEWORD(2, 2), &unused) == 0;
    socket_ = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
    u_long on = 1;
    ioctlsocket(socket_, static_cast<long>(FIONBIO), &on);
  }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;
  ~UdpSocket() {
    if (socket_ != INVALID_SOCKET) closesocket(socket_);
    if (started_) WSACleanup();
  }

  [[nodiscard]] SOCKET Get() const { return socket_; }

  [[nodiscard]] bool Enable(int option) const {
    const BOOL on = TRUE;
    return setsockopt(socket_, SOL_SOCKET, option, reinterpret_cast<const char*>(&on), sizeof on) ==
           0;
  }

 private:
  bool started_ = false;
  SOCKET socket_ = INVALID_SOCKET;
};

class Event {
 public:
  explicit Event(bool stays_set) : event_(CreateEventA(nullptr, stays_set, FALSE, nullptr)) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  ~Event() {
    if (event_ != nullptr) CloseHandle(event_);
  }

  [[nodiscard]] HANDLE Get() const { return event_; }

 private:
  HANDLE event_;
};

struct Endpoint {
  explicit Endpoint(const char* text) {
    address.sin_family = AF_INET;
    address.sin_port = htons(kAirPort);
    inet_pton(AF_INET, text, &address.sin_addr);
  }

  [[nodiscard]] const sockaddr* Address() const {
    return reinterpret_cast<const sockaddr*>(&address);
  }

  sockaddr_in address{};
};

class WindowsSender final : public DatagramSender {
 public:
  bool Open() { return socket_.Enable(SO_BROADCAST); }

  bool Send(std::span<const std::uint8_t> datagram) override {
    const int length = static_cast<int>(datagram.size());
    return sendto(socket_.Get(), reinterpret_cast<const char*>(datagram.data()), length, 0,
                  air_.Address(), sizeof air_.address) == length;
  }

 private:
  UdpSocket socket_;
  const Endpoint air_{kAirAddress};
};

class WindowsReceiver final : public DatagramReceiver {
 public:
  bool Open() {
    return interrupted_.Get() != nullptr && readable_.Get() != nullptr &&
           socket_.Enable(SO_REUSEADDR) && (Bind(kAirAddress) || Bind("127.0.0.1")) &&
           WSAEventSelect(socket_.Get(), readable_.Get(), FD_READ) == 0;
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    const std::array<HANDLE, 2> events{interrupted_.Get(), readable_.Get()};
    while (WaitForMultipleObjects(2, events.data(), FALSE, INFINITE) == WAIT_OBJECT_0 + 1) {
      const int length = recv(socket_.Get(), reinterpret_cast<char*>(buffer.data()),
                              static_cast<int>(buffer.size()), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      const int error = WSAGetLastError();
      if (error == WSAEMSGSIZE) return 0;  // Too long to be one of ours.
      if (error != WSAEWOULDBLOCK) break;
    }
    return std::nullopt;
  }

  void Interrupt() override { SetEvent(interrupted_.Get()); }

 private:
  /// Systems differ in which address has to be bound for broadcasts of the loopback range: the
  /// broadcast address itself where that is allowed, the interface's elsewhere. Neither can be
  /// reached from another machine.
  bool Bind(const char* text) {
    const Endpoint endpoint(text);
    return bind(socket_.Get(), endpoint.Address(), sizeof endpoint.address) == 0;
  }

  UdpSocket socket_;
  Event interrupted_{true};
  Event readable_{false};
};

template <class Socket>
std::unique_ptr<Socket> Opened() {
  auto socket = std::make_unique<Socket>();
  if (!socket->Open()) return nullptr;
  return socket;
}

}  // namespace

/// An emulated system counts its processes beside the machine's own, so the ids are kept apart.
std::uint32_t OwnProcess() {
  return GetCurrentProcessId() | 0x8000'0000;
}

std::unique_ptr<DatagramSender> DatagramSender::Open() {
  return Opened<WindowsSender>();
}

std::unique_ptr<DatagramReceiver> DatagramReceiver::Open() {
  return Opened<WindowsReceiver>();
}

}  // namespace plenar_ble

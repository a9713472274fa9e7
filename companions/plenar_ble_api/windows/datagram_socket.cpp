#include "air/datagram_socket.h"

#include <array>

#include <winsock2.h>
#include <ws2tcpip.h>

namespace plenar_ble {
namespace {

/// Winsock counts its users; each socket is one.
class WinsockSession {
 public:
  WinsockSession() : started_(WSAStartup(MAKEWORD(2, 2), &data_) == 0) {}
  WinsockSession(const WinsockSession&) = delete;
  WinsockSession& operator=(const WinsockSession&) = delete;
  ~WinsockSession() {
    if (started_) WSACleanup();
  }

 private:
  WSADATA data_{};
  bool started_;
};

class UdpSocket {
 public:
  UdpSocket() : socket_(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)) {
    u_long on = 1;
    if (IsOpen()) ioctlsocket(socket_, static_cast<long>(FIONBIO), &on);
  }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;
  ~UdpSocket() {
    if (IsOpen()) closesocket(socket_);
  }

  [[nodiscard]] bool IsOpen() const { return socket_ != INVALID_SOCKET; }
  [[nodiscard]] SOCKET Get() const { return socket_; }

  bool Enable(int option) {
    const BOOL on = TRUE;
    return setsockopt(socket_, SOL_SOCKET, option, reinterpret_cast<const char*>(&on), sizeof on) ==
           0;
  }

 private:
  WinsockSession winsock_;
  SOCKET socket_;
};

class Event {
 public:
  enum class Reset : BOOL { kByWait = FALSE, kNever = TRUE };

  explicit Event(Reset reset)
      : event_(CreateEventA(nullptr, static_cast<BOOL>(reset), FALSE, nullptr)) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;
  ~Event() {
    if (event_ != nullptr) CloseHandle(event_);
  }

  [[nodiscard]] HANDLE Get() const { return event_; }

 private:
  HANDLE event_;
};

sockaddr_in Endpoint(const char* address) {
  sockaddr_in endpoint{};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(kAirPort);
  inet_pton(AF_INET, address, &endpoint.sin_addr);
  return endpoint;
}

const sockaddr* Generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

class WindowsSender final : public DatagramSender {
 public:
  bool Open() { return socket_.IsOpen() && socket_.Enable(SO_BROADCAST); }

  bool Send(std::span<const std::uint8_t> datagram) override {
    const int length = static_cast<int>(datagram.size());
    return sendto(socket_.Get(), reinterpret_cast<const char*>(datagram.data()), length, 0,
                  Generic(air_), sizeof air_) == length;
  }

 private:
  UdpSocket socket_;
  const sockaddr_in air_ = Endpoint(kAirAddress);
};

class WindowsReceiver final : public DatagramReceiver {
 public:
  bool Open() {
    return socket_.IsOpen() && interrupted_.Get() != nullptr && readable_.Get() != nullptr &&
           socket_.Enable(SO_REUSEADDR) && Bind() &&
           WSAEventSelect(socket_.Get(), readable_.Get(), FD_READ) == 0;
  }

  std::optional<std::size_t> Receive(std::span<std::uint8_t> buffer) override {
    const std::array<HANDLE, 2> events{interrupted_.Get(), readable_.Get()};
    while (true) {
      const DWORD signalled =
          WaitForMultipleObjects(static_cast<DWORD>(events.size()), events.data(), FALSE, INFINITE);
      if (signalled != WAIT_OBJECT_0 + 1) return std::nullopt;
      const int length = recv(socket_.Get(), reinterpret_cast<char*>(buffer.data()),
                              static_cast<int>(buffer.size()), 0);
      if (length >= 0) return static_cast<std::size_t>(length);
      const int error = WSAGetLastError();
      if (error == WSAEMSGSIZE) return 0;  // Too long to be one of ours.
      if (error != WSAEWOULDBLOCK) return std::nullopt;
    }
  }

  void Interrupt() override { SetEvent(interrupted_.Get()); }

 private:
  /// Systems differ in which address has to be bound for broadcasts of the loopback range: the
  /// broadcast address itself where that is allowed, the interface's elsewhere. Neither can be
  /// reached from another machine.
  bool Bind() {
    for (const char* address : {kAirAddress, "127.0.0.1"}) {
      const sockaddr_in endpoint = Endpoint(address);
      if (bind(socket_.Get(), Generic(endpoint), sizeof endpoint) == 0) return true;
    }
    return false;
  }

  UdpSocket socket_;
  Event interrupted_{Event::Reset::kNever};
  Event readable_{Event::Reset::kByWait};
};

}  // namespace

std::unique_ptr<DatagramSender> DatagramSender::Open() {
  auto sender = std::make_unique<WindowsSender>();
  if (!sender->Open()) return nullptr;
  return sender;
}

std::unique_ptr<DatagramReceiver> DatagramReceiver::Open() {
  auto receiver = std::make_unique<WindowsReceiver>();
  if (!receiver->Open()) return nullptr;
  return receiver;
}

}  // namespace plenar_ble

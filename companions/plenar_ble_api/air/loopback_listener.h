#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "air/advertising_data.h"
#include "air/datagram_socket.h"

namespace plenar_ble {

/// Hears the loopback air on a thread of its own for as long as it lives. Destroying it waits for
/// the handler, so that must not be done on the listener's own thread.
class LoopbackListener {
 public:
  /// Called with every datagram that is not longer than any of ours.
  using Handler = std::function<void(ByteView datagram)>;

  LoopbackListener(std::unique_ptr<DatagramReceiver> receiver, Handler handler);
  LoopbackListener(const LoopbackListener&) = delete;
  LoopbackListener& operator=(const LoopbackListener&) = delete;
  ~LoopbackListener();

  /// No further datagram is handled; returns at once. [any thread]
  void Interrupt() { receiver_->Interrupt(); }

 private:
  void Listen();

  std::unique_ptr<DatagramReceiver> receiver_;
  Handler handler_;
  std::thread thread_;
};

}  // namespace plenar_ble

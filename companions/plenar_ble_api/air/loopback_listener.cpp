#include "air/loopback_listener.h"

#include <array>
#include <utility>

#include "air/datagram.h"
#include "radio/library_thread.h"

namespace plenar_ble {

LoopbackListener::LoopbackListener(std::unique_ptr<DatagramReceiver> receiver, Handler handler)
    : receiver_(std::move(receiver)),
      handler_(std::move(handler)),
      thread_(StartLibraryThread([this] { Listen(); })) {}

LoopbackListener::~LoopbackListener() {
  Interrupt();
  thread_.join();
}

void LoopbackListener::Listen() {
  // One byte more than is ever sent, so that what is too long shows.
  std::array<std::uint8_t, kMaxDatagramLength + 1> buffer;
  while (const auto length = receiver_->Receive(buffer)) {
    if (*length <= kMaxDatagramLength) handler_(ByteView(buffer).first(*length));
  }
}

}  // namespace plenar_ble

#include <simulated_pc/simulated_pc.h>

#include <windows.h>

#include <memory>
#include <mutex>
#include <ostream>
#include <utility>

#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

struct SharedState {
  std::mutex mutex;
  PcState state;
};

/// Never destroyed: other libraries make calls while the process ends.
SharedState& Shared() {
  static SharedState& shared = *new SharedState;
  return shared;
}

Device UsualDevice(bool discoverable) {
  const std::uint8_t scan_enable = discoverable ? 1 : 3;
  return {.instance_id = R"(USB\VID_0A12&PID_0001\5&1)",
          .write_scan_enable = RegistryValue{REG_DWORD, {scan_enable, 0, 0, 0}}};
}

}  // namespace

PcState::PcState() : devices{UsualDevice(true)} {}

LockedPc::LockedPc() : state_(Shared().state), lock_(Shared().mutex) {}

// ---- The frame of the stand-in calls ----

DWORD& StandInCall::ThreadError() noexcept {
  thread_local DWORD error = ERROR_SUCCESS;
  return error;
}

bool StandInCall::IsObserved() {
  return LockedPc()->observer != nullptr;
}

void StandInCall::Observe(CallName name, const std::string& arguments) {
  const auto observer = LockedPc()->observer;
  if (observer == nullptr) return;
  // The observer may make calls itself; the observed program must not see their errors.
  const DWORD error = ThreadError();
  (*observer)(name, arguments);
  ThreadError() = error;
}

DWORD StandInCall::TakeFailure(CallName name) {
  const LockedPc pc;
  const auto found = pc->failures.find(name);
  if (found == pc->failures.end() || found->second.skip-- > 0) return ERROR_SUCCESS;
  const DWORD error = found->second.error;
  pc->failures.erase(found);
  return error;
}

void StandInCall::Write(std::ostream& out, const char* text) {
  if (text == nullptr) {
    out << "null";
  } else {
    out << '"' << text << '"';
  }
}

void StandInCall::Write(std::ostream& out, const void* pointer) {
  if (pointer == nullptr) {
    out << "null";
  } else {
    out << pointer;
  }
}

STAND_IN DWORD GetLastError() {
  static_cast<void>(StandInCall("GetLastError"));
  return StandInCall::ThreadError();
}

// ---- The control interface ----

SimulatedPc& SimulatedPc::Get() noexcept {
  static constinit SimulatedPc pc;
  return pc;
}

void SimulatedPc::Reset() {
  PcState initial;
  const LockedPc pc;
  std::swap(initial, *pc);
  pc->libraries = std::move(initial.libraries);
  pc->last_handle = initial.last_handle;
}

void SimulatedPc::SetCallObserver(CallObserver observer) {
  auto shared = observer ? std::make_shared<const CallObserver>(std::move(observer)) : nullptr;
  LockedPc()->observer.swap(shared);
}

void SimulatedPc::FailNext(CallName call, std::uint32_t last_error, int skip) {
  LockedPc()->failures[std::string(call)] = {last_error, skip};
}

void SimulatedPc::SetWindowsVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
  const LockedPc pc;
  pc->major = major;
  pc->minor = minor;
  pc->build = build;
}

void SimulatedPc::SetRadioOn(bool on) {
  LockedPc()->radio_on = on;
}

void SimulatedPc::SetDevices(std::vector<Device> devices) {
  LockedPc()->devices = std::move(devices);
}

void SimulatedPc::SetDiscoverable(bool discoverable) {
  SetDevices({UsualDevice(discoverable)});
}

void SimulatedPc::SetExecutablePath(std::string path) {
  LockedPc()->executable_path = std::move(path);
}

std::size_t SimulatedPc::WindowCount() const {
  return LockedPc()->desktop.windows.size();
}

bool SimulatedPc::HasWindowClass(const std::string& name) const {
  return LockedPc()->desktop.classes.contains(name);
}

std::size_t SimulatedPc::DeviceNotificationCount() const {
  return LockedPc()->desktop.notifications.size();
}

std::size_t SimulatedPc::OpenHandleCount() const {
  return LockedPc()->objects.size();
}

int SimulatedPc::LibraryLoadCount(const std::string& file_name) const {
  const LockedPc pc;
  int count = 0;
  for (const auto& [module, library] : pc->libraries) {
    if (library.file_name == file_name) count += library.load_count;
  }
  return count;
}

}  // namespace simulated_pc

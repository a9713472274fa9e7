#include <simulated_pc/simulated_pc.h>

#include <utility>

#include "desktop.h"
#include "pc_state.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

Device UsualDevice(bool discoverable) {
  const std::uint8_t scan_enable = discoverable ? 1 : 3;
  return {.instance_id = R"(USB\VID_0A12&PID_0001\5&1)",
          .write_scan_enable = RegistryValue{REG_DWORD, {scan_enable, 0, 0, 0}}};
}

}  // namespace

Machine::Machine() : devices{UsualDevice(true)} {}

SimulatedPc& SimulatedPc::Get() noexcept {
  static constinit SimulatedPc pc;
  return pc;
}

void SimulatedPc::Reset() {
  DropHooks();
  LockedPc pc;
  CompleteSentMessages(pc, [](const SentMessage&) { return true; });
  pc->machine = Machine();
  pc->desktop = Desktop();
  pc->objects.clear();
}

void SimulatedPc::SetWindowsVersion(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
  const LockedPc pc;
  pc->machine.major = major;
  pc->machine.minor = minor;
  pc->machine.build = build;
}

void SimulatedPc::SetRadioOn(bool on) {
  LockedPc()->machine.radio_on = on;
}

void SimulatedPc::SetDevices(std::vector<Device> devices) {
  LockedPc()->machine.devices = std::move(devices);
}

void SimulatedPc::SetDiscoverable(bool discoverable) {
  SetDevices({UsualDevice(discoverable)});
}

void SimulatedPc::SetExecutablePath(std::string path) {
  LockedPc()->machine.executable_path = std::move(path);
}

std::size_t SimulatedPc::OpenHandleCount() const {
  return LockedPc()->objects.size();
}

}  // namespace simulated_pc

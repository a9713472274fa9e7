#include "host/play/pc.h"

#include <simulated_pc/simulated_pc.h>

namespace qvs_host {
namespace {

using simulated_pc::SimulatedPc;

template <void (SimulatedPc::*kSet)(bool)>
void Change(bool value) {
  constexpr unsigned kDeviceNodesChanged = 7;  // the message's parameter
  (SimulatedPc::Get().*kSet)(value);
  SimulatedPc::Get().NotifyDeviceChange(kDeviceNodesChanged);
}

constexpr Pc kSimulatedPc = {Change<&SimulatedPc::SetRadioOn>,
                             Change<&SimulatedPc::SetDiscoverable>};

}  // namespace

const Pc* OurPc() {
  return &kSimulatedPc;
}

}  // namespace qvs_host

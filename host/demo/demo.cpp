#include "host/demo/demo.h"

#include <iostream>
#include <memory>
#include <string>

#include <plenar_base/time_source.h>
#include <plenar_base_control/simulated_time.h>

#include "host/demo/script.h"
#include "host/host_error.h"
#include "host/scoped_log_sink.h"

namespace qvs_host {
namespace {

/// Makes a simulated clock the process's own, for the life of the object.
class ScopedSimulatedTime {
 public:
  ScopedSimulatedTime() { base::time::SetTimeSource(time_); }
  ~ScopedSimulatedTime() { base::time::SetTimeSource(nullptr); }
  ScopedSimulatedTime(const ScopedSimulatedTime&) = delete;
  ScopedSimulatedTime& operator=(const ScopedSimulatedTime&) = delete;

  base::time::SimulatedTime& operator*() { return *time_; }

 private:
  std::shared_ptr<base::time::SimulatedTime> time_ = std::make_shared<base::time::SimulatedTime>();
};

void PlayStep(const Step& step, Stage& stage, TimeLine& line, ExpectationTable& table,
              bool pc_is_ours) {
  if (step.changes_pc && !pc_is_ours) {
    line.Title(std::string(step.title) + " (left out: this machine's settings are not changed)");
    return;
  }
  line.Title(step.title);
  table.BeginStep(step.title);
  table.Expect(step.expected);
  if (pc_is_ours) table.Expect(step.expected_of_pc);
  step.act(stage);
}

}  // namespace

int RunDemo() {
  std::cout
      << "Times are simulated, in seconds. call, result: what the host asks and is answered;\n"
         "event, device: what the module reports; radio, pc: what happens around the two.\n";
  const auto pc = MakeDemoPc();
  ScopedSimulatedTime time;
  ExpectationTable table;
  const auto line = std::make_shared<TimeLine>(std::cout, *time, table);
  {
    const ScopedLogSink log(line);
    Stage stage(*time, *line, pc.get());
    for (const Step& step : Script()) PlayStep(step, stage, *line, table, pc != nullptr);
  }

  std::cout << "\nWhat was expected, and how often it was seen\n\n";
  table.Print(std::cout);
  const bool all_met = table.AllMet();
  std::cout << (all_met ? "\nEverything happened as it was to happen.\n"
                        : "\nNot everything happened as it was to happen.\n")
            << std::flush;
  if (!std::cout) throw HostError("cannot write to the standard output");
  return all_met ? kExitOk : kExitFailed;
}

}  // namespace qvs_host

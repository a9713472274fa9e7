#include "host/session.h"

#include <cstdint>

#include <plenar_base/timer.h>
#include <qvs_windows_ble/client.h>

#include "host/describe.h"

namespace qvs_host {

using std::chrono::milliseconds;
using std::chrono::seconds;

Session::Session(const Options& options) : options_(options) {
  client_.on_state = Guarded([this](ble::Result state) {
    Tell({{"event", "state"}, {"state", state}}, "state: " + std::string(StateMeaning(state)));
    if (state == ble::Result::kSuccess) on_usable();
  });
  client_.on_status = Guarded([this](const ble::PublisherStatus& status) {
    Tell({{"event", "status_info"}, {"status", status.status}, {"err", status.error}},
         Describe(status));
    on_status(status);
  });
  client_.on_retry = Guarded([this](const ble::RetryReport& report) {
    retried_ = report;
    if (report.success && report.checks == 0) return;  // of an `Init` that needed none
    Tell({{"event", "retry_info"}, {"is_success", report.success}, {"retry_time", report.checks}},
         Describe(report));
  });
}

bool Session::Start(const std::function<ble::Result()>& call) {
  const ble::Result result = Try(call);
  if (result == ble::Result::kSuccess) return true;
  if (interrupts_ > 0) return false;
  throw Failure(result);
}

HostError Session::Failure(ble::Result result) const {
  const bool waits_in_vain = result == ble::Result::kAdapterUnavailable;
  const bool lacks_adapter = waits_in_vain || result == ble::Result::kAdapterError;
  std::string text = ble::Explain(result);
  if (waits_in_vain && options_.retry == 0) text += ": --retry N";
  if (lacks_adapter && RadioInUse() == RadioKind::kSystem) {
    text += "; --radio virtual needs no Bluetooth";
  }
  return HostError(text);
}

ble::Result Session::Try(const std::function<ble::Result()>& call) {
  ble::Result result = call();
  if (result == ble::Result::kSuccess) TellRadio();
  if (result != ble::Result::kNotInitialised) return result;
  // The service was made all the same; another attempt tells why it is not up.
  result = client_.Init(options_.retry);
  if (result == ble::Result::kAdapterUnavailable && options_.retry > 0) {
    Tell({{"event", "retry"}, {"checks", options_.retry}},
         std::string(Meaning(result)) + "; it is checked " + std::to_string(options_.retry) +
             " times more, every " + (options_.retry < 10 ? "3" : "30") + " s");
    retried_.reset();
    Wait(milliseconds::zero(), 0, [this] { return retried_.has_value(); });
    if (retried_ && retried_->success) result = ble::Result::kSuccess;
  }
  if (result == ble::Result::kSuccess) {
    TellRadio();
    result = call();
  }
  return result;
}

void Session::TellRadio() {
  const auto radio = RadioInUse();
  if (!radio) return;
  Tell({{"event", "radio"}, {"radio", radio == RadioKind::kVirtual ? "virtual" : "system"}},
       std::string(NameOf(*radio)));
}

void Session::Run(const std::function<bool()>& done) {
  Wait(seconds(options_.seconds), 0, done);
}

void Session::Finish(const std::function<bool()>& done) {
  Wait(seconds(3), 1, done);
}

void Session::Tell(const nlohmann::ordered_json& fields, const std::string& words) {
  if (!options_.json) return say(words);
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  nlohmann::ordered_json line = {
      {"time", static_cast<double>(std::chrono::duration_cast<milliseconds>(now).count()) / 1000}};
  line.update(fields);
  if (!words.empty()) line["text"] = words;
  PrintLine(line.dump(-1, ' ', /*ensure_ascii=*/true));
}

void Session::Wait(milliseconds limit, int most_interrupts, const std::function<bool()>& done) {
  bool is_over = false;
  const auto timer =
      base::threading::CreateTimer(Guarded([&is_over] { is_over = true; }), {__FILE__, __LINE__});
  if (limit.count() > 0) {
    timer->Start(static_cast<std::uint64_t>(limit.count()), /*repeat=*/false);
  }
  while (!failure_ && !is_over && interrupts_ <= most_interrupts && !done()) looper_.Run();
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

}  // namespace qvs_host

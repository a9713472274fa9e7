#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <plenar_base/log_sink.h>
#include <plenar_base/main_looper.h>
#include <qvs_windows_ble/client.h>
#include <nlohmann/json.hpp>

#include "host/commands.h"
#include "host/output.h"
#include "host/radio.h"
#include "host/scoped_log_sink.h"
#include "host/terminal.h"

namespace qvs_host {

/// The module in real time, for a command: tells its user of every event, and runs until Ctrl-C.
/// All operations are for the thread that made it.
class Session {
 public:
  /// Throws `ble::Error` when the module cannot be used.
  explicit Session(const Options& options);

  /// Makes a call, before which Bluetooth LE support is brought up and, as the options say, an
  /// unavailable adapter is waited for. False when Ctrl-C came first; throws `HostError` when it
  /// fails.
  [[nodiscard]] bool Start(const std::function<ble::Result()>& call);
  /// The same, but gives the result.
  [[nodiscard]] ble::Result Try(const std::function<ble::Result()>& call);

  /// What went wrong and what to do.
  [[nodiscard]] HostError Failure(ble::Result result) const;

  /// Runs until `done`, or Ctrl-C, or the end of the time that the options give. Throws what was
  /// thrown meanwhile.
  void Run(const std::function<bool()>& done = [] { return false; });
  /// Lets the end of what was begun take its time, a few seconds at most.
  void Finish(const std::function<bool()>& done);

  /// Tells of an event: people in words, programs with its fields and the time.
  void Tell(const nlohmann::ordered_json& fields, const std::string& words);

  /// For callbacks and tasks, since who calls those takes no exceptions: `Run` throws them.
  template <class Function>
  auto Guarded(Function function) {
    return [this, function = std::move(function)](auto&&... arguments) {
      try {
        function(arguments...);
      } catch (...) {
        failure_ = std::current_exception();
      }
      looper_.Quit();  // whoever waits looks again
    };
  }

  [[nodiscard]] ble::Client& Client() { return client_; }

  std::function<void(const std::string& words)> say = PrintLine;
  std::function<void(const ble::PublisherStatus&)> on_status = [](const auto&) {};
  std::function<void()> on_usable = [] {};  ///< Bluetooth LE can be used again.

 private:
  void Wait(std::chrono::milliseconds limit, int most_interrupts,
            const std::function<bool()>& done);

  void TellRadio();

  const Options& options_;
  const RadioChoice radio_{options_.radio};
  const std::unique_ptr<ScopedLogSink> log_{
      options_.log_level > 0 ? std::make_unique<ScopedLogSink>(base::log::MakeStderrSink())
                             : nullptr};
  base::threading::MainLooperScope looper_;
  std::atomic<int> interrupts_ = 0;
  InterruptWatch watch_{[this] {
    ++interrupts_;
    looper_.Quit();
  }};
  std::exception_ptr failure_;
  std::optional<ble::RetryReport> retried_;
  ble::Client client_{looper_};
};

}  // namespace qvs_host

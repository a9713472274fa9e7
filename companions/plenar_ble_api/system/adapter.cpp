#include "system/adapter.h"

namespace plenar_ble {
namespace {

using namespace std::chrono_literals;
using winrt::Check;
using winrt::ComPtr;
using winrt::SystemError;

/// How long the system may take for an answer, and how often it is asked whether there is one.
constexpr auto kLongestAnswer = 5s;
constexpr auto kPollInterval = 5ms;

template <class Interface>
bool IsSo(const ComPtr<Interface>& adapter,
          HRESULT (STDMETHODCALLTYPE Interface::*property)(boolean*), const char* name) {
  boolean answer = 0;
  Check((adapter.Get()->*property)(&answer), name);
  return answer != 0;
}

BleError ErrorOfQuestion(HRESULT number) {
  switch (number) {
    case REGDB_E_CLASSNOTREG:
    case E_NOINTERFACE:
      return kClassesMissing;
    case E_ACCESSDENIED:
      return kAccessDenied;
    default:
      return BleError::kAdapterTemporarilyUnavailable;
  }
}

bool Extends(const ComPtr<winrt::IBluetoothAdapter>& adapter) {
  const auto newer = adapter.As<winrt::IBluetoothAdapter3>();
  return newer && IsSo(newer, &winrt::IBluetoothAdapter3::get_IsExtendedAdvertisingSupported,
                       "BluetoothAdapter.IsExtendedAdvertisingSupported");
}

}  // namespace

Adapter::Answer Adapter::Ask(std::chrono::milliseconds longest) {
  std::shared_future<Answer> answer;
  {
    const std::scoped_lock lock(mutex_);
    if (!asked_.valid() || asked_.wait_for(0s) == std::future_status::ready) {
      auto question = std::make_shared<std::promise<Answer>>();
      asked_ = question->get_future().share();
      questions_->Post([this, question] { question->set_value(Find()); });
    }
    answer = asked_;
  }
  const bool is_late = answer.wait_for(longest) != std::future_status::ready;
  {
    // From a system that is always late, the answer to the question before counts.
    const std::scoped_lock lock(mutex_);
    if (is_late) {
      std::swap(answer, late_);
    } else {
      late_ = {};
    }
  }
  if (!answer.valid() || answer.wait_for(0s) != std::future_status::ready) return {};
  try {
    return answer.get();
  } catch (const std::future_error&) {
    return {};  // The question was dropped.
  }
}

void Adapter::Close() {
  closing_.request_stop();
  questions_->Close();
}

Adapter::Answer Adapter::Find() {
  Answer answer;
  try {
    const auto adapter = Default();
    if (!adapter) return answer;
    if (!IsSo(adapter, &winrt::IBluetoothAdapter::get_IsLowEnergySupported,
              "BluetoothAdapter.IsLowEnergySupported")) {
      answer.error = kNoLowEnergy;
    } else if (!IsSo(adapter, &winrt::IBluetoothAdapter::get_IsPeripheralRoleSupported,
                     "BluetoothAdapter.IsPeripheralRoleSupported")) {
      answer.error = kNoPeripheralRole;
    } else {
      answer = {BleError::kNone, Extends(adapter)};
    }
  } catch (const SystemError& error) {
    callables_.LogFailure(error);
    answer.error = ErrorOfQuestion(error.number);
  }
  return answer;
}

/// Null when there is none. It is asked for anew each time: adapters come and go.
ComPtr<winrt::IBluetoothAdapter> Adapter::Default() const {
  constexpr const char* kCall = "BluetoothAdapter.GetDefaultAsync";
  const auto statics = winrt::Factory<winrt::IBluetoothAdapterStatics>(winrt::kBluetoothAdapter);
  ComPtr<winrt::IAsyncOperation<winrt::IBluetoothAdapter>> operation;
  Check(statics->GetDefaultAsync(operation.Out()), kCall);
  const auto progress = operation.As<winrt::IAsyncInfo>();
  if (!progress) throw SystemError{E_NOINTERFACE, kCall};

  // Asking again and again leaves no handler behind that the system could call later.
  auto status = winrt::AsyncStatus::kStarted;
  const auto end = std::chrono::steady_clock::now() + kLongestAnswer;
  while (true) {
    Check(progress->get_Status(&status), kCall);
    if (status != winrt::AsyncStatus::kStarted) break;
    if (closing_.stop_requested() || std::chrono::steady_clock::now() > end) {
      progress->Cancel();  // Best effort: nobody waits for it any more.
      throw SystemError{HRESULT_FROM_WIN32(ERROR_TIMEOUT), kCall};
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  if (status == winrt::AsyncStatus::kError) {
    HRESULT number = E_FAIL;
    Check(progress->get_ErrorCode(&number), kCall);
    Check(number, kCall);
  }
  ComPtr<winrt::IBluetoothAdapter> adapter;
  Check(operation->GetResults(adapter.Out()), kCall);
  return adapter;
}

}  // namespace plenar_ble

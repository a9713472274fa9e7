#include "classes.h"

namespace simulated_bluetooth {
namespace {

using winrt::AsyncStatus;
using winrt::IBluetoothAdapter;

class Adapter final : public Object<IBluetoothAdapter, winrt::IBluetoothAdapter3> {
 public:
  HRESULT STDMETHODCALLTYPE get_IsLowEnergySupported(boolean* value) override {
    return Give(Locked()->low_energy, value);
  }
  HRESULT STDMETHODCALLTYPE get_IsPeripheralRoleSupported(boolean* value) override {
    return Give(Locked()->peripheral_role, value);
  }
  HRESULT STDMETHODCALLTYPE get_IsExtendedAdvertisingSupported(boolean* value) override {
    return Give(Locked()->extended_advertising, value);
  }
};

class Question final : public Object<winrt::IAsyncOperation<IBluetoothAdapter>, winrt::IAsyncInfo> {
 public:
  HRESULT STDMETHODCALLTYPE get_Status(AsyncStatus* value) override {
    const bool is_late = GetTickCount64() < answered_at_;
    *value = is_late            ? AsyncStatus::kStarted
             : Locked()->access ? AsyncStatus::kCompleted
                                : AsyncStatus::kError;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_ErrorCode(HRESULT* value) override {
    return Give(Locked()->access ? S_OK : E_ACCESSDENIED, value);
  }
  HRESULT STDMETHODCALLTYPE Cancel() override { return S_OK; }
  HRESULT STDMETHODCALLTYPE GetResults(IBluetoothAdapter** results) override {
    return Give(Locked()->adapter ? Make<Adapter>() : ComPtr<Adapter>(), results);
  }

 private:
  const ULONGLONG answered_at_ = GetTickCount64() + Locked()->answer_after_ms;
};

class Statics final : public Object<IClassActivation, winrt::IBluetoothAdapterStatics> {
 public:
  HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE
  GetDefaultAsync(winrt::IAsyncOperation<IBluetoothAdapter>** operation) override {
    return Give(Make<Question>(), operation);
  }
};

}  // namespace

ComPtr<IClassActivation> AdapterFactory() {
  return Make<Statics>().As<IClassActivation>();
}

}  // namespace simulated_bluetooth

#include <string_view>

#include "classes.h"

/// What the system calls when somebody wants an object of a class.
extern "C" HRESULT STDMETHODCALLTYPE
DllGetActivationFactory(HSTRING name, simulated_bluetooth::IClassActivation** factory) try {
  using namespace simulated_bluetooth;
  constexpr struct {
    std::wstring_view name;
    ComPtr<IClassActivation> (*make)();
  } kClasses[]{
      {winrt::kAdvertisement, AdvertisementFactory},
      {winrt::kBluetoothAdapter, AdapterFactory},
      {winrt::kManufacturerData, ManufacturerDataFactory},
      {winrt::kPublisher, PublisherFactory},
      {winrt::kWatcher, WatcherFactory},
  };
  UINT32 length = 0;
  const wchar_t* const text = WindowsGetStringRawBuffer(name, &length);
  for (const auto& known : kClasses) {
    if (known.name == std::wstring_view(text, length)) return Give(known.make(), factory);
  }
  return REGDB_E_CLASSNOTREG;
} catch (...) {
  return E_OUTOFMEMORY;
}

extern "C" HRESULT STDMETHODCALLTYPE DllRegisterServer() {
  simulated_bluetooth::Install();
  return S_OK;
}

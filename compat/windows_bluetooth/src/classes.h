#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <mutex>
#include <thread>
#include <type_traits>
#include <vector>

#include "simulated_bluetooth/simulated_bluetooth.h"
#include "system/com.h"

namespace simulated_bluetooth {

namespace winrt = plenar_ble::winrt;
using winrt::ComPtr;
using winrt::Make;
using winrt::Object;

/// What the system asks a library for.
struct IClassActivation : winrt::Inspectable {
  static constexpr GUID kId = winrt::Id("00000035-0000-0000-c000-000000000046");
  virtual HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) = 0;
};

ComPtr<IClassActivation> AdapterFactory();
ComPtr<IClassActivation> AdvertisementFactory();
ComPtr<IClassActivation> ManufacturerDataFactory();
ComPtr<IClassActivation> PublisherFactory();
ComPtr<IClassActivation> WatcherFactory();

/// Hands a reference to a caller.
template <class To, class From>
HRESULT Give(const ComPtr<From>& from, To** to) {
  if (from) from->AddRef();
  *to = from.Get();
  return S_OK;
}

/// Tells a caller a value.
template <class T>
HRESULT Give(const std::type_identity_t<T>& from, T* to) {
  *to = from;
  return S_OK;
}

template <class T>
void** Place(ComPtr<T>& pointer) {
  return reinterpret_cast<void**>(pointer.Out());
}

/// Makes objects that need nothing to be made.
template <class T>
class PlainFactory final : public Object<IClassActivation> {
 public:
  HRESULT STDMETHODCALLTYPE ActivateInstance(IInspectable** instance) override {
    return Make<T>()->QueryInterface(__uuidof(IInspectable), reinterpret_cast<void**>(instance));
  }
};

template <class T>
class Vector final : public Object<winrt::IVector<T>> {
 public:
  HRESULT STDMETHODCALLTYPE GetAt(UINT32 index, T** item) override {
    return index < items.size() ? Give(items[index], item) : E_INVALIDARG;
  }
  HRESULT STDMETHODCALLTYPE get_Size(UINT32* size) override {
    *size = static_cast<UINT32>(items.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Append(T* item) override {
    item->AddRef();
    *items.emplace_back().Out() = item;
    return S_OK;
  }

  std::vector<ComPtr<T>> items;
};

class Advertisement final : public Object<winrt::IAdvertisement> {
 public:
  HRESULT STDMETHODCALLTYPE
  get_ManufacturerData(winrt::IVector<winrt::IManufacturerData>** value) override {
    return Give(manufacturer_data, value);
  }
  HRESULT STDMETHODCALLTYPE get_DataSections(winrt::IVector<winrt::IDataSection>** value) override {
    return Give(data_sections, value);
  }

  const ComPtr<Vector<winrt::IManufacturerData>> manufacturer_data =
      Make<Vector<winrt::IManufacturerData>>();
  const ComPtr<Vector<winrt::IDataSection>> data_sections = Make<Vector<winrt::IDataSection>>();
};

/// What runs on threads of its own from its start until it is stopped, or has ended by itself.
template <class... Interfaces>
class Runner : public Object<Interfaces...> {
 public:
  HRESULT STDMETHODCALLTYPE Stop() override {
    const HRESULT result = Locked()->stop_result;
    if (SUCCEEDED(result)) stopping_ = true;
    return result;
  }

 protected:
  void StartThread() {
    this->AddRef();
    std::thread([this] {
      Run();
      this->Release();
    }).detach();
  }
  [[nodiscard]] bool IsStopping() const { return stopping_; }

 private:
  virtual void Run() = 0;

  std::atomic<bool> stopping_ = false;
};

/// The handlers of an event.
template <class Event>
class Handlers {
 public:
  using Delegate = winrt::TypedEventHandler<Event>;

  HRESULT Add(Delegate* handler, EventRegistrationToken* token) {
    ComPtr<IAgileObject> agile;  // One that is not would be called in its own apartment.
    ComPtr<Delegate> known;
    if (FAILED(handler->QueryInterface(__uuidof(IAgileObject), Place(agile))) ||
        FAILED(handler->QueryInterface(Delegate::kId, Place(known)))) {
      return E_INVALIDARG;
    }
    const std::scoped_lock lock(mutex_);
    handlers_.emplace_back(++last_token_, known);
    token->value = last_token_;
    return S_OK;
  }

  /// With `late_ms` set, the handler is called once more when it should not be.
  template <class Arguments>
  HRESULT Remove(EventRegistrationToken token, const ComPtr<Arguments>& arguments) {
    const std::scoped_lock lock(mutex_);
    for (auto i = handlers_.begin(); i != handlers_.end(); ++i) {
      if (i->first != token.value) continue;
      if (const DWORD late = Locked()->late_ms) {
        std::thread([handler = i->second, arguments, late] {
          Sleep(late);
          handler->Invoke(nullptr, arguments.Get());
        }).detach();
      }
      handlers_.erase(i);
      return S_OK;
    }
    return E_INVALIDARG;
  }

  template <class Arguments>
  void Raise(const ComPtr<Arguments>& arguments) {
    std::vector<std::pair<std::int64_t, ComPtr<Delegate>>> handlers;
    {
      const std::scoped_lock lock(mutex_);
      handlers = handlers_;
    }
    for (const auto& [token, handler] : handlers) handler->Invoke(nullptr, arguments.Get());
  }

 private:
  std::mutex mutex_;
  std::int64_t last_token_ = 0;
  std::vector<std::pair<std::int64_t, ComPtr<Delegate>>> handlers_;
};

}  // namespace simulated_bluetooth

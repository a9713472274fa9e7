#pragma once

#include <windows.h>

#include <activation.h>
#include <objidl.h>
#include <roapi.h>
#include <winstring.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "system/bluetooth_classes.h"

/// What is needed to use the system's classes, and to be called by them.
namespace plenar_ble::winrt {

/// A call into the system that failed.
struct SystemError {
  HRESULT number;
  const char* name;  ///< Of what was called: a literal.
};

inline void Check(HRESULT result, const char* call) {
  if (FAILED(result)) throw SystemError{result, call};
}

/// Holds one reference to an object.
template <class T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(const ComPtr& other) noexcept : pointer_(other.pointer_) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr other) noexcept {
    std::swap(pointer_, other.pointer_);
    return *this;
  }
  ~ComPtr() {
    if (pointer_ != nullptr) pointer_->Release();
  }

  [[nodiscard]] T* Get() const noexcept { return pointer_; }
  T* operator->() const noexcept { return pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

  /// Where a call leaves a reference; the one held is let go.
  [[nodiscard]] T** Out() noexcept {
    *this = {};
    return &pointer_;
  }

  /// The object's other interface; null when it has none.
  template <class U>
  [[nodiscard]] ComPtr<U> As() const {
    ComPtr<U> other;
    if (FAILED(pointer_->QueryInterface(U::kId, reinterpret_cast<void**>(other.Out())))) return {};
    return other;
  }

 private:
  T* pointer_ = nullptr;
};

/// An object of ours that holds one reference itself.
template <class T, class... Args>
ComPtr<T> Make(Args&&... args) {
  ComPtr<T> object;
  *object.Out() = new T(std::forward<Args>(args)...);
  return object;
}

/// How many objects of ours there are. The system may keep some, and call them later: their code
/// must be there.
inline std::atomic<int> objects_alive = 0;

/// Implements interfaces, for callers in any apartment.
template <class First, class... Others>
class Object : public First, public Others... {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (id == __uuidof(IUnknown) || id == __uuidof(IAgileObject) || Is<First>(id) ||
        (std::is_base_of_v<IInspectable, First> && id == __uuidof(IInspectable))) {
      *result = static_cast<First*>(this);
    }
    ((Is<Others>(id) ? void(*result = static_cast<Others*>(this)) : void()), ...);
    if (*result == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  virtual ~Object() = default;

 private:
  template <class T>
  static bool Is([[maybe_unused]] REFIID id) {
    if constexpr (requires { T::kId; }) return id == T::kId;
    return false;
  }

  struct Count {
    Count() { ++objects_alive; }
    Count(const Count&) = delete;
    Count& operator=(const Count&) = delete;
    ~Count() { --objects_alive; }
  };

  Count count_;  // Ends last.
  std::atomic<ULONG> references_{1};
};

/// The name of a class, for a call. A literal, which is not copied.
class ClassName {
 public:
  explicit ClassName(std::wstring_view name) {
    Check(WindowsCreateStringReference(name.data(), static_cast<UINT32>(name.size()), &header_,
                                       &string_),
          "WindowsCreateStringReference");
  }
  operator HSTRING() const noexcept { return string_; }

 private:
  HSTRING_HEADER header_{};
  HSTRING string_ = nullptr;
};

/// The interface that makes objects of a class, or has what belongs to none.
template <class T>
ComPtr<T> Factory(std::wstring_view class_name) {
  ComPtr<T> factory;
  Check(RoGetActivationFactory(ClassName(class_name), T::kId,
                               reinterpret_cast<void**>(factory.Out())),
        "RoGetActivationFactory");
  return factory;
}

/// A new object of a class.
template <class T>
ComPtr<T> Activate(std::wstring_view class_name) {
  ComPtr<IInspectable> object;
  Check(RoActivateInstance(ClassName(class_name), object.Out()), "RoActivateInstance");
  ComPtr<T> wanted = object.As<T>();
  if (!wanted) throw SystemError{E_NOINTERFACE, "RoActivateInstance"};
  return wanted;
}

/// Passes an event of the system's on, on the thread on which it comes. `function` gives the number
/// that the system gets; what it throws goes no further.
template <class Event>
class Handler final : public Object<TypedEventHandler<Event>> {
 public:
  using Function = std::function<HRESULT(typename Event::Arguments&)>;

  explicit Handler(Function function) : function_(std::move(function)) {}

  HRESULT STDMETHODCALLTYPE Invoke(typename Event::Sender*,
                                   typename Event::Arguments* arguments) override {
    if (arguments == nullptr) return E_POINTER;
    try {
      return function_(*arguments);
    } catch (...) {
      return E_FAIL;
    }
  }

 private:
  Function function_;
};

/// Bytes of ours for the system to read.
class ByteBuffer final : public Object<IBuffer, IBufferByteAccess> {
 public:
  explicit ByteBuffer(std::span<const std::uint8_t> bytes) : bytes_(bytes.begin(), bytes.end()) {}

  HRESULT STDMETHODCALLTYPE get_Capacity(UINT32* value) override { return get_Length(value); }
  HRESULT STDMETHODCALLTYPE get_Length(UINT32* value) override {
    *value = static_cast<UINT32>(bytes_.size());
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_Length(UINT32) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Buffer(BYTE** value) override {
    *value = bytes_.data();
    return S_OK;
  }

 private:
  std::vector<std::uint8_t> bytes_;
};

/// The bytes of anybody's buffer, for as long as it lives.
inline std::span<const std::uint8_t> BytesOf(const ComPtr<IBuffer>& buffer) {
  const auto access = buffer.As<IBufferByteAccess>();
  if (!access) throw SystemError{E_NOINTERFACE, "IBufferByteAccess"};
  BYTE* bytes = nullptr;
  UINT32 length = 0;
  Check(access->Buffer(&bytes), "IBufferByteAccess.Buffer");
  Check(buffer->get_Length(&length), "IBuffer.Length");
  return {bytes, length};
}

/// Makes the calling thread one of the process's multi-threaded apartment.
class Apartment {
 public:
  Apartment() : result_(RoInitialize(RO_INIT_MULTITHREADED)) {}
  Apartment(const Apartment&) = delete;
  Apartment& operator=(const Apartment&) = delete;
  ~Apartment() {
    if (SUCCEEDED(result_)) RoUninitialize();
  }

 private:
  HRESULT result_;
};

}  // namespace plenar_ble::winrt

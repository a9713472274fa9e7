#pragma once

#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <new>
#include <sstream>
#include <string>
#include <type_traits>

/// Begins the definition of a stand-in call. The definitions are in the library's namespace, next
/// to what they use; C linkage makes them the ones that the Windows headers declare.
#define STAND_IN extern "C" SIMULATED_PC_EXPORT

namespace simulated_pc {

/// Ends the stand-in call that throws it with this error.
struct Win32Error {
  DWORD code;
};

/// The frame of every stand-in call: tells the observer, lets an injected failure happen and turns
/// a `Win32Error` into what the caller sees. An exception of a window procedure or an observer has
/// no defined way through the system; here it ends the process.
class StandInCall {
 public:
  template <typename... Arguments>
  explicit StandInCall(CallName name, const Arguments&... arguments) noexcept {
    if (!HooksAreSet()) return;
    if (IsObserved()) Observe(name, Words(arguments...));
    injected_error_ = TakeFailure(name);
  }

  /// Runs a call that reports errors through `GetLastError`; a failing one returns `failure`.
  template <typename Body>
  std::invoke_result_t<Body> Run(std::invoke_result_t<Body> failure, Body body) const noexcept {
    std::invoke_result_t<Body> result = failure;
    const DWORD error = Status([&] { result = body(); });
    if (error != ERROR_SUCCESS) ThreadError() = error;
    return result;
  }

  /// Runs a call that returns its error.
  template <typename Body>
  DWORD Status(Body body) const noexcept {
    if (injected_error_ != ERROR_SUCCESS) return injected_error_;
    try {
      body();
      return ERROR_SUCCESS;
    } catch (const Win32Error& error) {
      return error.code;
    } catch (const std::bad_alloc&) {
      return ERROR_NOT_ENOUGH_MEMORY;
    }
  }

  /// The calling thread's last-error value.
  static DWORD& ThreadError() noexcept;

 private:
  static bool HooksAreSet() noexcept;
  static bool IsObserved();
  static void Observe(CallName name, const std::string& arguments);
  static DWORD TakeFailure(CallName name);

  template <typename... Arguments>
  static std::string Words(const Arguments&... arguments) {
    std::ostringstream out;
    [[maybe_unused]] const char* separator = "";
    ((out << separator, Write(out, arguments), separator = ", "), ...);
    return out.str();
  }

  static void Write(std::ostream& out, const char* text);
  static void Write(std::ostream& out, const wchar_t* text);
  static void Write(std::ostream& out, const void* pointer);
  template <typename Integer>
  requires std::is_integral_v<Integer>
  static void Write(std::ostream& out, Integer number) { out << number; }

  DWORD injected_error_ = ERROR_SUCCESS;
};

/// Drops the observer and all failures that have not been used up.
void DropHooks();

}  // namespace simulated_pc

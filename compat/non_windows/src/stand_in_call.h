#pragma once

#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <new>
#include <sstream>
#include <string>

#include "pc_state.h"

/// Begins the definition of a stand-in call. The definitions are in the library's namespace, next
/// to what they use; C linkage makes them the ones that the Windows headers declare.
#define STAND_IN extern "C" SIMULATED_PC_EXPORT

namespace simulated_pc {

/// The frame of every stand-in call: tells the observer, lets an injected failure happen and turns
/// a `Win32Error` into what the caller sees. An exception of a window procedure or an observer has
/// no defined way through the system; here it ends the process.
class StandInCall {
 public:
  template <class... Arguments>
  explicit StandInCall(CallName name, const Arguments&... arguments) noexcept {
    if (IsObserved()) Observe(name, Words(arguments...));
    injected_error_ = TakeFailure(name);
  }

  /// Runs a call that returns its error.
  template <class Body>
  DWORD Error(Body body) const noexcept {
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

  /// Runs a call that reports errors through `GetLastError`; a failing one returns `failure`.
  template <class Result, class Body>
  Result Run(Result failure, Body body) const noexcept {
    Result result = failure;
    const DWORD error = Error([&] { result = body(); });
    if (error != ERROR_SUCCESS) ThreadError() = error;
    return result;
  }

  /// The same for a call that returns just whether it succeeded.
  template <class Body>
  BOOL Succeeds(Body body) const noexcept {
    return Run(FALSE, [&] {
      body();
      return TRUE;
    });
  }

  /// The calling thread's last-error value.
  static DWORD& ThreadError() noexcept;

 private:
  static bool IsObserved();
  static void Observe(CallName name, const std::string& arguments);
  static DWORD TakeFailure(CallName name);

  template <class... Arguments>
  static std::string Words(const Arguments&... arguments) {
    std::ostringstream out;
    [[maybe_unused]] const char* separator = "";
    ((out << separator, Write(out, arguments), separator = ", "), ...);
    return out.str();
  }

  static void Write(std::ostream& out, const char* text);
  static void Write(std::ostream& out, const void* pointer);
  template <class Integer>
  requires std::is_integral_v<Integer>
  static void Write(std::ostream& out, Integer number) { out << number; }

  DWORD injected_error_;
};

}  // namespace simulated_pc

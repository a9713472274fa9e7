#include "window_classes.h"

#include <algorithm>
#include <cstring>

#include "loader.h"
#include "stand_in_call.h"

namespace simulated_pc {
namespace {

constexpr std::size_t kMaxNameLength = 255;
constexpr ATOM kFirstAtom = 0xC000;

HINSTANCE OrExecutable(HINSTANCE instance) {
  return instance != nullptr ? instance : ExecutableModule();
}

ATOM NewAtom(const std::vector<WindowClass>& classes) {
  ATOM atom = kFirstAtom;
  for (const WindowClass& other : classes) atom = std::max(atom, other.atom);
  return static_cast<ATOM>(atom + 1);
}

void CheckDescription(const WNDCLASSEXA* description) {
  if (description == nullptr || description->cbSize != sizeof *description ||
      description->lpszClassName == nullptr || *description->lpszClassName == '\0' ||
      std::strlen(description->lpszClassName) > kMaxNameLength ||
      description->lpfnWndProc == nullptr) {
    throw Win32Error{ERROR_INVALID_PARAMETER};
  }
}

}  // namespace

std::vector<WindowClass>::iterator FindClass(PcState& pc, LPCSTR name, HINSTANCE instance) {
  const auto atom = reinterpret_cast<std::uintptr_t>(name);
  return std::ranges::find_if(pc.desktop.classes, [&](const WindowClass& candidate) {
    const bool same_name =
        atom <= 0xFFFF ? candidate.atom == atom : EqualIgnoringCase(candidate.name, name);
    return same_name && (instance == nullptr || candidate.instance == instance);
  });
}

bool SimulatedPc::HasWindowClass(const std::string& name) const {
  const LockedPc pc;
  return FindClass(*pc, name.c_str(), nullptr) != pc->desktop.classes.end();
}

STAND_IN ATOM RegisterClassExA(const WNDCLASSEXA* description) {
  const StandInCall call("RegisterClassExA", description ? description->lpszClassName : nullptr);
  return call.Run(0, [&] {
    CheckDescription(description);
    const HINSTANCE instance = OrExecutable(description->hInstance);
    const LockedPc pc;
    auto& classes = pc->desktop.classes;
    if (FindClass(*pc, description->lpszClassName, instance) != classes.end()) {
      throw Win32Error{ERROR_CLASS_ALREADY_EXISTS};
    }
    const ATOM atom = NewAtom(classes);
    classes.push_back({description->lpszClassName, atom, instance, description->lpfnWndProc});
    return atom;
  });
}

STAND_IN BOOL UnregisterClassA(LPCSTR class_name, HINSTANCE instance) {
  return StandInCall("UnregisterClassA", class_name, instance).Run(FALSE, [&] {
    const LockedPc pc;
    const auto found = FindClass(*pc, class_name, OrExecutable(instance));
    if (found == pc->desktop.classes.end()) throw Win32Error{ERROR_CLASS_DOES_NOT_EXIST};
    const bool in_use = std::ranges::any_of(pc->desktop.windows, [&](const auto& entry) {
      return entry.second.class_atom == found->atom;
    });
    if (in_use) throw Win32Error{ERROR_CLASS_HAS_WINDOWS};
    pc->desktop.classes.erase(found);
    return TRUE;
  });
}

}  // namespace simulated_pc

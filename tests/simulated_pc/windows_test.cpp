#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <simulated_pc/simulated_pc.h>
#include <windows.h>

#include <string>
#include <thread>
#include <vector>

namespace {

using simulated_pc::SimulatedPc;
using testing::ElementsAre;

/// What the window procedure got, and how it answers.
struct Script {
  std::vector<UINT> messages;
  LRESULT on_nccreate = TRUE;
  LRESULT on_create = 0;
  LPVOID parameter = nullptr;
  bool destroys_itself = false;
} script;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wparam, LPARAM lparam) {
  script.messages.push_back(message);
  EXPECT_TRUE(IsWindow(window));
  if (message == WM_NCCREATE) {
    script.parameter = reinterpret_cast<CREATESTRUCTA*>(lparam)->lpCreateParams;
    return script.on_nccreate;
  }
  if (message == WM_CREATE) {
    if (script.destroys_itself) DestroyWindow(window);
    return script.on_create;
  }
  if (message == WM_DESTROY) {
    EXPECT_FALSE(DestroyWindow(window));
  }
  return DefWindowProcA(window, message, wparam, lparam);
}

WNDCLASSEXA Description(LPCSTR name = "Sample") {
  WNDCLASSEXA description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = Procedure;
  description.lpszClassName = name;
  return description;
}

HWND Create(LPCSTR class_name = "Sample", DWORD style = WS_OVERLAPPEDWINDOW, HWND parent = nullptr,
            HINSTANCE instance = nullptr) {
  return CreateWindowExA(0, class_name, "", style, 0, 0, 0, 0, parent, nullptr, instance, &script);
}

class WindowsTest : public testing::Test {
 protected:
  void SetUp() override {
    SimulatedPc::Get().Reset();
    script = Script();
    const WNDCLASSEXA description = Description();
    ASSERT_NE(RegisterClassExA(&description), 0);
    SetLastError(0);
  }
};

TEST_F(WindowsTest, AClassIsRegisteredOnceUntilItIsUnregistered) {
  const WNDCLASSEXA again = Description("SAMPLE");
  EXPECT_EQ(RegisterClassExA(&again), 0);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CLASS_ALREADY_EXISTS});
  EXPECT_TRUE(SimulatedPc::Get().HasWindowClass("Sample"));

  const HWND window = Create();
  EXPECT_FALSE(UnregisterClassA("Sample", nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CLASS_HAS_WINDOWS});
  EXPECT_TRUE(DestroyWindow(window));
  EXPECT_TRUE(UnregisterClassA("Sample", GetModuleHandleA(nullptr)));
  EXPECT_FALSE(SimulatedPc::Get().HasWindowClass("Sample"));
  EXPECT_FALSE(UnregisterClassA("Sample", nullptr));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CLASS_DOES_NOT_EXIST});
}

TEST_F(WindowsTest, AClassNeedsItsSizeItsNameAndItsProcedure) {
  const std::string long_name(256, 'x');
  WNDCLASSEXA cases[] = {Description(), Description(nullptr), Description(""),
                         Description("No procedure"), Description(long_name.c_str())};
  cases[0].cbSize = sizeof(WNDCLASSEXA) - 1;
  cases[3].lpfnWndProc = nullptr;
  for (const WNDCLASSEXA& description : cases) {
    SetLastError(0);
    EXPECT_EQ(RegisterClassExA(&description), 0);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  }
}

TEST_F(WindowsTest, AWindowOfAnotherInstanceDoesNotFindTheClass) {
  WNDCLASSEXA description = Description("Theirs");
  description.hInstance = reinterpret_cast<HINSTANCE>(0x1000);
  const ATOM atom = RegisterClassExA(&description);
  EXPECT_EQ(Create("Theirs", 0, nullptr, GetModuleHandleA(nullptr)), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_CANNOT_FIND_WND_CLASS});
  EXPECT_NE(Create("Theirs", 0, nullptr, description.hInstance), nullptr);
  EXPECT_NE(Create(reinterpret_cast<LPCSTR>(std::uintptr_t{atom})), nullptr);
}

TEST_F(WindowsTest, CreationAndDestructionAreToldToTheProcedure) {
  const HWND window = Create();
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(script.parameter, &script);
  EXPECT_THAT(script.messages, ElementsAre(WM_NCCREATE, WM_CREATE));
  EXPECT_EQ(SimulatedPc::Get().WindowCount(), 1u);

  script.messages.clear();
  EXPECT_EQ(SendMessageA(window, WM_CLOSE, 0, 0), 0) << "by default a window closes";
  EXPECT_THAT(script.messages, ElementsAre(WM_CLOSE, WM_DESTROY, WM_NCDESTROY));
  EXPECT_EQ(SimulatedPc::Get().WindowCount(), 0u);
  EXPECT_FALSE(IsWindow(window));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
  EXPECT_FALSE(DestroyWindow(window));
}

TEST_F(WindowsTest, TheProcedureCanRefuseTheWindow) {
  script.on_nccreate = FALSE;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(script.messages, ElementsAre(WM_NCCREATE, WM_NCDESTROY));

  script = Script();
  script.on_create = -1;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_THAT(script.messages, ElementsAre(WM_NCCREATE, WM_CREATE, WM_DESTROY, WM_NCDESTROY));

  script = Script();
  script.destroys_itself = true;
  EXPECT_EQ(Create(), nullptr);
  EXPECT_EQ(SimulatedPc::Get().WindowCount(), 0u);
}

TEST_F(WindowsTest, CreationFailsForWhatIsNotThere) {
  const struct {
    LPCSTR class_name;
    DWORD style;
    HWND parent;
    DWORD error;
  } kCases[] = {
      {"Unknown", 0, nullptr, ERROR_CANNOT_FIND_WND_CLASS},
      {nullptr, 0, nullptr, ERROR_CANNOT_FIND_WND_CLASS},
      {"Sample", WS_CHILD, nullptr, ERROR_TLW_WITH_WSCHILD},
      {"Sample", 0, reinterpret_cast<HWND>(0x4), ERROR_INVALID_WINDOW_HANDLE},
  };
  for (const auto& test : kCases) {
    SetLastError(0);
    EXPECT_EQ(Create(test.class_name, test.style, test.parent), nullptr);
    EXPECT_EQ(GetLastError(), test.error);
  }
  EXPECT_TRUE(script.messages.empty());
}

TEST_F(WindowsTest, AWindowBelongsToItsThreadAndGoesWithIt) {
  HWND window = nullptr;
  std::thread([&] {
    window = Create();
    EXPECT_EQ(SimulatedPc::Get().WindowCount(), 1u);
  }).join();
  EXPECT_EQ(SimulatedPc::Get().WindowCount(), 0u);
  EXPECT_THAT(script.messages, ElementsAre(WM_NCCREATE, WM_CREATE));

  window = Create();
  std::thread([&] {
    EXPECT_FALSE(DestroyWindow(window));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  }).join();
  EXPECT_TRUE(DestroyWindow(window));
}

}  // namespace

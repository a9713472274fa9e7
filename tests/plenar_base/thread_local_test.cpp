#include <plenar_base/thread_local.h>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

using base::threading::ThreadLocal;

namespace {

std::atomic<int> freed{0};

void Free(void* value) {
  delete static_cast<int*>(value);
  ++freed;
}

void SetNew(std::string_view key) {
  ThreadLocal::EnsureInitializedForCurrentThread();
  ThreadLocal::SetValue(key, new int(1), &Free);
}

}  // namespace

TEST(ThreadLocalTest, KeepsAValuePerThreadAndKey) {
  int mine = 0;
  int other = 0;
  EXPECT_EQ(ThreadLocal::GetValue("key"), nullptr);
  ThreadLocal::EnsureInitializedForCurrentThread();
  ThreadLocal::SetValue("key", &mine, nullptr);
  ThreadLocal::SetValue("other", &other, nullptr);
  std::thread([] { EXPECT_EQ(ThreadLocal::GetValue("key"), nullptr); }).join();
  EXPECT_EQ(ThreadLocal::GetValue("key"), &mine);
  EXPECT_EQ(ThreadLocal::GetValue("other"), &other);
  ThreadLocal::SetValue("key", nullptr, nullptr);
  EXPECT_EQ(ThreadLocal::GetValue("key"), nullptr);
}

TEST(ThreadLocalTest, CleansUpAtThreadExitWhatIsStillThere) {
  freed = 0;
  static int replaced = 0;
  std::thread([] {
    SetNew("kept");
    ThreadLocal::SetValue("replaced", &replaced, &Free);
    SetNew("replaced");
    ThreadLocal::SetValue("emptied", &replaced, &Free);
    ThreadLocal::SetValue("emptied", nullptr, nullptr);
  }).join();
  EXPECT_EQ(freed, 2);
}

TEST(ThreadLocalTest, MayBeUsedWhileTheThreadIsEnding) {
  freed = 0;
  struct UsedLate {
    ~UsedLate() { SetNew("late"); }
  };
  std::thread([] {
    // Made before the slots: where the platform orders destructors so, destroyed after them.
    thread_local UsedLate used_late;
    static_cast<void>(&used_late);
    SetNew("key");
    ThreadLocal::SetValue("from cleanup", &freed, [](void*) { SetNew("set in cleanup"); });
  }).join();
  EXPECT_EQ(freed, 3);
}

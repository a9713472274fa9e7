#include <plenar_base/thread_local.h>

#include <thread>

#include <gtest/gtest.h>

using base::threading::ThreadLocal;

TEST(ThreadLocalTest, CleansUpAtThreadExitAlsoWhatIsSetMeanwhile) {
  static int value = 0;
  static int freed = 0;
  ThreadLocal::SetValue("key", &value, nullptr);
  std::thread([] {
    EXPECT_EQ(ThreadLocal::GetValue("key"), nullptr);
    ThreadLocal::SetValue("key", &value, [](void*) { FAIL() << "was replaced"; });
    ThreadLocal::SetValue("key", &value, [](void*) { ++freed; });
    ThreadLocal::SetValue("at exit", &value, [](void*) {
      ThreadLocal::SetValue("set meanwhile", &value, [](void*) { ++freed; });
    });
  }).join();
  EXPECT_EQ(freed, 2);
  EXPECT_EQ(ThreadLocal::GetValue("key"), &value);
}

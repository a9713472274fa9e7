#include <string>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <plenar_ble_api/ble_api.h>

TEST(Unload, HappensAfterUnInitAndNotWhileAThreadLives) {
  for (int round = 0; round < 20; ++round) {
    EXPECT_EQ(dlopen(PLENAR_BLE_API_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
    void* const library = dlopen(PLENAR_BLE_API_PATH, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto init = reinterpret_cast<decltype(&BleInit)>(dlsym(library, "BleInit"));
    const auto un_init = reinterpret_cast<decltype(&BleUnInit)>(dlsym(library, "BleUnInit"));
    const auto log = reinterpret_cast<decltype(&BleSetLogFunc)>(dlsym(library, "BleSetLogFunc"));
    log([text = std::string(99, 'x')](auto&&...) {});  // Nobody else releases it.
    EXPECT_EQ(init(0), 0);
    dlclose(library);
    ASSERT_EQ(dlopen(PLENAR_BLE_API_PATH, RTLD_NOW | RTLD_NOLOAD), library) << "a thread lives";
    un_init();
    dlclose(library);
  }
}

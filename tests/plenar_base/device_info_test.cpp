#include <cstdint>

#include <gtest/gtest.h>
#include <plenar_base/deviceinfo.h>
#include <simulated_pc/simulated_pc.h>

TEST(DeviceInfoTest, TellsWindows10ByItsTrueVersion) {
  const struct {
    std::uint32_t major, minor, build;
    bool is_windows_10;
  } table[] = {{6, 1, 7601, false}, {6, 3, 9600, false}, {10, 0, 10240, true}, {11, 0, 1, true}};
  for (const auto& row : table) {
    simulated_pc::SimulatedPc::Get().SetWindowsVersion(row.major, row.minor, row.build);
    EXPECT_EQ(util::deviceinfo::IsWin10OrLater(), row.is_windows_10) << row.build;
  }
}

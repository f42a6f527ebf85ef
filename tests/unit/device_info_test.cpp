// Device information: the persistent-storage path from the environment.
#include <gtest/gtest.h>
#include <stdlib.h>

#include "THevoDeviceInfo.h"

namespace {

TEST(DeviceInfo, PersistentStorageComesFromTheEnvironment) {
  EXPECT_EQ(THevoDeviceInfo::PERSISTENT_STORAGE, 12);
  THevoDeviceInfo& info = THevoDeviceInfo::GetInstance();
  EXPECT_EQ(&info, &THevoDeviceInfo::GetInstance());

  std::string value = "before";
  setenv("HEVO_PERSISTENT_STORAGE", "/data/persist", 1);
  EXPECT_TRUE(info.GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, value));
  EXPECT_EQ(value, "/data/persist");

  value = "before";
  setenv("HEVO_PERSISTENT_STORAGE", "", 1);
  EXPECT_FALSE(info.GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, value));
  EXPECT_EQ(value, "before");

  unsetenv("HEVO_PERSISTENT_STORAGE");
  EXPECT_FALSE(info.GetInfo(THevoDeviceInfo::PERSISTENT_STORAGE, value));
  EXPECT_EQ(value, "before");

  setenv("HEVO_PERSISTENT_STORAGE", "/x", 1);
  EXPECT_FALSE(info.GetInfo(static_cast<THevoDeviceInfo::TInfoItemType>(3), value));
  unsetenv("HEVO_PERSISTENT_STORAGE");
}

}  // namespace

// THevoDeviceInfo.cpp: see THevoDeviceInfo.h.
#include "THevoDeviceInfo.h"

#include <cstdlib>

THevoDeviceInfo& THevoDeviceInfo::GetInstance() {
  static THevoDeviceInfo instance;
  return instance;
}

bool THevoDeviceInfo::GetInfo(TInfoItemType item, std::string& value) const {
  if (item != PERSISTENT_STORAGE) return false;
  const char* path = std::getenv("HEVO_PERSISTENT_STORAGE");
  if (path == nullptr || *path == '\0') return false;
  value = path;
  return true;
}

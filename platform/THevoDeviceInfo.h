// THevoDeviceInfo.h: device information of the base library.
//
// This stand-in answers one item, PERSISTENT_STORAGE, from the environment
// variable HEVO_PERSISTENT_STORAGE, so that a test or a development machine
// can point the key store anywhere.
#ifndef THEVO_DEVICE_INFO_H
#define THEVO_DEVICE_INFO_H

#include <string>

#include "HevoExport.h"

class HEVO_EXPORT THevoDeviceInfo {
 public:
  // TInfoItemType names the items of device information. Only
  // PERSISTENT_STORAGE is answered here; its value is fixed by the platform.
  enum TInfoItemType {
    PERSISTENT_STORAGE = 12,
  };

  // GetInstance returns the process's single device-information object.
  static THevoDeviceInfo& GetInstance();

  // GetInfo sets |value| to the item's text and returns true; when the item
  // is not available it returns false and leaves |value| as it was.
  // PERSISTENT_STORAGE is available when HEVO_PERSISTENT_STORAGE is set and
  // not empty; it is read anew on every call.
  bool GetInfo(TInfoItemType item, std::string& value) const;

  THevoDeviceInfo(const THevoDeviceInfo&) = delete;
  THevoDeviceInfo& operator=(const THevoDeviceInfo&) = delete;

 private:
  THevoDeviceInfo() = default;
  ~THevoDeviceInfo() = default;
};

#endif  // THEVO_DEVICE_INFO_H

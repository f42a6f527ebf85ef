// device_binding.h: what the store cipher of a bound build calls: seal an
// item for its file before the white-box layer encrypts it, and open the
// sealed form that the white-box layer decrypted. Every failure writes its
// own level-2 line, tagged "[ZelDeviceBinding]", naming the item file.
#ifndef ZEL_BINDING_DEVICE_BINDING_H
#define ZEL_BINDING_DEVICE_BINDING_H

#include <cstdint>
#include <string>
#include <vector>

#include "aead.h"
#include "device_keys.h"
#include "sealed_item.h"

namespace zel_binding {

// The log lines of a bound store (formats, for the tests).
extern const char kLogCannotStore[];   // file name, reason of the source
extern const char kLogCannotLoad[];    // file name, reason of the source
extern const char kLogOtherDevice[];   // file name
extern const char kLogNotBound[];      // file name
extern const char kLogOtherMode[];     // file name, its mode, this build's
extern const char kLogUnknownVersion[];  // file name, its version

// BindItem replaces |sealed| with the sealed form of |plain| for the item
// file |file_name|, bound by |mode| to this device. The device value is
// read on the first call; a missing host secret is created then, unless
// |find_bound_file| names a bound item file of the key store (see
// DeviceKeys::Get). False, with its line logged and |sealed| empty, when
// it cannot.
bool BindItem(Mode mode, const std::string& file_name, Span plain, std::vector<uint8_t>& sealed,
              const FindBoundFile& find_bound_file);

enum class Unbound { kOk, kNotBound, kRefused };

// UnbindItem replaces |data|, the sealed form of the item file
// |file_name|, with the item. kOk; kNotBound when |data| is not a sealed
// form at all (|data| is left as it is; logged unless |quiet_not_bound|);
// kRefused for every other failure (logged, |data| wiped and emptied).
Unbound UnbindItem(Mode mode, const std::string& file_name, std::vector<uint8_t>& data,
                   bool quiet_not_bound);

}  // namespace zel_binding

#endif  // ZEL_BINDING_DEVICE_BINDING_H

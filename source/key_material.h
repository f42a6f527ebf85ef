// key_material.h: the store key (EGSK) and IV (UID) embedded in the library.
//
// The build links the key files in as data (key_material.S), under the
// exported symbols _binary_egsk_bin_start/_end/_size and
// _binary_uid_bin_start/_end/_size.
#ifndef ZEL_SOURCE_KEY_MATERIAL_H
#define ZEL_SOURCE_KEY_MATERIAL_H

extern "C" {
extern const unsigned char _binary_egsk_bin_start[];
extern const unsigned char _binary_egsk_bin_end[];
extern const unsigned char _binary_uid_bin_start[];
extern const unsigned char _binary_uid_bin_end[];
}

// EGSK_SIZE is the length of the embedded store key in bytes, set when the
// library is loaded.
extern const unsigned EGSK_SIZE;

#endif  // ZEL_SOURCE_KEY_MATERIAL_H

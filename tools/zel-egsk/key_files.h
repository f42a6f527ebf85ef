// key_files.h: reading and writing the small key files of zel-egsk.
//
// Files are read and written with plain system calls into caller buffers,
// so that no stdio buffer keeps a copy of key material. New files are
// created with mode 0600 and never replace an existing file.
#ifndef ZEL_TOOLS_EGSK_KEY_FILES_H
#define ZEL_TOOLS_EGSK_KEY_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace zel_egsk {

// read_key_file reads a file of |min_size| to |max_size| bytes into |data|
// (at least |max_size| long) and returns its length, or 0 with |error| set.
std::size_t read_key_file(const std::string& path, uint8_t* data,
                          std::size_t min_size, std::size_t max_size,
                          std::string& error);

// write_new_file creates |path| (which must not exist) holding |size|
// bytes of |data|.
bool write_new_file(const std::string& path, const uint8_t* data,
                    std::size_t size, std::string& error);

// random_bytes fills |data| from the kernel's random source (getrandom).
bool random_bytes(uint8_t* data, std::size_t size, std::string& error);

}  // namespace zel_egsk

#endif  // ZEL_TOOLS_EGSK_KEY_FILES_H

// source_writer.h: writes generated tables as a C++ source file.
//
// Every array goes into an unnamed namespace, 64-byte aligned (a cache
// line), into the section zel_wb_tables (ZEL_WB_TABLE), and is then
// reachable only through the table structs the caller writes after it. Output depends only on the arrays and names given, so
// the same tables give the same bytes.
#ifndef ZEL_WHITEBOX_GENERATOR_SOURCE_WRITER_H
#define ZEL_WHITEBOX_GENERATOR_SOURCE_WRITER_H

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace zel_wbgen {

class SourceWriter {
 public:
  // |inputs| names what the file was generated from (never a secret).
  explicit SourceWriter(const std::string& inputs);

  // add_bytes / add_words define an internal array in the table section
  // and return its name; the source static-asserts that the array has
  // |size| elements, an expression over the runtime's size constants
  // (wb_tables.h), so a runtime whose layout changed does not compile.
  std::string add_bytes(const std::string& name,
                        const std::vector<uint8_t>& data,
                        const std::string& size);
  std::string add_words(const std::string& name,
                        const std::vector<uint32_t>& data,
                        const std::string& size);

  // close_tables ends the unnamed namespace; text after it is written as
  // given (struct definitions, the boundary's tables).
  void close_tables();
  void append(const std::string& text) { out_ << text; }

  uint64_t table_bytes() const { return table_bytes_; }

  // write_file writes the source to |path|; false on an I/O error.
  bool write_file(const std::string& path) const;

  // byte_list formats bytes as a brace-enclosed initialiser list.
  static std::string byte_list(const std::vector<uint8_t>& data);

 private:
  void assert_size(const std::string& name, const std::string& size);

  std::ostringstream out_;
  uint64_t table_bytes_ = 0;
};

}  // namespace zel_wbgen

#endif  // ZEL_WHITEBOX_GENERATOR_SOURCE_WRITER_H

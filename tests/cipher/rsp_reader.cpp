#include "rsp_reader.h"

#include <fstream>
#include <stdexcept>

namespace {

std::string Trim(const std::string& text) {
  const char* kSpace = " \t\r\n";
  const size_t first = text.find_first_not_of(kSpace);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

// RecordBuilder collects the fields of one record and checks that all five
// arrived before the record is handed out.
class RecordBuilder {
 public:
  bool Started() const { return fields_ != 0; }

  void Set(const std::string& name, const std::string& value) {
    if (name == "COUNT") {
      record_.count = std::stoi(value);
      fields_ |= 1;
    } else if (name == "KEY") {
      record_.key = HexToBytes(value);
      fields_ |= 2;
    } else if (name == "IV") {
      record_.iv = HexToBytes(value);
      fields_ |= 4;
    } else if (name == "PLAINTEXT") {
      record_.plaintext = HexToBytes(value);
      fields_ |= 8;
    } else if (name == "CIPHERTEXT") {
      record_.ciphertext = HexToBytes(value);
      fields_ |= 16;
    }
  }

  CavpCase Take(bool encrypt_section, const std::string& where) {
    if (fields_ != 31) throw std::runtime_error("incomplete record at " + where);
    record_.encrypt_section = encrypt_section;
    CavpCase done = record_;
    record_ = CavpCase();
    fields_ = 0;
    return done;
  }

 private:
  CavpCase record_ = CavpCase();
  unsigned fields_ = 0;
};

}  // namespace

std::vector<CavpCase> ReadCavpFile(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot open " + path);

  std::vector<CavpCase> cases;
  RecordBuilder record;
  int section = -1;  // -1 before any section, 1 encrypt, 0 decrypt
  std::string line;
  int line_number = 0;
  auto finish_record = [&] {
    if (!record.Started()) return;
    if (section < 0)
      throw std::runtime_error("record outside a section in " + path);
    cases.push_back(record.Take(section == 1,
                                path + ":" + std::to_string(line_number)));
  };

  while (std::getline(file, line)) {
    ++line_number;
    line = Trim(line);
    if (line.empty()) {
      finish_record();
    } else if (line[0] == '#') {
      continue;
    } else if (line == "[ENCRYPT]" || line == "[DECRYPT]") {
      finish_record();
      section = line == "[ENCRYPT]" ? 1 : 0;
    } else {
      const size_t equals = line.find('=');
      if (equals == std::string::npos)
        throw std::runtime_error("unreadable line " + path + ":" +
                                 std::to_string(line_number));
      record.Set(Trim(line.substr(0, equals)), Trim(line.substr(equals + 1)));
    }
  }
  finish_record();
  return cases;
}

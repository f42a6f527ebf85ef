// vectors.cpp: see vectors.h.
#include "vectors.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

Bytes FileBytes(const fs::path& path) {
  const std::string bytes = ReadAll(path);
  return Bytes(bytes.begin(), bytes.end());
}

Bytes Hex(const std::string& hex) {
  if (hex.size() % 2 != 0) throw std::runtime_error("odd hex: " + hex);
  Bytes bytes(hex.size() / 2);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<uint8_t>(std::stoul(hex.substr(2 * i, 2), nullptr, 16));
  return bytes;
}

// Files of a directory in name order, so that vector names are stable.
std::vector<fs::path> FilesIn(const fs::path& dir, const std::string& extension) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(dir))
    if (entry.path().extension() == extension) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

// A .rsp record is a run of "NAME = value" lines that "COUNT" starts; the
// [ENCRYPT] and [DECRYPT] sections both give vectors for both directions.
std::vector<Vector> NistVectors() {
  std::vector<Vector> vectors;
  for (const fs::path& file : FilesIn(ZEL_TEST_VECTORS_DIR "/nist-cavp", ".rsp")) {
    std::istringstream lines(ReadAll(file));
    std::map<std::string, std::string> fields;
    auto flush = [&] {
      if (fields.size() == 5)
        vectors.push_back({file.filename().string() + " COUNT " + fields["COUNT"],
                           Hex(fields["KEY"]), Hex(fields["IV"]), Hex(fields["PLAINTEXT"]),
                           Hex(fields["CIPHERTEXT"]), false, true});
      fields.clear();
    };
    for (std::string line; std::getline(lines, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      const size_t equals = line.find(" = ");
      if (equals == std::string::npos || line[0] == '#') continue;
      if (line.compare(0, equals, "COUNT") == 0) flush();
      fields[line.substr(0, equals)] = line.substr(equals + 3);
    }
    flush();
  }
  return vectors;
}

std::vector<Vector> JsonVectors(const std::string& file) {
  const nlohmann::json json =
      nlohmann::json::parse(ReadAll(std::string(ZEL_TEST_VECTORS_DIR "/") + file));
  std::vector<Vector> vectors;
  for (const nlohmann::json& group : json.at("testGroups")) {
    for (const nlohmann::json& test : group.at("tests")) {
      const std::string result = test.at("result");
      if (result != "valid" && result != "invalid")
        throw std::runtime_error("no rule for result " + result);
      vectors.push_back({file + " tcId " + std::to_string(test.at("tcId").get<int>()) + " (" +
                             test.at("comment").get<std::string>() + ")",
                         Hex(test.at("key")), Hex(test.at("iv")), Hex(test.at("msg")),
                         Hex(test.at("ct")), true, result == "valid"});
    }
  }
  if (json.contains("numberOfTests") && vectors.size() != json.at("numberOfTests"))
    throw std::runtime_error(file + ": numberOfTests does not match");
  return vectors;
}

std::vector<Vector> GoldenVectors() {
  const std::string keys = ZEL_KEYS_DIR;
  const Bytes iv = FileBytes(keys + "/uid.bin");
  std::vector<Vector> vectors;
  for (const fs::path& plain : FilesIn(ZEL_TEST_DATA_DIR "/golden", ".plain")) {
    const fs::path stem = fs::path(plain).replace_extension();
    vectors.push_back({stem.filename().string() + ".aes128", FileBytes(keys + "/egsk-raw.bin"),
                       iv, FileBytes(plain), FileBytes(stem.string() + ".aes128.enc"), true, true});
    vectors.push_back({stem.filename().string() + ".aes256", FileBytes(keys + "/egsk256-raw.bin"),
                       iv, FileBytes(plain), FileBytes(stem.string() + ".aes256.enc"), true, true});
  }
  return vectors;
}

// replay_main.cpp: runs files through the fuzz target without libFuzzer, so
// that an ordinary build checks the committed corpus (seeds and any crash
// inputs added to it) on every test run.
//
//   zel_fuzz_replay FILE_OR_DIR...
//
// A directory stands for its regular files, in name order. Exits non-zero
// when no input was found; a broken rule aborts inside the target.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool IsDirectory(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::vector<std::string> FilesIn(const std::string& dir) {
  std::vector<std::string> files;
  if (DIR* stream = opendir(dir.c_str())) {
    while (const dirent* entry = readdir(stream)) {
      const std::string path = dir + "/" + entry->d_name;
      struct stat info;
      if (stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode)) files.push_back(path);
    }
    closedir(stream);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> inputs;
  for (int i = 1; i < argc; ++i) {
    if (IsDirectory(argv[i])) {
      const std::vector<std::string> files = FilesIn(argv[i]);
      inputs.insert(inputs.end(), files.begin(), files.end());
    } else {
      inputs.push_back(argv[i]);
    }
  }
  for (const std::string& path : inputs) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(in)),
                                  std::istreambuf_iterator<char>());
    std::printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
    std::fflush(stdout);  // names the input should the target abort
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  }
  std::printf("replayed %zu inputs\n", inputs.size());
  return inputs.empty() ? 1 : 0;
}

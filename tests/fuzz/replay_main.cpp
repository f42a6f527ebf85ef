// replay_main.cpp: runs files through the fuzz target without libFuzzer, so
// that an ordinary build checks the seeds and any crash inputs added to the
// corpus on every test run.
//
//   zel_fuzz_replay FILE_OR_DIR...
//
// A directory stands for its regular files. Exits non-zero when no input
// was found; a broken rule aborts inside the target.
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  std::vector<std::string> inputs;
  for (int i = 1; i < argc; ++i) {
    DIR* dir = opendir(argv[i]);
    if (dir == nullptr) inputs.push_back(argv[i]);
    while (const dirent* entry = dir ? readdir(dir) : nullptr)
      if (entry->d_type == DT_REG) inputs.push_back(std::string(argv[i]) + "/" + entry->d_name);
    if (dir) closedir(dir);
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

// swtpm_fixture.cpp: see swtpm_fixture.h.
#include "swtpm_fixture.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

bool OnPath(const char* program) {
  return std::system((std::string("command -v ") + program + " >/dev/null 2>&1").c_str()) == 0;
}

bool Accepts(const std::string& path) {
  const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  const bool connected =
      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  close(fd);
  return connected;
}

}  // namespace

Swtpm::Swtpm() {
  char pattern[] = "/tmp/zt-XXXXXX";
  if (mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
  dir_ = pattern;
  std::filesystem::create_directory(dir_ + "/state");
}

Swtpm::~Swtpm() {
  Stop();
  std::error_code ignored;
  std::filesystem::remove_all(dir_, ignored);
}

std::string Swtpm::Missing() {
  for (const char* program : {"swtpm", "tpm2_getcap", "tpm2_clear"})
    if (!OnPath(program)) return program;
  // The library under test loads libtss2 at run time; an i386 build on an
  // amd64 host usually finds none for its own architecture.
  void* esys = dlopen("libtss2-esys.so.0", RTLD_NOW | RTLD_LOCAL);
  if (esys == nullptr) return "libtss2-esys.so.0 for this architecture";
  dlclose(esys);
  return "";
}

bool Swtpm::Start() {
  const std::string server = "type=unixio,path=" + dir_ + "/s";
  // The swtpm TCTI finds the control socket beside the server's, as ".ctrl".
  const std::string control = "type=unixio,path=" + dir_ + "/s.ctrl";
  const std::string state = "dir=" + dir_ + "/state";
  // Log level 20 writes every command and response in hex (see Messages).
  const std::string log = "file=" + dir_ + "/swtpm.log,level=20";
  const std::vector<const char*> argv = {
      "swtpm", "socket", "--tpm2", "--server", server.c_str(), "--ctrl", control.c_str(),
      "--tpmstate", state.c_str(), "--log", log.c_str(), "--flags", "not-need-init,startup-clear",
      nullptr};
  pid_ = fork();
  if (pid_ == 0) {
    // Its chatter ("Data client disconnected") goes to a file.
    const int chatter = open((dir_ + "/swtpm.out").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(chatter, STDOUT_FILENO);
    dup2(chatter, STDERR_FILENO);
    execvp(argv[0], const_cast<char* const*>(argv.data()));
    _exit(127);
  }
  setenv("ZEL_TPM2_TCTI", Tcti().c_str(), 1);
  for (int tries = 0; tries < 200; ++tries) {
    if (Accepts(dir_ + "/s") && Accepts(dir_ + "/s.ctrl")) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

void Swtpm::Stop() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
  pid_ = -1;
  unlink((dir_ + "/s").c_str());
  unlink((dir_ + "/s.ctrl").c_str());
}

std::string Swtpm::Tool(const std::string& command, const std::string& arguments) const {
  const std::string line = command + " -T " + Tcti() + " " + arguments + " 2>&1";
  FILE* pipe = popen(line.c_str(), "r");
  std::string output;
  char chunk[256];
  for (size_t n; (n = fread(chunk, 1, sizeof(chunk), pipe)) > 0;) output.append(chunk, n);
  const int status = pclose(pipe);
  if (status != 0) return "<failed: " + line + ": " + output + ">";
  return output;
}

std::vector<std::string> Swtpm::Messages() const {
  // Each message is a title line ("SWTPM_IO_Read: length 22") and lines
  // of hex bytes.
  std::ifstream log(dir_ + "/swtpm.log");
  std::vector<std::string> messages;
  std::string line, token;
  while (std::getline(log, line)) {
    std::istringstream tokens(line);
    std::string bytes;
    bool hex = true;
    while (hex && tokens >> token) {
      hex = token.size() == 2 && std::isxdigit(static_cast<unsigned char>(token[0])) &&
            std::isxdigit(static_cast<unsigned char>(token[1]));
      bytes += token;
    }
    if (!hex || messages.empty())
      messages.emplace_back();
    else
      messages.back() += bytes;
  }
  return messages;
}

std::string Swtpm::HeldHandles() const {
  return Tool("tpm2_getcap", "handles-transient") + Tool("tpm2_getcap", "handles-loaded-session") +
         Tool("tpm2_getcap", "handles-saved-session");
}

// get_command.cpp: zel-keychain get NAME ID [--out FILE].
//
// Writes one item's plain bytes, read from its own item file (so that a
// damaged file elsewhere in the keychain does not stand in the way), to
// standard output or to a new file. Secrets do not go to a terminal: with
// standard output a terminal and no --out, the command refuses before it
// decrypts anything. --out never replaces an existing file: it is created
// with mode 0600, and removed again if writing fails.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "commands.h"
#include "item_bytes_io.h"
#include "item_file_check.h"
#include "key_store_files.h"
#include "names.h"
#include "report.h"
#include "text_encoding.h"

int RunGet(const Invocation& invocation) {
  const std::string& name = invocation.arguments[0];
  const std::string id = ItemIdOf(invocation.arguments[1]);
  std::string problem = KeychainNameProblem(name);
  if (problem.empty()) problem = ItemIdProblem(id);
  if (!problem.empty()) {
    Complain(problem);
    return kExitUsage;
  }
  const bool to_file = invocation.Has("--out");
  const std::string out = to_file ? invocation.options.at("--out") : std::string();
  if (!to_file && isatty(STDOUT_FILENO))
    return Fail("refusing to write the item's bytes to a terminal; use --out FILE or a pipe");
  struct stat info;
  if (to_file && lstat(out.c_str(), &info) == 0)
    return Fail(Quoted(out) + " exists; it is not replaced (remove it or choose another file)");

  const std::string path = KeyStoreDirectory() + "/" + name + id;
  if (lstat(path.c_str(), &info) != 0 && errno == ENOENT)
    return Fail("keychain " + Quoted(name) + " has no item " + DescribeItem(id) + " (no file " +
                Quoted(path) + ")");
  THevoBlob plain;
  const ItemFileCheck check = CheckItemFile(path, plain);
  if (check.state != ItemFileState::kOk)
    return Fail(Quoted(path) + " is " + StateName(check.state) + ": " + check.reason);

  std::string error;
  if (to_file) {
    if (!WriteNewFile(out, plain, error)) return Fail("cannot write " + Quoted(out) + ": " + error);
  } else if (!WriteAll(STDOUT_FILENO, plain)) {
    return Fail(std::string("cannot write standard output: ") + std::strerror(errno));
  }
  return kExitOk;
}

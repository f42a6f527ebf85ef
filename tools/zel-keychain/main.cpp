// main.cpp: zel-keychain, the key store's command for the factory line
// (store) and the field (list, get, verify, erase; migrate in a build bound
// to the device). See zel-keychain(1).
//
// A target program, built and installed with the library and linked to it
// through its public API only. --storage DIR stands for
// $HEVO_PERSISTENT_STORAGE and is set before the first key-store call.
#include <cstdlib>
#include <iostream>
#include <new>

#include "command_line.h"
#include "commands.h"
#include "report.h"

namespace {

int Run(const Invocation& invocation) {
  if (invocation.command == "store") return RunStore(invocation);
  if (invocation.command == "list") return RunList(invocation);
  if (invocation.command == "get") return RunGet(invocation);
  if (invocation.command == "verify") return RunVerify(invocation);
  if (invocation.command == "migrate") return RunMigrate(invocation);
  return RunErase(invocation);
}

}  // namespace

int main(int argc, char** argv) {
  Invocation invocation;
  std::string error;
  if (!ParseCommandLine(argc, argv, invocation, error)) {
    Complain(error);
    const std::string help =
        invocation.command.empty() ? "--help" : invocation.command + " --help";
    Complain("try 'zel-keychain " + help + "' for more information");
    return kExitUsage;
  }
  if (invocation.help || invocation.version) {
    std::cout << (invocation.help ? UsageOf(invocation.command)
                                  : std::string("zel-keychain " ZEL_KEYCHAIN_VERSION "\n"));
    std::cout.flush();
    return std::cout ? kExitOk : kExitFailed;
  }
  if (invocation.Has("--storage") &&
      setenv("HEVO_PERSISTENT_STORAGE", invocation.options.at("--storage").c_str(), 1) != 0)
    return Fail("cannot set HEVO_PERSISTENT_STORAGE");

  int status;
  try {
    status = Run(invocation);
  } catch (const char* message) {
    // The cipher layer's messages that no command expected.
    status = Fail(std::string("the key store failed: ") + message);
  } catch (const std::bad_alloc&) {
    status = Fail("out of memory");
  } catch (const std::exception& failure) {
    status = Fail(failure.what());
  }
  std::cout.flush();
  if (!std::cout) return Fail("cannot write standard output");
  return status;
}

// System calls that fail while a keychain is stored: a tracer makes one
// call of the storing process fail, at every position where the store makes
// that call. Afterwards the item of that call holds its old or its new
// bytes as the failing step implies, the other items their new bytes, no
// temporary is left, and the failure reached the caller as a false result
// (when it hit the last item) and a log line.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "child_process.h"
#include "key_store_checks.h"
#include "temp_dir.h"

namespace {

// What failing one of an item's calls does to that item.
struct CallEffect {
  const char* call;     // which of the item's calls it is
  bool item_fails;      // the item is reported as not stored
  const char* content;  // what its file holds afterwards: "old" or "new"
};

struct Fault {
  const char* name;
  // The system calls that may carry the step; the C library uses one.
  std::vector<std::string> syscalls;
  const char* error;
  // The item's calls of that system call, in the order the store makes them.
  std::vector<CallEffect> per_item;
};

const Fault kFaults[] = {
    {"fsync", {"fsync"}, "EIO",
     {{"the temporary's sync", true, "old"},
      // The rename is done: the new bytes are in place, their durability
      // is not known, so the item is reported as failed.
      {"the directory's sync", true, "new"}}},
    {"rename", {"rename", "renameat", "renameat2"}, "EIO",
     {{"the rename over the item file", true, "old"}}},
    {"write", {"write"}, "ENOSPC", {{"the temporary's write", true, "old"}}},
    {"openat", {"openat"}, "EIO",
     {{"opening the directory", true, "old"},
      // Removing abandoned temporaries is best effort.
      {"listing the directory for abandoned temporaries", false, "new"},
      {"creating the temporary", true, "old"}}},
};

// PrintTo names a fault in test names and messages by its system call.
void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }

const std::map<std::string, std::string> kChildEnvironment = {
    // LeakSanitizer cannot run under a tracer.
    {"ASAN_OPTIONS", "detect_leaks=0"}};

std::string Join(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names) joined += (joined.empty() ? "" : ",") + name;
  return joined;
}

// StoreCalls reads a trace written with "strace -f -y" and returns, per
// system call, the invocation numbers (from 1, as "when=" counts them) of
// the calls that name |dir|, the key-store directory or a file in it.
std::map<std::string, std::vector<int>> StoreCalls(const std::string& trace,
                                                   const std::string& dir) {
  std::map<std::string, int> invocations;
  std::map<std::string, std::vector<int>> calls;
  std::ifstream in(trace);
  std::string line;
  while (std::getline(in, line)) {
    const size_t start = line.find_first_not_of("0123456789 ");  // the pid
    const size_t paren = line.find('(', start);
    if (start == std::string::npos || paren == std::string::npos) continue;
    const std::string syscall = line.substr(start, paren - start);
    if (syscall.find_first_of(" <+-[") != std::string::npos) continue;  // not a call
    const int number = ++invocations[syscall];
    if (line.find(dir) != std::string::npos) calls[syscall].push_back(number);
  }
  return calls;
}

class InjectedFailures : public ::testing::TestWithParam<Fault> {
 protected:
  void SetUp() override {
    const ChildResult probe = RunChild(
        {"strace", "-f", "-o", "/dev/null", "-e", "trace=fsync", "-e",
         "inject=fsync:error=EIO:when=1", "true"},
        {});
    if (probe.exit_status != 0)
      GTEST_SKIP() << "strace is missing or may not trace here (ptrace not "
                      "permitted?): exit "
                   << probe.exit_status << " " << probe.error_output;
  }

  // StoreUnderStrace runs the helper, storing the new version over the old,
  // under strace with |options|.
  ChildResult StoreUnderStrace(const std::vector<std::string>& options) {
    std::vector<std::string> argv = {"strace", "-f"};
    argv.insert(argv.end(), options.begin(), options.end());
    argv.insert(argv.end(), {ZEL_STORE_ONCE, root_.path(), "dev", "new"});
    return RunChild(argv, kChildEnvironment);
  }

  TempDir root_;
  TempDir scratch_;
};

TEST_P(InjectedFailures, EveryPositionOfTheCall) {
  const Fault& fault = GetParam();
  KeyStoreAt keys(root_.path());
  ASSERT_TRUE(keys.StoreSample("dev", SampleVersion::kOld));

  // A run without a fault finds which calls the store makes, and their
  // numbers among all calls of the process.
  const std::string trace = scratch_ / "trace";
  const ChildResult clean =
      StoreUnderStrace({"-y", "-o", trace, "-e", "trace=" + Join(fault.syscalls)});
  ASSERT_EQ(clean.exit_status, 0) << clean.error_output;
  const auto calls = StoreCalls(trace, keys.dir());
  ASSERT_EQ(calls.size(), 1u) << "the store used none or several of " << Join(fault.syscalls)
                              << ":\n" << ReadFile(trace);
  const std::string syscall = calls.begin()->first;
  const std::vector<int>& numbers = calls.begin()->second;
  const std::vector<std::string> ids = [] {
    std::vector<std::string> all;
    for (const auto& item : SampleItems(SampleVersion::kNew)) all.push_back(item.first);
    return all;
  }();
  ASSERT_EQ(numbers.size(), ids.size() * fault.per_item.size())
      << "the store's calls of " << syscall << " changed:\n" << ReadFile(trace);

  for (size_t position = 0; position < numbers.size(); ++position) {
    const std::string& id = ids[position / fault.per_item.size()];
    const CallEffect& effect = fault.per_item[position % fault.per_item.size()];
    SCOPED_TRACE(syscall + " #" + std::to_string(numbers[position]) + ": " + effect.call +
                 " of '" + id + "'");
    ASSERT_TRUE(keys.StoreSample("dev", SampleVersion::kOld));

    const ChildResult run = StoreUnderStrace(
        {"-o", "/dev/null", "-e", "trace=" + syscall, "-e",
         "inject=" + syscall + ":error=" + fault.error + ":when=" +
             std::to_string(numbers[position])});
    // The result is the last item's.
    const bool last = id == ids.back();
    EXPECT_EQ(run.exit_status, last && effect.item_fails ? 1 : 0);
    EXPECT_EQ(run.error_output,
              effect.item_fails ? "<2> " + StoreErrorLine(id).text + "\n" : "");

    auto expected = AllItems("new");
    expected[id] = effect.content;
    EXPECT_EQ(keys.HeldVersions("dev"), expected);
    EXPECT_EQ(keys.Temporaries(), std::set<std::string>());
    EXPECT_EQ(keys.Listed(), SampleFileNames("dev"));
  }
}

INSTANTIATE_TEST_SUITE_P(Calls, InjectedFailures, ::testing::ValuesIn(kFaults),
                         [](const ::testing::TestParamInfo<Fault>& param) {
                           return std::string(param.param.name);
                         });

}  // namespace

// child_process.h: runs a program and collects its exit status and its
// standard error.
#ifndef ZEL_TESTS_RELIABILITY_CHILD_PROCESS_H
#define ZEL_TESTS_RELIABILITY_CHILD_PROCESS_H

#include <map>
#include <string>
#include <vector>

struct ChildResult {
  int exit_status;  // -1 when the child was killed by a signal
  std::string error_output;
};

// RunChild runs |argv| (argv[0] looked up in PATH) with |environment| added
// to this process's environment, standard output discarded. A program that
// cannot be started exits with 127.
ChildResult RunChild(const std::vector<std::string>& argv,
                     const std::map<std::string, std::string>& environment);

#endif  // ZEL_TESTS_RELIABILITY_CHILD_PROCESS_H

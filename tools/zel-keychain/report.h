// report.h: exit statuses and messages of zel-keychain.
//
// Results go to standard output; errors and warnings to standard error,
// each line prefixed "zel-keychain: ". Neither ever carries an item's bytes
// (only `get` writes those, and not to a terminal).
#ifndef ZEL_KEYCHAIN_REPORT_H
#define ZEL_KEYCHAIN_REPORT_H

#include <string>

enum ExitStatus {
  kExitOk = 0,
  kExitFailed = 1,  // the operation failed, or verify found a damaged file
  kExitUsage = 2,   // unknown command or option, missing or bad argument
};

// Complain writes "zel-keychain: MESSAGE" as one line to standard error.
void Complain(const std::string& message);

// Fail complains and returns kExitFailed.
int Fail(const std::string& message);

// Warn complains with "warning: " before the message.
void Warn(const std::string& message);

// Say writes |line| and a line end to standard output.
void Say(const std::string& line);

#endif  // ZEL_KEYCHAIN_REPORT_H

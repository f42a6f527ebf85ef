// report.cpp: see report.h.
#include "report.h"

#include <unistd.h>

#include <iostream>

void Complain(const std::string& message) {
  // One write per line, so that lines of parallel runs do not interleave.
  const std::string line = "zel-keychain: " + message + "\n";
  std::cout.flush();
  size_t done = 0;
  while (done < line.size()) {
    const ssize_t written = write(STDERR_FILENO, line.data() + done, line.size() - done);
    if (written <= 0) return;
    done += static_cast<size_t>(written);
  }
}

int Fail(const std::string& message) {
  Complain(message);
  return kExitFailed;
}

void Warn(const std::string& message) { Complain("warning: " + message); }

void Say(const std::string& line) { std::cout << line << '\n'; }

// The default logger: threshold, one whole record per call, from several
// threads at once. Run once with the default threshold and once with
// ZEL_LOG_LEVEL=6.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <regex>
#include <thread>

#include "zelLogging.h"

namespace {

// StderrToFile sends standard error to a file for its lifetime.
class StderrToFile {
 public:
  StderrToFile() : path_("zel-logging-test-" + std::to_string(getpid())) {
    saved_ = dup(STDERR_FILENO);
    FILE* file = std::fopen(path_.c_str(), "w");
    dup2(fileno(file), STDERR_FILENO);
    std::fclose(file);
  }
  ~StderrToFile() {
    Restore();
    std::remove(path_.c_str());
  }
  std::string Take() {
    Restore();
    std::ifstream in(path_);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    saved_ = -1;
  }
  std::string path_;
  int saved_ = -1;
};

bool TracesExpected() {
  const char* level = std::getenv("ZEL_LOG_LEVEL");
  return level != nullptr && std::atoi(level) >= 6;
}

TEST(DefaultLogger, ShowsErrorsAndTracesOnlyWhenAsked) {
  StderrToFile capture;
  zelLogging_log(2, "[Tag] Can't do '%s'.", "this");
  zelLogging_log(6, "[%s:%d][%s]: trace %s", "file.cpp", 7, "Fn", "on");
  const std::string text = capture.Take();
  std::string expected = "<2> [Tag] Can't do 'this'.\n";
  if (TracesExpected()) expected += "<6> [file.cpp:7][Fn]: trace on\n";
  EXPECT_EQ(text, expected);
}

TEST(DefaultLogger, RecordsFromManyThreadsStayWhole) {
  StderrToFile capture;
  const std::string payload(300, 'p');
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i)
        zelLogging_log(2, "thread %d record %d %s", t, i, payload.c_str());
    });
  for (auto& thread : threads) thread.join();

  std::istringstream lines(capture.Take());
  std::string line;
  int count = 0;
  const std::regex shape("<2> thread [0-3] record [0-9]+ p{300}");
  while (std::getline(lines, line)) {
    EXPECT_TRUE(std::regex_match(line, shape)) << line.substr(0, 80);
    ++count;
  }
  EXPECT_EQ(count, 800);
}

}  // namespace

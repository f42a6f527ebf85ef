// child_process.cpp: see child_process.h.
#include "child_process.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

ChildResult RunChild(const std::vector<std::string>& argv,
                     const std::map<std::string, std::string>& environment) {
  FILE* error_file = std::tmpfile();
  if (error_file == nullptr) return {-1, "<no temporary file for standard error>"};
  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(error_file), STDERR_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    if (null >= 0) dup2(null, STDOUT_FILENO);
    for (const auto& variable : environment)
      setenv(variable.first.c_str(), variable.second.c_str(), 1);
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    execvp(args[0], args.data());
    _exit(127);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) status = -1;
  std::string output;
  std::rewind(error_file);
  char chunk[4096];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, error_file)) > 0) output.append(chunk, got);
  std::fclose(error_file);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
}

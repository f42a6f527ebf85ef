// command_line.h: the command line of zel-keychain.
//
//   zel-keychain [--storage DIR] COMMAND [ARGUMENT...] [OPTION...]
//
// Options may come before or after the command's arguments, as "--name
// VALUE" or "--name=VALUE"; "--" ends the options (for a name that begins
// with "-"). --storage, --help (-h) and --version are accepted anywhere;
// every other option belongs to its command. Parsing only checks the form
// (known command and options, number of arguments); what the arguments
// mean is each command's business.
#ifndef ZEL_KEYCHAIN_COMMAND_LINE_H
#define ZEL_KEYCHAIN_COMMAND_LINE_H

#include <map>
#include <string>
#include <vector>

struct Invocation {
  std::string command;                        // empty when none was given
  std::vector<std::string> arguments;         // after the command
  std::map<std::string, std::string> options;  // "--out" -> its value, "" for a flag
  bool help = false;
  bool version = false;

  bool Has(const std::string& option) const { return options.count(option) != 0; }
};

// ParseCommandLine fills |invocation| from argv. On a usage error it
// returns false and sets |error|. With --help or --version it returns true
// without checking the arguments.
bool ParseCommandLine(int argc, char** argv, Invocation& invocation, std::string& error);

// UsageOf returns the usage text of |command|, or of the whole program
// when |command| is empty.
std::string UsageOf(const std::string& command);

#endif  // ZEL_KEYCHAIN_COMMAND_LINE_H

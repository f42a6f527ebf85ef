// command_line.cpp: see command_line.h.
#include "command_line.h"

#include <cstddef>
#include <cstring>
#include <limits>

#include "text_encoding.h"

namespace {

struct OptionSpec {
  const char* name;  // with its leading "--"
  bool takes_value;
};

struct CommandSpec {
  const char* name;
  std::vector<OptionSpec> options;
  size_t min_arguments;
  size_t max_arguments;
  const char* usage;
};

constexpr size_t kAny = std::numeric_limits<size_t>::max();

const OptionSpec kGlobalOptions[] = {{"--storage", true}};

const std::vector<CommandSpec>& Commands() {
  static const std::vector<CommandSpec> commands = {
      {"store", {{"--verify", false}}, 2, kAny,
       "usage: zel-keychain [--storage DIR] store NAME ID=FILE... [--verify]\n"
       "Stores each FILE, read whole, as item ID of keychain NAME. Every item\n"
       "must be stored, or the command fails naming the items that were not.\n"
       "  --verify  read the keychain back and compare every byte\n"},
      {"list", {{"--json", false}}, 0, 0,
       "usage: zel-keychain [--storage DIR] list [--json]\n"
       "Lists the keychains found in the key-store directory, with each item's\n"
       "id, file and size, and warns where the files of two keychain names mix.\n"
       "  --json  one JSON object instead of text\n"},
      {"get", {{"--out", true}}, 2, 2,
       "usage: zel-keychain [--storage DIR] get NAME ID [--out FILE]\n"
       "Writes the bytes of item ID of keychain NAME to standard output, which\n"
       "must not be a terminal, or to a new FILE (mode 0600, never replaced).\n"
       "  --out FILE  create FILE with the item's bytes\n"},
      {"verify", {{"--json", false}}, 0, 1,
       "usage: zel-keychain [--storage DIR] verify [NAME] [--json]\n"
       "Decrypts every item file (of keychain NAME, or of all keychains) and\n"
       "names each damaged or unreadable one; exits 1 when there is any.\n"
       "  --json  one JSON object instead of text\n"},
      {"erase", {}, 1, 1,
       "usage: zel-keychain [--storage DIR] erase NAME\n"
       "Removes every item file of keychain NAME found in the key-store\n"
       "directory, damaged ones included, and names each file removed.\n"},
      {"migrate", {}, 0, 0,
       "usage: zel-keychain [--storage DIR] migrate\n"
       "In a build bound to the device: rewrites every unbound item file that\n"
       "this build decrypts as a file bound to this device, each crash-safely.\n"
       "Loads never do this by themselves.\n"},
  };
  return commands;
}

constexpr char kProgramUsage[] =
    "usage: zel-keychain [--storage DIR] COMMAND [ARGUMENT...] [OPTION...]\n"
    "\n"
    "Commands:\n"
    "  store NAME ID=FILE... [--verify]  store files as the items of a keychain\n"
    "  list [--json]                     list keychains and their item files\n"
    "  get NAME ID [--out FILE]          write an item's bytes to a pipe or FILE\n"
    "  verify [NAME] [--json]            decrypt every item file, name damaged ones\n"
    "  erase NAME                        remove every item file of a keychain\n"
    "  migrate                           bind unbound item files to this device\n"
    "\n"
    "ID is public-key, private-key, ca, cert, or a raw item id such as .pem.enc.\n"
    "  --storage DIR  the persistent-storage path (default: $HEVO_PERSISTENT_STORAGE);\n"
    "                 the key store is DIR/zel_keystore\n"
    "  -h, --help     show this help (after a command: that command's help)\n"
    "  --version      show the version\n"
    "\n"
    "Exit status: 0 success, 1 failure or a damaged item file, 2 usage error.\n"
    "See zel-keychain(1).\n";

const CommandSpec* FindCommand(const std::string& name) {
  for (const CommandSpec& command : Commands())
    if (name == command.name) return &command;
  return nullptr;
}

const OptionSpec* FindOption(const CommandSpec* command, const std::string& name) {
  for (const OptionSpec& option : kGlobalOptions)
    if (name == option.name) return &option;
  if (command != nullptr)
    for (const OptionSpec& option : command->options)
      if (name == option.name) return &option;
  return nullptr;
}

// ParseOption takes the option in argv[*at] (and its value, from after a
// "=" or from the next argument). False with |error| set on a usage error.
bool ParseOption(int argc, char** argv, int* at, const CommandSpec* command,
                 Invocation& invocation, std::string& error) {
  const std::string argument = argv[*at];
  const size_t equals = argument.find('=');
  const std::string name = argument.substr(0, equals);
  const OptionSpec* option = FindOption(command, name);
  if (option == nullptr) {
    error = "unknown option " + Quoted(name) +
            (command == nullptr ? "" : std::string(" for ") + command->name);
    return false;
  }
  std::string value;
  if (!option->takes_value) {
    if (equals != std::string::npos) {
      error = "option " + name + " takes no value";
      return false;
    }
  } else if (equals != std::string::npos) {
    value = argument.substr(equals + 1);
  } else if (*at + 1 < argc) {
    value = argv[++*at];
  } else {
    error = "option " + name + " needs a value";
    return false;
  }
  if (option->takes_value && value.empty()) {
    error = "option " + name + " needs a value that is not empty";
    return false;
  }
  if (!invocation.options.emplace(name, value).second) {
    error = "option " + name + " given twice";
    return false;
  }
  return true;
}

}  // namespace

bool ParseCommandLine(int argc, char** argv, Invocation& invocation, std::string& error) {
  const CommandSpec* command = nullptr;
  bool options_ended = false;
  for (int at = 1; at < argc; ++at) {
    const std::string argument = argv[at];
    const bool is_option = !options_ended && argument.size() > 1 && argument[0] == '-';
    if (is_option && argument == "--") {
      options_ended = true;
    } else if (is_option && (argument == "-h" || argument == "--help")) {
      invocation.help = true;
    } else if (is_option && argument == "--version") {
      invocation.version = true;
    } else if (is_option && argument.compare(0, 2, "--") == 0) {
      if (!ParseOption(argc, argv, &at, command, invocation, error)) return false;
    } else if (is_option) {
      error = "unknown option " + Quoted(argument);
      return false;
    } else if (command == nullptr) {
      command = FindCommand(argument);
      if (command == nullptr) {
        error = "unknown command " + Quoted(argument);
        return false;
      }
      invocation.command = argument;
    } else {
      invocation.arguments.push_back(argument);
    }
  }
  if (invocation.help || invocation.version) return true;
  if (command == nullptr) {
    error = "no command given";
    return false;
  }
  if (invocation.arguments.size() < command->min_arguments) {
    error = std::string("missing argument for ") + command->name;
    return false;
  }
  if (invocation.arguments.size() > command->max_arguments) {
    error = std::string("too many arguments for ") + command->name;
    return false;
  }
  return true;
}

std::string UsageOf(const std::string& name) {
  const CommandSpec* command = FindCommand(name);
  return command == nullptr ? kProgramUsage : command->usage;
}

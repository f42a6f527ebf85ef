// commands.h: the commands of zel-keychain. Each takes the parsed command
// line (arguments already counted) and returns the exit status.
#ifndef ZEL_KEYCHAIN_COMMANDS_H
#define ZEL_KEYCHAIN_COMMANDS_H

#include "command_line.h"

int RunStore(const Invocation& invocation);
int RunList(const Invocation& invocation);
int RunGet(const Invocation& invocation);
int RunVerify(const Invocation& invocation);
int RunErase(const Invocation& invocation);
int RunMigrate(const Invocation& invocation);

#endif  // ZEL_KEYCHAIN_COMMANDS_H

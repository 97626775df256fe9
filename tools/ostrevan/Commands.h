// The commands of the program. Each is a function of its own file and a row of the table in Main.cpp.

#pragma once

/// Exit codes of every command.
enum ExitCode {
    ExitDone = 0,
    ExitFailed = 1, // the input or the machine: one line on stderr says what
    ExitUsage = 2,  // the command line: one line on stderr says what, and which help to read
};

/// \p argv[0] is the command's own name.
using CommandFunction = int (*)(int argc, char **argv);

int infoCommand(int argc, char **argv);
int shaderCommand(int argc, char **argv);
int runCommand(int argc, char **argv);
int imageCommand(int argc, char **argv);
int jsonCommand(int argc, char **argv);
int scanCommand(int argc, char **argv);
int sortCommand(int argc, char **argv);

/// Prints "ostrevan COMMAND: " and the text to stderr, names the help, and returns ExitUsage.
int usageError(const char *command, const char *format, ...) __attribute__((format(printf, 2, 3)));

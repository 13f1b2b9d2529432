#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

struct ToolResult {
  int exitCode = -1;  ///< 128 + the signal's number when one ended the program
  std::string out;
  std::string err;
};

/// Where the program under test stands.
std::string toolPath();

/// A library of this build, by its file name.
std::string libraryPath(const std::string& fileName);

/// Runs the program to its end. `prepare`, when given, is called in the child before the program starts.
ToolResult runTool(const std::vector<std::string>& arguments, const std::function<void()>& prepare = {});

/// Starts the program with standard output and standard error on these descriptors.
pid_t startTool(const std::vector<std::string>& arguments, int out, int err,
                const std::function<void()>& prepare = {});

/// Waits for the end of the program; the exit code as in ToolResult.
int waitForTool(pid_t process);

/// How many lines a text has; one without a line feed at its end counts too.
std::size_t lineCount(const std::string& text);

#include "tests/run_tool.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "io/FileDescriptor.h"
#include "test_support/TempFolder.h"

namespace fs = std::filesystem;

std::string toolPath() {
  return (fs::read_symlink("/proc/self/exe").parent_path() / "segmask").string();
}

std::string libraryPath(const std::string& fileName) {
  return (fs::read_symlink("/proc/self/exe").parent_path().parent_path() / "lib" / fileName).string();
}

pid_t startTool(const std::vector<std::string>& arguments, int out, int err,
                const std::function<void()>& prepare) {
  std::string program = toolPath();
  std::vector<char*> argv{program.data()};
  std::vector<std::string> copies = arguments;
  for (std::string& argument : copies) argv.push_back(argument.data());
  argv.push_back(nullptr);

  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("fork failed");
  if (process > 0) return process;
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (prepare) prepare();
  execv(program.c_str(), argv.data());
  _exit(127);
}

int waitForTool(pid_t process) {
  int status = 0;
  if (waitpid(process, &status, 0) != process) throw std::runtime_error("waitpid failed");
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ToolResult runTool(const std::vector<std::string>& arguments, const std::function<void()>& prepare) {
  const TempFolder folder;
  const auto create = [&folder](const char* name) {
    return segmask::FileDescriptor(
        open(folder.path(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
  };
  const segmask::FileDescriptor out = create("out");
  const segmask::FileDescriptor err = create("err");
  ToolResult result;
  result.exitCode = waitForTool(startTool(arguments, out.get(), err.get(), prepare));
  result.out = readFile(folder.path("out"));
  result.err = readFile(folder.path("err"));
  return result;
}

std::size_t lineCount(const std::string& text) {
  const auto feeds = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  return feeds + (text.empty() || text.back() == '\n' ? 0 : 1);
}

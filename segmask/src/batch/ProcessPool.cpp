#include "src/batch/ProcessPool.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "io/UserError.h"

namespace segmask {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostErrorBytes = 1 << 17;

sigset_t pooledSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
  return signals;
}

/// Takes what can be read without waiting, and closes the pipe when nobody writes to it any more.
void drain(FileDescriptor& pipe, std::string& text) {
  char block[4096];
  while (pipe) {
    const ssize_t count = read(pipe.get(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return;
    if (count == 0) pipe.reset();
    text.append(block, static_cast<std::size_t>(count));
    // The end says why a process failed.
    if (text.size() > kMostErrorBytes) text.erase(0, kMostErrorBytes / 2);
  }
}

}  // namespace

ProcessPool::ProcessPool() {
  const sigset_t signals = pooledSignals();
  signals_ = FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
  if (!signals_) throw systemError("signal handling", errno);
  pthread_sigmask(SIG_BLOCK, &signals, &oldMask_);
  // Where it is ignored, no process could be waited for.
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  sigaction(SIGCHLD, &action, &oldChild_);
}

ProcessPool::~ProcessPool() {
  signalAll(SIGKILL);
  for (const auto& [process, child] : children_) waitpid(process, nullptr, 0);
  takeSignals();
  sigaction(SIGCHLD, &oldChild_, nullptr);
  pthread_sigmask(SIG_SETMASK, &oldMask_, nullptr);
}

pid_t ProcessPool::start(const Work& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw systemError("a process", errno);
  FileDescriptor reading(ends[0]);
  const FileDescriptor writing(ends[1]);
  // Of the reading end alone: who writes may wait until there is room.
  fcntl(reading.get(), F_SETFL, O_NONBLOCK);
  const pid_t parent = getpid();
  const pid_t process = fork();
  if (process < 0) throw systemError("a process", errno);
  if (process == 0) runInChild(work, parent, writing);
  children_.emplace(process, Child{std::move(reading), {}, Clock::now()});
  return process;
}

void ProcessPool::runInChild(const Work& work, pid_t parent, const FileDescriptor& errors) const {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  // It may have ended before the line above.
  if (getppid() != parent) _exit(EXIT_FAILURE);
  const FileDescriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
  dup2(nothing.get(), STDIN_FILENO);
  dup2(nothing.get(), STDOUT_FILENO);
  dup2(errors.get(), STDERR_FILENO);
  sigaction(SIGCHLD, &oldChild_, nullptr);
  pthread_sigmask(SIG_SETMASK, &oldMask_, nullptr);
  // NOLINTNEXTLINE(concurrency-mt-unsafe): threads of the work have ended
  std::exit(work());
}

std::vector<ProcessPool::Ended> ProcessPool::wait(std::chrono::milliseconds timeout) {
  std::vector<pollfd> watched{{signals_.get(), POLLIN, 0}};
  for (const auto& [process, child] : children_) {
    // A process may close its standard error long before its end.
    if (child.errors) watched.push_back({child.errors.get(), POLLIN, 0});
  }
  poll(watched.data(), watched.size(), static_cast<int>(timeout.count()));
  takeSignals();
  std::vector<Ended> ended;
  for (auto entry = children_.begin(); entry != children_.end();) {
    auto& [process, child] = *entry;
    int status = 0;
    const bool hasEnded = waitpid(process, &status, WNOHANG) == process;
    drain(child.errors, child.text);
    if (!hasEnded) {
      ++entry;
      continue;
    }
    const std::chrono::duration<double> time = Clock::now() - child.start;
    ended.push_back({process, status, std::move(child.text), time.count()});
    entry = children_.erase(entry);
  }
  return ended;
}

void ProcessPool::signalAll(int signal) const {
  for (const auto& [process, child] : children_) ::kill(process, signal);
}

void ProcessPool::takeSignals() {
  signalfd_siginfo info{};
  while (read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo != SIGCHLD) ++interrupts_;
  }
}

}  // namespace segmask

#include "src/render/StderrGuard.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include "io/UserError.h"

namespace segmask {
namespace {

constexpr std::size_t kMostLineBytes = 1 << 16;
constexpr std::array<int, 5> kDeadlySignals{SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

/// The signal handler's data. Lock-free atomics, because a signal handler must not lock.
std::atomic<int> savedStderr{-1};
std::atomic<bool> relayEnded{true};

/// Closes the pipe's writing end, which ends the relay, and gives it a second for the lines that are left.
/// The signal's default handling is restored already (SA_RESETHAND) and ends the process.
extern "C" void segmaskOnDeath(int signal) {
  const int saved = savedStderr;
  dup2(saved, STDERR_FILENO);
  constexpr int kTries = 100;
  constexpr timespec kPause{0, 10'000'000};
  for (int i = 0; i < kTries && !relayEnded; ++i) nanosleep(&kPause, nullptr);
  // Delivered when this returns. Without it a signal that another process has sent would be lost.
  raise(signal);
}

using Handler = void (*)(int);

/// Replaces the handler `from` by `to` for each deadly signal. Other handlers, such as a sanitizer's, stay.
void replaceHandlers(Handler from, Handler to) {
  struct sigaction action {};
  action.sa_handler = to;
  sigemptyset(&action.sa_mask);
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kDeadlySignals) {
    struct sigaction old {};
    sigaction(signal, nullptr, &old);
    const bool plain = (old.sa_flags & SA_SIGINFO) == 0;
    if (plain && old.sa_handler == from) sigaction(signal, &action, nullptr);
  }
}

FileDescriptor duplicate(int fd) {
  FileDescriptor copy(fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  if (!copy) throw systemError("standard error", errno);
  return copy;
}

}  // namespace

StderrGuard::StderrGuard(OnLine onLine) : onLine_(std::move(onLine)), saved_(duplicate(STDERR_FILENO)) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw systemError("standard error", errno);
  pipe_ = FileDescriptor(ends[0]);
  const FileDescriptor writingEnd(ends[1]);
  relayEnded = false;
  thread_ = std::thread([this] { relay(); });
  dup2(writingEnd.get(), STDERR_FILENO);
  savedStderr = saved_.get();
  replaceHandlers(SIG_DFL, &segmaskOnDeath);
}

StderrGuard::~StderrGuard() {
  replaceHandlers(&segmaskOnDeath, SIG_DFL);
  dup2(saved_.get(), STDERR_FILENO);
  thread_.join();
  savedStderr = -1;
}

void StderrGuard::relay() {
  std::array<char, 4096> block{};
  std::string line;
  for (;;) {
    const ssize_t count = read(pipe_.get(), block.data(), block.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      const bool ends = block[i] == '\n';
      if (!ends) line += block[i];
      if (!ends && line.size() < kMostLineBytes) continue;
      onLine_(line);
      line.clear();
    }
  }
  if (!line.empty()) onLine_(line);
  relayEnded = true;
}

StderrSilence::StderrSilence() : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
  const FileDescriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (saved_ && nowhere) dup2(nowhere.get(), STDERR_FILENO);
}

StderrSilence::~StderrSilence() {
  if (saved_) dup2(saved_.get(), STDERR_FILENO);
}

}  // namespace segmask

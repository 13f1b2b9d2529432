#include "io/Interrupt.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include "io/UserError.h"

namespace segmask {
namespace {

std::atomic<bool> wanted{false};
std::atomic<int> wakeDescriptor{-1};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "the handler may use nothing that locks");

/// Interrupts a blocking call of the thread that it is sent to. SIGURG, because nothing else uses it here and
/// its default action is to do nothing.
constexpr int kWakeSignal = SIGURG;

extern "C" void segmaskOnSignal(int) {
  const int error = errno;
  wanted = true;
  constexpr uint64_t kOne = 1;
  // This fails only when the descriptor is readable already.
  const ssize_t ignored = write(wakeDescriptor, &kOne, sizeof kOne);
  static_cast<void>(ignored);
  errno = error;
}

extern "C" void segmaskOnWake(int) {}

/// Installs `handler`. Without SA_RESTART, so that blocking reads of libraries, which do not poll the
/// descriptor, return.
void handle(int signal, void (*handler)(int), int flags, struct sigaction& old) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = flags;
  sigaction(signal, &action, &old);
}

}  // namespace

Interrupt::Interrupt() : reader_(pthread_self()) {
  wanted = false;
  wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeDescriptor < 0) throw systemError("signal handling", errno);
  constexpr int kOnce = static_cast<int>(SA_RESETHAND);
  handle(SIGINT, &segmaskOnSignal, kOnce, oldInt_);
  handle(SIGTERM, &segmaskOnSignal, kOnce, oldTerm_);
  handle(kWakeSignal, &segmaskOnWake, 0, oldWake_);
  // The parent process may have blocked it.
  sigset_t wake;
  sigemptyset(&wake);
  sigaddset(&wake, kWakeSignal);
  pthread_sigmask(SIG_UNBLOCK, &wake, &oldMask_);
}

Interrupt::~Interrupt() {
  pthread_sigmask(SIG_SETMASK, &oldMask_, nullptr);
  sigaction(SIGINT, &oldInt_, nullptr);
  sigaction(SIGTERM, &oldTerm_, nullptr);
  sigaction(kWakeSignal, &oldWake_, nullptr);
  close(wakeDescriptor.exchange(-1));
}

void Interrupt::request() const {
  segmaskOnSignal(0);
  pthread_kill(reader_, kWakeSignal);
}

void Interrupt::leaveToOtherThreads() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

int Interrupt::descriptor() {
  return wakeDescriptor;
}

bool Interrupt::requested() {
  return wanted;
}

}  // namespace segmask

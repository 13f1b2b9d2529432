#include "Interrupt.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>

#include "UserError.h"

namespace segmask {
namespace {

std::atomic<bool> wanted{false};
std::atomic<int> wakeDescriptor{-1};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "the handler may use nothing that locks");

extern "C" void segmaskOnSignal(int) {
  const int error = errno;
  wanted = true;
  constexpr uint64_t kOne = 1;
  // It can only fail because it is readable already.
  const ssize_t ignored = write(wakeDescriptor, &kOne, sizeof kOne);
  static_cast<void>(ignored);
  errno = error;
}

}  // namespace

Interrupt::Interrupt() {
  wanted = false;
  wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (wakeDescriptor < 0) throw systemError("signal handling", errno);
  struct sigaction action {};
  action.sa_handler = segmaskOnSignal;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: reads of libraries, which know nothing of the descriptor, have to return.
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, &oldInt_);
  sigaction(SIGTERM, &action, &oldTerm_);
}

Interrupt::~Interrupt() {
  sigaction(SIGINT, &oldInt_, nullptr);
  sigaction(SIGTERM, &oldTerm_, nullptr);
  close(wakeDescriptor.exchange(-1));
}

int Interrupt::descriptor() {
  return wakeDescriptor;
}

bool Interrupt::requested() {
  return wanted;
}

}  // namespace segmask

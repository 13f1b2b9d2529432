#pragma once

#include <openssl/err.h>

/// Removes, when it is destroyed, the errors that OpenSSL has queued for this thread since it was made, and
/// keeps the older ones. A host may look at the queue to judge its own calls and must not find ours in it.
class OpenSslErrorMark {
 public:
  OpenSslErrorMark() noexcept { ERR_set_mark(); }
  ~OpenSslErrorMark() { ERR_pop_to_mark(); }
  OpenSslErrorMark(const OpenSslErrorMark&) = delete;
  OpenSslErrorMark& operator=(const OpenSslErrorMark&) = delete;
};

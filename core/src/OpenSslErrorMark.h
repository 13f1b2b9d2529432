#pragma once

#include <openssl/err.h>

/// While one lives, the errors that OpenSSL notes for this thread are on top of those that were there before;
/// they go with it. A host may look at the queue to judge its own calls and must not find ours in it.
class OpenSslErrorMark {
 public:
  OpenSslErrorMark() noexcept { ERR_set_mark(); }
  ~OpenSslErrorMark() { ERR_pop_to_mark(); }
  OpenSslErrorMark(const OpenSslErrorMark&) = delete;
  OpenSslErrorMark& operator=(const OpenSslErrorMark&) = delete;
};

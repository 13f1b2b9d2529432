#pragma once

#include <string>

#include "SecretBytes.h"

/// The 32 bytes of the AES-256 key that a caller's key stands for: its own bytes if it has exactly 32,
/// otherwise their SHA-256 digest. Throws std::runtime_error if OpenSSL fails.
SecretBytes deriveAesKey(const std::string& key);

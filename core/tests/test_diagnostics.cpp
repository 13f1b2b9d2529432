// What reaches the standard error stream itself: each line in one write, complete and at once.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "core/SwAny.h"
#include "core/SwJsonDocument.h"

namespace {

using Writes = std::vector<std::string>;

// While one lives, the process's standard error stream is a socket that keeps the writes apart.
class StderrWrites {
 public:
  StderrWrites() : saved_(dup(STDERR_FILENO)) {
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends_) != 0 ||
        dup2(ends_[1], STDERR_FILENO) < 0)
      std::abort();
  }
  ~StderrWrites() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
    close(ends_[0]);
    close(ends_[1]);
  }
  StderrWrites(const StderrWrites&) = delete;
  StderrWrites& operator=(const StderrWrites&) = delete;

  // Those that have arrived since the last call.
  Writes take() {
    Writes writes;
    std::string buffer(65536, '\0');
    for (;;) {
      const ssize_t size = recv(ends_[0], buffer.data(), buffer.size(), 0);
      if (size < 0) return writes;
      writes.push_back(buffer.substr(0, static_cast<std::size_t>(size)));
    }
  }

 private:
  int saved_;
  int ends_[2] = {-1, -1};
};

void expectOneWrite(const std::string& line, const std::function<void()>& operation) {
  StderrWrites stderrWrites;
  operation();
  EXPECT_EQ(stderrWrites.take(), Writes{line + "\n"});
}

}  // namespace

TEST(Diagnostics, EachMessageIsOneLineInOneWrite) {
  SwAny::getConversionRules();
  expectOneWrite("Invalid int conversion in SwString:  x", [] { SwString(" x").toInt(nullptr); });
  expectOneWrite("Invalid float conversion in SwString:  x", [] { SwString(" x").toFloat(); });
  expectOneWrite("Invalid double conversion in SwString:  x", [] { SwString(" x").toDouble(); });
  expectOneWrite("Root is not a JSON object.", [] { SwJsonDocument().object(); });
  expectOneWrite("No conversion rule registered from i to nobody's", [] { SwAny(7).convert("nobody's"); });
  expectOneWrite("Decryption error: Invalid data: empty.", [] { SwString("?").decryptAES("key"); });
}

TEST(Diagnostics, ALongLineIsOneWriteToo) {
  const std::string text(20000, 'x');
  expectOneWrite("Invalid int conversion in SwString: " + text, [&text] { SwString(text).toInt(nullptr); });
}

TEST(Diagnostics, LinesOfSeveralThreadsDoNotMix) {
  StderrWrites stderrWrites;
  std::vector<std::thread> threads;
  for (const char* text : {"a", "b", "c", "d"}) {
    threads.emplace_back([text] {
      for (int i = 0; i < 25; ++i) SwString(text).toInt(nullptr);
    });
  }
  for (std::thread& thread : threads) thread.join();
  Writes writes = stderrWrites.take();
  std::sort(writes.begin(), writes.end());
  Writes expected;
  for (const char* text : {"a", "b", "c", "d"}) {
    expected.insert(expected.end(), 25, "Invalid int conversion in SwString: " + std::string(text) + "\n");
  }
  EXPECT_EQ(writes, expected);
}

// In a process of its own, whose registry nobody has filled.
TEST(DiagnosticsDeathTest, TheRegistrysLineIsOneWrite) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto exitWithVerdict = [] {
    Writes writes;
    {
      StderrWrites stderrWrites;
      SwAny(7).toString(6);
      writes = stderrWrites.take();
    }
    std::exit(writes == Writes{"********************CALL ONCE NOT TWICE********************\n"} ? 0 : 1);
  };
  EXPECT_EXIT(exitWithVerdict(), testing::ExitedWithCode(0), "");
}

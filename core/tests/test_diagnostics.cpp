// What reaches the standard error stream itself: each line in one write, complete and at once.

#include <gtest/gtest.h>
#include <pthread.h>
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
#include "core/diagnostics.h"

namespace {

using Writes = std::vector<std::string>;

/// While one lives, the process's standard error stream is a socket that keeps the writes apart.
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

/// What a host may have put in the place of the standard error stream. While one lives, each write does
/// `write`, and the stream passes exceptions on.
class HostsStderr : private std::streambuf {
 public:
  explicit HostsStderr(std::function<void()> write)
      : write_(std::move(write)), previous_(std::cerr.rdbuf(this)) {
    std::cerr.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  }
  ~HostsStderr() override {
    std::cerr.exceptions(std::ios_base::goodbit);
    std::cerr.rdbuf(previous_);
    std::cerr.clear();
  }
  HostsStderr(const HostsStderr&) = delete;
  HostsStderr& operator=(const HostsStderr&) = delete;

 private:
  std::streamsize xsputn(const char*, std::streamsize count) override {
    write_();
    return count;
  }

  std::function<void()> write_;
  std::streambuf* previous_;
};

/// Whether a thread that is cancelled while `operation` writes its line ends there.
bool endsWhereItIsCancelled(void (*operation)()) {
  const HostsStderr hostsStderr([] {
    pthread_cancel(pthread_self());
    pthread_testcancel();
  });
  const auto run = [](void* argument) -> void* {
    (*static_cast<void (**)()>(argument))();
    return nullptr;
  };
  pthread_t thread;
  if (pthread_create(&thread, nullptr, run, &operation) != 0) std::abort();
  void* result = nullptr;
  pthread_join(thread, &result);
  return result == PTHREAD_CANCELED;
}

}  // namespace

TEST(Diagnostics, EachMessageHoweverLongIsOneLineInOneWrite) {
  SwAny::getConversionRules();
  expectOneWrite("Invalid int conversion in SwString:  x", [] { SwString(" x").toInt(nullptr); });
  expectOneWrite("Invalid float conversion in SwString:  x", [] { SwString(" x").toFloat(); });
  expectOneWrite("Invalid double conversion in SwString:  x", [] { SwString(" x").toDouble(); });
  expectOneWrite("Root is not a JSON object.", [] { SwJsonDocument().object(); });
  expectOneWrite("No conversion rule registered from i to nobody's", [] { SwAny(7).convert("nobody's"); });
  expectOneWrite("Decryption error: Invalid data: empty.", [] { SwString("?").decryptAES("key"); });
  const std::string text(20000, 'x');
  expectOneWrite("Invalid int conversion in SwString: " + text, [&text] { SwString(text).toInt(nullptr); });
}

TEST(Diagnostics, NoExceptionOfTheStreamLeavesAnOperation) {
  SwAny::getConversionRules();
  const std::function<void()> throwers[] = {[] { throw 7; }, [] { throw std::ios_base::failure("full"); },
                                            [] { throw std::bad_alloc(); }};
  const std::function<void()> operations[] = {[] { EXPECT_EQ(SwString("x").toFloat(), 0.0F); },
                                              [] { EXPECT_EQ(SwString("x").toDouble(), 0.0); },
                                              [] { EXPECT_TRUE(SwJsonDocument().object().empty()); },
                                              [] { EXPECT_TRUE(SwAny(7).convert("nobody's").isEmpty()); },
                                              [] { EXPECT_TRUE(SwString("?").decryptAES("key").empty()); },
                                              [] {
                                                bool ok = true;
                                                EXPECT_EQ(SwString("x").toInt(&ok), 0);
                                                EXPECT_FALSE(ok);
                                              }};
  for (const auto& thrower : throwers) {
    for (const auto& operation : operations) {
      const HostsStderr hostsStderr(thrower);
      operation();
      EXPECT_TRUE(std::cerr.bad()) << "nothing was thrown";
    }
  }
}

TEST(Diagnostics, AStreamThatTakesNothingThrowsNothing) {
  const HostsStderr hostsStderr([] {});
  std::streambuf* const hosts = std::cerr.rdbuf();
  std::cerr.exceptions(std::ios_base::goodbit);
  std::cerr.rdbuf(nullptr);
  EXPECT_THROW(std::cerr.exceptions(std::ios_base::badbit), std::ios_base::failure);
  EXPECT_NO_THROW(sw_diagnostics::writeLine("lost"));
  std::cerr.exceptions(std::ios_base::goodbit);
  std::cerr.rdbuf(hosts);
}

TEST(Diagnostics, ACancelledThreadEndsWhileItWrites) {
  EXPECT_TRUE(endsWhereItIsCancelled([] { SwString("x").toInt(nullptr); }));
  // Here the parser catches whatever leaves a decryption.
  EXPECT_TRUE(endsWhereItIsCancelled([] {
    SwString error;
    SwJsonDocument().loadFromJson("[42]", error, "key");
  }));
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

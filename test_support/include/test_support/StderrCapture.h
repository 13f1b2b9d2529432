#pragma once

#include <iostream>
#include <streambuf>
#include <string>
#include <utility>

// While one lives, what goes to std::cerr comes here instead.
class StderrCapture : private std::streambuf {
 public:
  // With room for some lines, so that a test in which allocations fail still gets them.
  StderrCapture() : previous_(std::cerr.rdbuf(this)) { text_.reserve(4096); }
  ~StderrCapture() override { std::cerr.rdbuf(previous_); }
  StderrCapture(const StderrCapture&) = delete;
  StderrCapture& operator=(const StderrCapture&) = delete;

  const std::string& text() const { return text_; }

  // The text, and an empty one from now on.
  std::string take() { return std::exchange(text_, std::string()); }

  // In how many pieces the text came, and how often it was flushed.
  int writes() const { return writes_; }
  int flushes() const { return flushes_; }

 private:
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    ++writes_;
    text_.append(bytes, static_cast<std::size_t>(count));
    return count;
  }

  int_type overflow(int_type byte) override {
    ++writes_;
    text_ += traits_type::to_char_type(byte);
    return byte;
  }

  int sync() override {
    ++flushes_;
    return 0;
  }

  std::streambuf* previous_;
  std::string text_;
  int writes_ = 0;
  int flushes_ = 0;
};

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "test_support/TempFolder.h"
#include "tests/bad_input_table.h"
#include "tests/run_tool.h"

/// Runs the program with bad input. Each test is a row of the table of bad input in docs/reliability.md,
/// which has the message and the exit code that are expected.
class BadInput : public ::testing::Test {
 protected:
  using Arguments = std::vector<std::string>;
  using Options = std::map<std::string, std::string>;

  static constexpr int kWidth = 16;
  static constexpr int kHeight = 8;

  BadInput();

  std::string path(const std::string& name) const { return folder_.path(name); }

  /// `segmask render` of good input, with these options in the place of its own or besides.
  Arguments rendering(const Options& changes) const;

  void run(const Arguments& arguments, const std::function<void()>& prepare = {}) const;

  void option(const std::string& name, const std::string& value) const { run(rendering({{name, value}})); }

  /// `segmask render` of an input that says its own size, into this output.
  void render(const std::string& input, const std::string& output = "out.nv12",
              const Arguments& more = {}) const;

  /// These words after good options.
  void words(const Arguments& more) const;

  /// What is written into a pipe, which `name` is, while the program runs. `meanwhile` is called once it has
  /// opened the pipe, and before the first byte.
  void pipe(const std::string& option, const std::string& name, const std::string& bytes,
            const std::function<void()>& meanwhile = {}) const;

  TempFolder folder_;

 private:
  /// What the program said and how it ended are the row's, on one line. With exit code 2 nothing is left
  /// behind and what was there is as it was; with another one the output is written.
  void expectRow(const ToolResult& result, const std::vector<std::string>& before) const;

  BadInputRow row_;
};

/// For programs that are started later: the superuser may read and write everywhere, they may not.
void giveUpPrivileges();

// Two modules that are loaded like plug-ins, each with its names to itself, share one registry. This program
// does not link the library, so that the modules bring it in. The one test of its program.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "test_support/StderrFile.h"
#include "tests/modules/registry_module.h"

namespace {

class Module {
 public:
  explicit Module(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (!handle_) ADD_FAILURE() << dlerror();
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  template <typename Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(dlsym(handle_, name));
  }
  void unload() { ASSERT_EQ(dlclose(handle_), 0); }

 private:
  void* handle_;
};

std::string converted(const Module& module, int value) {
  std::string text;
  module.function<ConvertReading>("convertReading")(value, text);
  return text;
}

const void* rulesSeenBy(const Module& module) {
  return module.function<RulesSeen>("rulesSeen")();
}

constexpr const char* kMarker = "********************CALL ONCE NOT TWICE********************\n";
constexpr const char* kNoRule = "No conversion rule registered from i to 7Reading\n";

}  // namespace

TEST(OneRegistry, ServesModulesThatDoNotSeeEachOther) {
  const StderrFile messages;
  Module first(CONVERTING_MODULE);
  ASSERT_EQ(dlsym(RTLD_DEFAULT, "convertReading"), nullptr) << "the module's names are everybody's";
  EXPECT_EQ(converted(first, 7), "7");
  EXPECT_EQ(messages.text(), std::string(kMarker) + kNoRule);
  const void* rules = rulesSeenBy(first);
  // The library stays, although nobody holds it any more.
  first.unload();

  const Module registering(REGISTERING_MODULE);
  registering.function<RegisterReading>("registerReading")();
  const Module converting(CONVERTING_MODULE);
  EXPECT_EQ(converted(converting, 7), "door=7");
  EXPECT_EQ(rulesSeenBy(registering), rules);
  EXPECT_EQ(rulesSeenBy(converting), rules);
  EXPECT_EQ(messages.text(), std::string(kMarker) + kNoRule);
}

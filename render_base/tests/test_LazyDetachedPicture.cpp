#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "render_base/LazyDetachedPicture.h"
#include "test_support/StartTogether.h"
#include "zelvo/ZelvoPicture.h"
#include "zelvo/ZelvoPicturePool.h"

namespace {

using SharedPicture = std::shared_ptr<zelvo::ZelvoPicture>;

SharedPicture emptyPicture() {
  return std::make_shared<zelvo::ZelvoPicture>();
}

/// A pool that gives what it is told to and counts how often it is asked.
class FakePool : public zelvo::ZelvoPicturePool {
 public:
  explicit FakePool(SharedPicture result) : result_(std::move(result)) {}
  SharedPicture clone(const zelvo::ZelvoPicture& picture) override {
    ++calls;
    cloned = &picture;
    return result_;
  }

  int calls = 0;
  const zelvo::ZelvoPicture* cloned = nullptr;

 private:
  SharedPicture result_;
};

/// With a source.
struct Detachable : LazyDetachedPicture {
  Detachable() {
    source = emptyPicture();
    sourceId = 1;
  }
};

std::string failureOf(LazyDetachedPicture& picture) {
  try {
    picture.ensureWritablePicShared();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "no failure";
}

TEST(LazyDetachedPicture, ASecondCallReturnsTheSamePictureWithoutAskingAgain) {
  Detachable picture;
  const auto pool = std::make_shared<FakePool>(emptyPicture());
  picture.pool = pool;
  int callbacks = 0;
  picture.cloneDetached = [&](const std::string&, uint64_t) {
    ++callbacks;
    return emptyPicture();
  };
  const SharedPicture first = picture.ensureWritablePicShared();
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(picture.ensureWritablePicShared(), first);
  EXPECT_EQ(picture.writable, first);
  EXPECT_EQ(pool->calls, 1);
  EXPECT_EQ(pool->cloned, picture.source.get());
  EXPECT_EQ(callbacks, 0);
}

TEST(LazyDetachedPicture, WithoutAnybodyWhoCopiesItThrowsAndALaterCallTriesAgain) {
  Detachable picture;
  EXPECT_EQ(failureOf(picture), "LazyDetachedPicture cloneDetached failed");
  SharedPicture result;
  picture.cloneDetached = [&](const std::string&, uint64_t) { return result; };
  EXPECT_EQ(failureOf(picture), "LazyDetachedPicture cloneDetached failed");
  EXPECT_EQ(picture.writable, nullptr);
  result = emptyPicture();
  EXPECT_EQ(picture.ensureWritablePicShared(), result);
}

TEST(LazyDetachedPicture, APoolThatGivesNothingFallsBackToTheCallableWhichGetsASlashForNoName) {
  for (const auto& [sourceName, asked] : {std::pair("yard", "yard"), std::pair("", "/")}) {
    Detachable picture;
    picture.sourceId = 77;
    picture.sourceName = sourceName;
    const auto pool = std::make_shared<FakePool>(nullptr);
    picture.pool = pool;
    const SharedPicture copy = emptyPicture();
    std::string name;
    uint64_t id = 0;
    picture.cloneDetached = [&](const std::string& askedName, uint64_t askedId) {
      name = askedName;
      id = askedId;
      return copy;
    };
    EXPECT_EQ(picture.ensureWritablePicShared(), copy);
    EXPECT_EQ(pool->calls, 1);
    EXPECT_EQ(name, asked);
    EXPECT_EQ(id, 77U);
  }
}

TEST(LazyDetachedPicture, Id0WithASourceThrowsNoIdAndWithNeitherTheSourceIsMissedFirst) {
  LazyDetachedPicture picture;
  EXPECT_EQ(failureOf(picture), "LazyDetachedPicture has no source picture");
  picture.sourceId = 5;
  EXPECT_EQ(failureOf(picture), "LazyDetachedPicture has no source picture");
  picture.sourceId = 0;
  picture.source = emptyPicture();
  EXPECT_EQ(failureOf(picture), "LazyDetachedPicture has no source picture id");
}

TEST(LazyDetachedPicture, TheReadablePictureIsTheCopyWhichServesThoughTheSourceIsGoneAndBeforeThatTheSource) {
  LazyDetachedPicture picture;
  EXPECT_FALSE(picture.hasSource());
  EXPECT_EQ(picture.readable(), nullptr);
  picture.source = emptyPicture();
  EXPECT_TRUE(picture.hasSource());
  EXPECT_EQ(picture.readable(), picture.source);
  picture.writable = emptyPicture();
  EXPECT_EQ(picture.readable(), picture.writable);
  picture.source = nullptr;
  EXPECT_EQ(picture.ensureWritablePicShared(), picture.writable);
}

/// Asked in another thread, because trying a mutex that one's own thread holds is undefined.
bool isFree(std::mutex& mutex) {
  bool free = false;
  std::thread([&] {
    free = mutex.try_lock();
    if (free) mutex.unlock();
  }).join();
  return free;
}

/// A callable that notes at each copy of it, and at its call, whether the picture's mutex is free.
struct NotingCopier {
  LazyDetachedPicture& picture;
  std::vector<bool>& wasFree;

  NotingCopier(LazyDetachedPicture& noted, std::vector<bool>& notes) : picture(noted), wasFree(notes) {}
  NotingCopier(const NotingCopier& other) : picture(other.picture), wasFree(other.wasFree) {
    wasFree.push_back(isFree(picture.mutex));
  }

  SharedPicture operator()(const std::string&, uint64_t) const {
    wasFree.push_back(isFree(picture.mutex));
    return emptyPicture();
  }
};

TEST(LazyDetachedPicture, WhatTheCopyNeedsIsTakenUnderTheMutexWhichIsFreeWhileTheCopyIsMade) {
  Detachable picture;
  std::vector<bool> wasFree;
  picture.cloneDetached = NotingCopier(picture, wasFree);
  wasFree.clear();
  picture.ensureWritablePicShared();
  EXPECT_EQ(wasFree, (std::vector<bool>{false, true}));
}

TEST(LazyDetachedPicture, ACopyThatCameTooLateEndsOnceTheMutexIsFree) {
  Detachable picture;
  std::vector<bool> wasFree;
  const SharedPicture earlier = emptyPicture();
  picture.cloneDetached = [&](const std::string&, uint64_t) {
    picture.writable = earlier;
    return SharedPicture(new zelvo::ZelvoPicture(), [&](const zelvo::ZelvoPicture* late) {
      wasFree.push_back(isFree(picture.mutex));
      delete late;
    });
  };
  EXPECT_EQ(picture.ensureWritablePicShared(), earlier);
  EXPECT_EQ(wasFree, std::vector<bool>{true});
}

TEST(LazyDetachedPicture, OfTwoCallersAtOnceTheFirstToPublishWinsForBoth) {
  Detachable picture;
  // Whoever copies waits until both do, so that both have found the picture not detached.
  std::atomic<int> copying{0};
  picture.cloneDetached = [&](const std::string&, uint64_t) {
    ++copying;
    while (copying < 2) std::this_thread::yield();
    return emptyPicture();
  };
  std::vector<SharedPicture> results(2);
  std::thread other([&] { results[0] = picture.ensureWritablePicShared(); });
  results[1] = picture.ensureWritablePicShared();
  other.join();
  EXPECT_NE(results[0], nullptr);
  EXPECT_EQ(results[0], results[1]);
  EXPECT_EQ(copying, 2);
}

constexpr unsigned kThreads = 8;
constexpr int kRounds = 200;

// The preset tsan looks for races in these.
TEST(LazyDetachedPicture, EightThreadsReadAndDetachOneAndGetOneCopy) {
  for (int round = 0; round < kRounds; ++round) {
    Detachable picture;
    picture.pool = std::make_shared<zelvo::ZelvoPicturePool>();
    const zelvo::ZelvoPicture* const source = picture.source.get();
    std::array<SharedPicture, kThreads> readBefore;
    std::array<SharedPicture, kThreads> copies;
    std::array<SharedPicture, kThreads> readAfter;
    std::atomic<unsigned> sourcesSeen{0};
    startTogether(kThreads, [&](unsigned i) {
      if (picture.hasSource()) ++sourcesSeen;
      readBefore[i] = picture.readable();
      copies[i] = picture.ensureWritablePicShared();
      readAfter[i] = picture.readable();
    });
    ASSERT_NE(copies[0], nullptr);
    ASSERT_NE(copies[0].get(), source);
    ASSERT_EQ(sourcesSeen, kThreads);
    for (unsigned i = 0; i < kThreads; ++i) {
      ASSERT_TRUE(readBefore[i].get() == source || readBefore[i] == copies[0]);
      ASSERT_EQ(copies[i], copies[0]);
      ASSERT_EQ(readAfter[i], copies[0]);
    }
  }
}

TEST(LazyDetachedPicture, OfEightThreadsThoseWhoseCopyFailsThrowAndTheOthersGetOnePicture) {
  unsigned failures = 0;
  for (int round = 0; round < kRounds; ++round) {
    Detachable picture;
    std::atomic<int> asked{0};
    picture.cloneDetached = [&](const std::string&, uint64_t) {
      return asked++ < 3 ? nullptr : emptyPicture();
    };
    std::array<SharedPicture, kThreads> copies;
    startTogether(kThreads, [&](unsigned i) {
      try {
        copies[i] = picture.ensureWritablePicShared();
      } catch (const std::runtime_error&) {
      }
    });
    ASSERT_NE(picture.writable, nullptr);
    for (const SharedPicture& copy : copies) {
      if (!copy) ++failures;
      ASSERT_TRUE(!copy || copy == picture.writable);
    }
  }
  EXPECT_EQ(failures, 3U * kRounds);
}

}  // namespace

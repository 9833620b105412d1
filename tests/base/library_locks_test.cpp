#include "base/library_locks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace orsin {
namespace {

// Of ranks whose own mutexes this program does not have. The process remembers them.
constinit LibraryMutex loader_mutex{LockRank::kLibraryLoader};
constinit LibraryMutex names_mutex{LockRank::kDirectoryNames};

// A thread that tries to take mutexes. It runs before all locks are held: none can start then.
class AnotherThread {
 public:
  AnotherThread() : thread_([this] { answer(); }) {
    while (!is_running_) {
      std::this_thread::yield();
    }
  }
  ~AnotherThread() {
    is_over_ = true;
    thread_.join();
  }
  AnotherThread(const AnotherThread&) = delete;
  AnotherThread& operator=(const AnotherThread&) = delete;

  bool gets(const LibraryMutex& mutex) {
    asked_ = mutex.handle();
    while (asked_ != nullptr) {
      std::this_thread::yield();
    }
    return got_it_;
  }

 private:
  void answer() {
    is_running_ = true;
    while (!is_over_) {
      if (__mutex_str* mutex = asked_) {
        got_it_ = mp_test_mutex(mutex) != 0;
        if (got_it_) {
          mp_release_mutex(mutex);
        }
        asked_ = nullptr;
      }
      std::this_thread::yield();
    }
  }

  std::atomic<__mutex_str*> asked_ = nullptr;
  std::atomic<bool> got_it_ = false;
  std::atomic<bool> is_running_ = false;
  std::atomic<bool> is_over_ = false;
  std::thread thread_;  // Last: it uses the others.
};

TEST(AllLibraryLocks, AreHeldTogetherAndLetGoTogether) {
  loader_mutex.create();
  names_mutex.create();
  AnotherThread another;
  {
    const AllLibraryLocks held;

    EXPECT_FALSE(another.gets(loader_mutex));
    EXPECT_FALSE(another.gets(names_mutex));
  }

  EXPECT_TRUE(another.gets(loader_mutex));
  EXPECT_TRUE(another.gets(names_mutex));
}

TEST(AllLibraryLocks, AreTheHoldersToTakeAgain) {
  loader_mutex.create();
  const AllLibraryLocks held;

  const ScopedLock again(loader_mutex);

  EXPECT_TRUE(loader_mutex.exists());
}

TEST(AllLibraryLocks, WaitForThoseWhoTakeThemAllTheTime) {
  constexpr int kThreads = 4;
  loader_mutex.create();
  std::atomic<bool> is_over = false;
  std::atomic<int> inside = 0;
  std::thread threads[kThreads];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      while (!is_over) {
        const ScopedLock guard(loader_mutex);
        ++inside;
        std::this_thread::yield();
        --inside;
      }
    });
  }

  for (int i = 0; i < 50; ++i) {
    const AllLibraryLocks held;
    ASSERT_TRUE(loader_mutex.exists());
    ASSERT_EQ(inside, 0);
  }

  is_over = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(loader_mutex.exists()) << "it was not to be had in time";
}

TEST(AllLibraryLocks, ForgetTheOneThatItsOwnerNeverLetsGo) {
  loader_mutex.create();
  names_mutex.create();
  __mutex_str* kept = loader_mutex.handle();
  std::atomic<bool> is_held = false;
  std::atomic<bool> is_over = false;
  std::thread owner([&] {
    mp_get_mutex(kept);
    is_held = true;
    while (!is_over) {
      std::this_thread::yield();
    }
    mp_release_mutex(kept);
  });
  while (!is_held) {
    std::this_thread::yield();
  }

  { const AllLibraryLocks held; }

  EXPECT_FALSE(loader_mutex.exists()) << "whoever takes it next would wait for ever";
  EXPECT_TRUE(names_mutex.exists());
  is_over = true;
  owner.join();
  mp_delete_mutex(kept);
}

TEST(LibraryMutex, IsCreatedOnceByManyThreads) {
  constexpr int kThreads = 4;
  static constinit LibraryMutex mutex{LockRank::kTransfers};
  std::atomic<__mutex_str*> seen[kThreads] = {};
  std::thread threads[kThreads];
  for (int i = 0; i < kThreads; ++i) {
    threads[i] = std::thread([&, i] {
      mutex.create();
      seen[i] = mutex.handle();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  for (const auto& handle : seen) {
    EXPECT_EQ(handle, mutex.handle());
  }
}

// What the slower one made is given back: sanitizers look for it when the program ends.
TEST(LibraryMutex, IsTheQuickersOfTwoThatAreMadeAtOnce) {
  constexpr std::size_t kMutexes = 200;
  // The process remembers them, and what they have made.
  static auto& mutexes = *new std::vector<std::unique_ptr<LibraryMutex>>;
  for (std::size_t i = 0; i < kMutexes; ++i) {
    mutexes.push_back(std::make_unique<LibraryMutex>(LockRank::kTransfers));
  }
  std::atomic<std::size_t> arrived = 0;
  const auto create_all = [&] {
    std::vector<__mutex_str*> handles;
    for (std::size_t i = 0; i < kMutexes; ++i) {
      ++arrived;
      while (arrived < 2 * (i + 1)) {
        std::this_thread::yield();
      }
      mutexes[i]->create();
      handles.push_back(mutexes[i]->handle());
    }
    return handles;
  };

  std::vector<__mutex_str*> theirs;
  std::thread another([&] { theirs = create_all(); });
  const std::vector<__mutex_str*> ours = create_all();
  another.join();

  EXPECT_EQ(ours, theirs);
}

// In a process of its own: in this one, they may have been held and let go.
TEST(AllLibraryLocksDeathTest, AreNotHeldInANewProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(locks_are_collected.load() ? 1 : 0), testing::ExitedWithCode(0), "");
}

TEST(AllLibraryLocks, SayThatTheyAreHeld) {
  {
    const AllLibraryLocks held;
    EXPECT_TRUE(locks_are_collected.load());
  }
  EXPECT_FALSE(locks_are_collected.load());
}

}  // namespace
}  // namespace orsin

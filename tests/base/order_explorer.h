// Runs a few threads in every order in which they can run.
//
// The threads are coroutines with stacks of their own on one real thread. A thread stops before a step
// that others can tell apart, and the explorer says who goes on; a wait can also end by time-out, or for
// no reason. All choices are tried, depth first; each run repeats the choices so far from the beginning.
//
// Three things make the orders few enough to try them all, and none leaves a case out:
//
//   - A state that was met before is not tried again. What a thread has noted since it last had nothing
//     in its variables decides what it will do; with what the scene tells, that is the whole state.
//   - Threads that do the same are the same: of the states that differ by their numbers one is tried.
//   - A thread stops only where another's step in between could matter. Taking a lock can as well happen
//     later, next to what follows it, and giving it back earlier; so a guarded passage with one step that
//     others see without the lock is one step. The scene checks that what it calls guarded is.
//
// States are told apart by 64 bits of hash: among a million of them two are taken for one with a
// chance of 1 in 30 million.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orsin {

using Note = std::uint16_t;

/// What a thread has seen, or a part of the state, in numbers below 256 and names of threads.
class Notes {
 public:
  static constexpr Note kNames = 256;

  void add(std::uint64_t number);
  void add_thread(std::optional<std::size_t> thread);  // Or nobody.
  void cut(std::size_t size) { size_ = size; }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] const Note* begin() const { return notes_.data(); }
  [[nodiscard]] const Note* end() const { return notes_.data() + size_; }

 private:
  std::array<Note, 32> notes_ = {};
  std::size_t size_ = 0;
};

/// What the threads share.
class Scene {
 public:
  virtual ~Scene() = default;

  /// What belongs to this thread and others can see.
  virtual void describe_thread(std::size_t thread, Notes& notes) const = 0;

  virtual void describe_rest(Notes& notes) const = 0;

  /// What is wrong where no thread can go on but by time-out; null when nothing is.
  [[nodiscard]] virtual const char* fault_at_rest() const = 0;
};

class Explorer {
 public:
  enum class WaitEnd { kWoken, kTimedOut, kForNoReason };

  static Explorer* current;

  /// Threads of one kind do the same.
  void add_thread(int kind, std::function<void()> body);

  // ------------------------------------------------------------------ for the thread that runs

  [[nodiscard]] std::size_t self() const { return running_; }

  /// Before a step that others can see, or that sees theirs.
  void before_step();

  /// Before taking a lock.
  void before_lock(const bool& is_held);

  /// After giving a lock back.
  void after_unlock() { thread().has_stepped = true; }

  /// Before a look at what does not change any more.
  void before_last_look();

  /// Sleeps at an address until wake() is called with it.
  WaitEnd sleep(const void* address, bool has_timeout);

  /// Ends one sleep at that address, if there is one.
  void wake(const void* address);

  [[nodiscard]] Notes& notes() { return thread().notes; }

  /// The running thread has nothing in its variables but this.
  void forget_all_but(Note note);

  /// The running thread goes back to where it was when its notes were as long as this.
  void forget_since(std::size_t size) { thread().notes.cut(size); }

  void fault(const char* text);

  /// Whose stack an address lies on.
  [[nodiscard]] static std::optional<std::size_t> owner(const void* address);

 private:
  friend class Exploration;

  struct Thread {
    void* stack = nullptr;  // Where it was left.
    std::function<void()> body;
    int kind = 0;
    const bool* lock = nullptr;       // Waits for it.
    const void* asleep_at = nullptr;  // Until woken.
    bool has_timeout = false;
    bool is_done = false;
    bool has_stepped = false;  // Since it stopped.
    WaitEnd wait_end = WaitEnd::kWoken;
    Notes notes;
  };

  struct Choice {
    std::size_t thread = 0;
    WaitEnd wait_end = WaitEnd::kWoken;
  };

  Thread& thread() { return threads_[running_]; }
  void stop();
  void start();
  void take(Choice choice);
  [[nodiscard]] std::vector<Choice> choices() const;
  [[nodiscard]] bool is_at_rest() const;
  static void run_current();

  std::vector<Thread> threads_;
  std::vector<std::string> faults_;
  void* main_ = nullptr;
  std::size_t running_ = 0;
};

struct Explored {
  bool is_finished = false;  // Every order was tried, or a fault was found.
  unsigned long long states = 0;
  unsigned long long ends = 0;  // States in which nobody can go on.
  std::vector<std::string> faults;
};

/// Adds the threads of a scene and returns it.
using SceneMaker = std::function<std::unique_ptr<Scene>(Explorer&)>;

/// Tries every order, until one shows a fault.
[[nodiscard]] Explored explore(const SceneMaker& make_scene);

}  // namespace orsin

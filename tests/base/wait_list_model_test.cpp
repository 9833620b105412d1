// The list of waiters under every order in which its threads can run.
//
// The threads of a small scenario are coroutines with stacks of their own on one real thread. Before
// each step that others can see (taking the section, touching an atomic, going to sleep) a thread
// stops, and the explorer says who goes on; a wait with a time-out can also end there and then. All
// choices are tried, depth first. A state that was met before is not tried again: what each thread
// has seen so far decides what it will do, and with the shared words that is the whole state.
//
// What must hold in every order: nobody is left asleep, a signal ends one wait at most, a wait that
// says "woken" has a signal of its own, and nothing is touched that is gone. The longest scenarios run
// where ORSIN_TEST_EVERY_ORDER is set.
#include <gtest/gtest.h>
#include <ucontext.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/wait_list.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#include <sanitizer/asan_interface.h>
#endif
#endif

namespace orsin {
namespace {

constexpr std::size_t kStackBytes = 128 * 1024;
constexpr std::size_t kThreadsMax = 5;

// Used again in every run, whatever the run before has left on them.
alignas(64) std::array<std::array<char, kStackBytes>, kThreadsMax> stacks;

void clear_stacks() {
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
  __asan_unpoison_memory_region(stacks.data(), sizeof(stacks));
#endif
#endif
}

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value) {
  return (hash ^ value) * 0x9E3779B97F4A7C15ull ^ (hash >> 29);
}

// The order of the nodes from one on, by whose stack each lies on. A node begins with its successor.
std::uint64_t nodes_from(const void* node) {
  std::uint64_t hash = 1;
  for (; node != nullptr; node = *static_cast<const void* const*>(node)) {
    const auto offset =
        static_cast<std::uint64_t>(static_cast<const char*>(node) - stacks.front().data());
    hash = mixed(hash, offset / kStackBytes + 1);
  }
  return hash;
}

// What a thread waits for before it can go on.
struct Blocked {
  const bool* while_true = nullptr;  // A section that somebody holds.
  const void* asleep_at = nullptr;   // A word; until woken.
  bool has_timeout = false;          // Then it can also go on by itself.
};

struct Thread {
  ucontext_t context;
  std::function<void()> body;
  Blocked blocked;
  bool is_done = false;
  bool timed_out = false;
  std::uint64_t seen = 0;  // A hash of every result so far.
};

// One run of a scenario, driven by a list of choices.
class Explorer {
 public:
  std::vector<Thread> threads;
  std::vector<std::uint64_t> words;  // Every shared word's value, in order of creation.
  std::vector<std::string> faults;
  bool is_condition_gone = false;
  bool unlocking_takes_time = false;        // Where somebody could delete the condition meanwhile.
  const void* const* first_node = nullptr;  // The list's own pointer to it.
  std::function<std::uint64_t()> callers_state;

  void fault(const char* text) { faults.emplace_back(text); }

  Thread& self() { return threads[static_cast<std::size_t>(running_)]; }

  /// Stops the running thread before its next visible step.
  void stop(Blocked blocked = {}) {
    self().blocked = blocked;
    saw(0);
    swapcontext(&self().context, &main_);
    self().blocked = {};
  }

  void saw(std::uint64_t value) { self().seen = mixed(self().seen, value + 1); }

  /// Where the running thread has nothing in its variables but this, it is in the state of any other that
  /// has come here.
  void forget_all_but(std::uint64_t value) { self().seen = mixed(0, value); }

  void start() {
    clear_stacks();
    for (std::size_t i = 0; i < threads.size(); ++i) {
      Thread& thread = threads[i];
      getcontext(&thread.context);
      thread.context.uc_stack.ss_sp = stacks.at(i).data();
      thread.context.uc_stack.ss_size = kStackBytes;
      thread.context.uc_link = &main_;
      makecontext(&thread.context, &Explorer::run_current, 0);
    }
  }

  /// Twice a thread's number, plus one where its wait ends by time-out.
  [[nodiscard]] std::vector<int> choices() const {
    std::vector<int> result;
    for (int i = 0; i < static_cast<int>(threads.size()); ++i) {
      const Thread& thread = threads[static_cast<std::size_t>(i)];
      if (thread.is_done) {
        continue;
      }
      const Blocked& blocked = thread.blocked;
      const bool is_held = blocked.while_true != nullptr && *blocked.while_true;
      if (!is_held && blocked.asleep_at == nullptr) {
        result.push_back(2 * i);
      } else if (blocked.has_timeout) {
        result.push_back(2 * i + 1);
      }
    }
    return result;
  }

  void take(int choice) {
    running_ = choice / 2;
    self().timed_out = choice % 2 != 0;
    current = this;
    swapcontext(&main_, &self().context);
  }

  [[nodiscard]] std::uint64_t state() const {
    std::uint64_t hash = mixed(is_condition_gone ? 1 : 0, callers_state());
    hash = mixed(hash, first_node != nullptr ? nodes_from(*first_node) : 0);
    for (const Thread& thread : threads) {
      hash = mixed(hash, thread.seen);
      hash = mixed(hash, thread.is_done ? 1 : 0);
      hash = mixed(hash, thread.blocked.asleep_at != nullptr ? 1 : 0);
    }
    for (const std::uint64_t word : words) {
      hash = mixed(hash, word);
    }
    return hash;
  }

  static Explorer* current;

 private:
  static void run_current() {
    Thread& thread = current->self();
    thread.body();
    thread.is_done = true;
  }

  ucontext_t main_ = {};
  int running_ = 0;
};

Explorer* Explorer::current = nullptr;

Explorer& explorer() {
  return *Explorer::current;
}

// ---------------------------------------------------------------------------------------------
// The platform of the model
// ---------------------------------------------------------------------------------------------

struct ModelWaits {
  // Of the condition: gone with it.
  class Section {
   public:
    void lock() {
      explorer().stop({&is_held_, nullptr, false});
      check();
      is_held_ = true;
    }
    void unlock() {
      check();
      is_held_ = false;
      if (explorer().unlocking_takes_time) {
        explorer().stop();
        check();
      }
    }

   private:
    static void check() {
      if (explorer().is_condition_gone) {
        explorer().fault("the section was touched after the condition was deleted");
      }
    }
    bool is_held_ = false;
  };

  template <typename T>
  class Atomic {
   public:
    Atomic(T value) : value_(value), index_(explorer().words.size()) {  // NOLINT: as std::atomic.
      explorer().words.push_back(number(value));
      if constexpr (std::is_pointer_v<T>) {
        explorer().first_node = reinterpret_cast<const void* const*>(&value_);
      }
    }
    ~Atomic() { is_gone_ = true; }
    Atomic(const Atomic&) = delete;
    Atomic& operator=(const Atomic&) = delete;

    T load() {
      visit();
      explorer().saw(number(value_));
      return value_;
    }
    void store(T value) {
      visit();
      set(value);
    }
    T exchange(T value) {
      visit();
      const T before = value_;
      set(value);
      explorer().saw(number(before));
      return before;
    }
    bool compare_exchange_strong(T& expected, T value) {
      visit();
      explorer().saw(number(value_));
      if (value_ != expected) {
        expected = value_;
        return false;
      }
      set(value);
      return true;
    }
    [[nodiscard]] T peek() const { return value_; }

   private:
    void visit() {
      explorer().stop();
      if (is_gone_) {
        explorer().fault("a word was touched after its owner had gone");
      }
      if (std::is_pointer_v<T> && explorer().is_condition_gone) {
        explorer().fault("the list was touched after the condition was deleted");
      }
    }
    void set(T value) {
      value_ = value;
      explorer().words[index_] = number(value);
    }
    static std::uint64_t number(T value) {
      if constexpr (std::is_pointer_v<T>) {
        return nodes_from(value);
      } else {
        return static_cast<std::uint64_t>(value);
      }
    }

    T value_;
    bool is_gone_ = false;
    std::size_t index_;
  };

  // The explorer decides when a time is over.
  struct Deadline {
    explicit Deadline(std::uint32_t timeout_ms) : timeout(timeout_ms) {}
    [[nodiscard]] std::uint32_t left_ms() const { return timeout; }
    std::uint32_t timeout;
  };

  template <typename Condition>
  [[nodiscard]] static bool spin(Condition is_done) {
    explorer().forget_all_but(11);  // What it met while it joined the list matters no more.
    return is_done();
  }

  [[nodiscard]] static bool wait(Atomic<WaitState>& word, WaitState value,
                                 std::uint32_t timeout_ms) {
    explorer().stop();
    if (word.peek() != value) {
      explorer().saw(2);
      return true;
    }
    explorer().stop({nullptr, &word, timeout_ms != kForeverMs});
    const bool is_woken = !explorer().self().timed_out;
    explorer().saw(is_woken ? 3 : 4);
    return is_woken;
  }

  static void wake(const void* address) {
    explorer().stop();
    for (Thread& thread : explorer().threads) {
      if (thread.blocked.asleep_at == address) {
        thread.blocked.asleep_at = nullptr;
        thread.blocked.has_timeout = false;
        return;
      }
    }
  }
};

// ---------------------------------------------------------------------------------------------
// Scenarios
// ---------------------------------------------------------------------------------------------

struct Scenario {
  const char* what;
  std::vector<std::uint32_t> timeouts_ms;  // One a waiter.
  std::vector<bool> broadcasts;            // One a signaller; false: a signal.
};

// The callers' mutex: waiters hold it until they are on the list, signallers take it for a moment.
struct CallersMutex {
  bool is_held = false;
  void lock() {
    explorer().stop({&is_held, nullptr, false});
    is_held = true;
  }
  void unlock() { is_held = false; }
};

struct Outcome {
  WaitList<ModelWaits> list;
  CallersMutex mutex;
  int ready = 0;    // How many may go on. Guarded by the mutex.
  int woken = 0;    // Waits that said so.
  int signals = 0;  // Wake-ups that were sent while somebody waited.

  [[nodiscard]] std::uint64_t state() const {
    const auto counts = static_cast<std::uint64_t>((ready * 8 + woken) * 8 + signals);
    return 2 * counts + (mutex.is_held ? 1 : 0);
  }
};

// A waiter that goes as soon as it has been woken once; the last one deletes the condition.
void run_waiter(Outcome& outcome, std::uint32_t timeout_ms) {
  outcome.mutex.lock();
  while (outcome.ready == 0) {
    const bool is_woken = outcome.list.wait(outcome.mutex, timeout_ms);
    outcome.woken += is_woken ? 1 : 0;
    explorer().forget_all_but(is_woken ? 12 : 13);
    if (!is_woken) {
      break;
    }
  }
  outcome.ready -= outcome.ready > 0 ? 1 : 0;
  outcome.mutex.unlock();
}

void run_signaller(Outcome& outcome, bool is_broadcast, int waiters) {
  outcome.mutex.lock();
  outcome.ready += is_broadcast ? waiters : 1;
  outcome.signals += is_broadcast ? waiters : 1;
  outcome.mutex.unlock();
  explorer().forget_all_but(14);
  if (is_broadcast) {
    outcome.list.broadcast();
  } else {
    outcome.list.signal();
  }
}

struct Result {
  std::uint64_t states = 0;
  std::uint64_t ends = 0;
  std::vector<std::string> faults;
};

using Setup = std::function<void(Explorer&)>;
using Check = std::function<void(Explorer&)>;

// Depth first over all choices; each run repeats the choices so far from the beginning.
Result explore(const Setup& set_up, const Check& at_the_end) {
  Result result;
  std::unordered_set<std::uint64_t> met;
  std::vector<std::pair<std::vector<int>, std::size_t>> path;  // Choices, and which is taken.
  for (;;) {
    Explorer run;
    Explorer::current = &run;
    set_up(run);
    run.start();
    for (const auto& [choices, taken] : path) {
      run.take(choices[taken]);
    }
    for (;;) {
      if (!met.insert(run.state()).second) {
        break;
      }
      ++result.states;
      std::vector<int> choices = run.choices();
      if (choices.empty()) {
        ++result.ends;
        at_the_end(run);
        break;
      }
      run.take(choices[0]);
      path.emplace_back(std::move(choices), 0);
    }
    if (!run.faults.empty()) {
      result.faults = run.faults;
      return result;
    }
    while (!path.empty() && path.back().second + 1 == path.back().first.size()) {
      path.pop_back();
    }
    if (path.empty()) {
      return result;
    }
    ++path.back().second;
  }
}

Result explore(const Scenario& scenario) {
  std::unique_ptr<Outcome> outcome;
  const auto set_up = [&](Explorer& run) {
    outcome = std::make_unique<Outcome>();
    run.callers_state = [&] { return outcome->state(); };
    for (const std::uint32_t timeout : scenario.timeouts_ms) {
      run.threads.emplace_back().body = [&, timeout] { run_waiter(*outcome, timeout); };
    }
    for (const bool broadcast : scenario.broadcasts) {
      run.threads.emplace_back().body = [&, broadcast] {
        run_signaller(*outcome, broadcast, static_cast<int>(scenario.timeouts_ms.size()));
      };
    }
  };
  return explore(set_up, [&](Explorer& run) {
    for (const Thread& thread : run.threads) {
      if (!thread.is_done) {
        run.fault("a thread is asleep for ever");
      }
    }
    if (outcome->woken > outcome->signals) {
      run.fault("a wait ended without a signal of its own");
    }
  });
}

constexpr std::uint32_t kForever = kForeverMs;
constexpr std::uint32_t kTimed = 5;

TEST(WaitListModel, HoldsInEveryOrderOfItsThreads) {
  const Scenario scenarios[] = {
      {"one waiter, one signal", {kForever}, {false}},
      {"a time-out against a signal", {kTimed}, {false}},
      {"two waiters, two signals", {kForever, kForever}, {false, false}},
      {"two waiters, one broadcast", {kForever, kForever}, {true}},
      {"a time-out beside one that waits for ever", {kTimed, kForever}, {false, false}},
      {"a signal and a broadcast", {kTimed, kForever}, {false, true}},
      {"three waiters, one broadcast", {kForever, kTimed, kForever}, {true}},
  };
  // Minutes each.
  const Scenario long_scenarios[] = {
      {"two time-outs against two signals", {kTimed, kTimed}, {false, false}},
      {"three waiters, two broadcasts", {kForever, kTimed, kForever}, {true, true}},
      {"three waiters, a signal and a broadcast", {kTimed, kForever, kTimed}, {false, true}},
  };
  std::vector<Scenario> wanted(std::begin(scenarios), std::end(scenarios));
  if (std::getenv("ORSIN_TEST_EVERY_ORDER") != nullptr) {
    wanted.insert(wanted.end(), std::begin(long_scenarios), std::end(long_scenarios));
  }
  for (const Scenario& scenario : wanted) {
    SCOPED_TRACE(scenario.what);

    const Result result = explore(scenario);

    EXPECT_EQ(result.faults, std::vector<std::string>{});
    EXPECT_GT(result.ends, 0U);
    RecordProperty(scenario.what, std::to_string(result.states));
  }
}

// The waiter deletes the condition as soon as it is woken.
TEST(WaitListModel, TouchesNothingOfTheConditionAfterItsLastWaiterWasWoken) {
  for (const bool is_broadcast : {false, true}) {
    std::unique_ptr<Outcome> outcome;
    const Result result = explore(
        [&](Explorer& run) {
          outcome = std::make_unique<Outcome>();
          run.unlocking_takes_time = true;
          run.callers_state = [&] { return outcome->state(); };
          run.threads.emplace_back().body = [&] {
            outcome->mutex.lock();
            while (outcome->ready == 0) {
              if (!outcome->list.wait(outcome->mutex, kForever)) {
                explorer().fault("a wait without a limit ended without a signal");
              }
              explorer().is_condition_gone = true;
            }
          };
          run.threads.emplace_back().body = [&] { run_signaller(*outcome, is_broadcast, 1); };
        },
        [](Explorer&) {});

    EXPECT_EQ(result.faults, std::vector<std::string>{});
  }
}

}  // namespace
}  // namespace orsin

// The list of waiters under every order in which its threads can run.
//
// Up to three threads wait, with and without a time-out, and two wake them; waits end for no reason, too.
// In every order: nobody is left asleep, a wait says "woken" exactly when a signal has picked it, no
// signal wakes two, and nothing is touched that is gone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "base/wait_list.h"
#include "model_waits.h"
#include "order_explorer.h"

namespace orsin {

ModelStage* ModelStage::current = nullptr;

namespace {

// Places at which a thread has nothing in its variables.
constexpr Note kWasWoken = 12;
constexpr Note kRanOutOfTime = 13;
constexpr Note kGoesToWake = 14;

constexpr int kBroadcast = 0;

struct Scenario {
  std::string what;
  std::vector<std::uint32_t> timeouts_ms;  // One a waiter.
  std::vector<int> wakers;                 // How many signals each sends, or a broadcast.
  bool last_one_deletes = false;  // All wait before anybody wakes; the last one woken deletes.
};

// The callers' mutex: waiters hold it until they are on the list, wakers take it for a moment.
struct CallersMutex {
  bool is_held = false;
  void lock() {
    ModelWaits::explorer().before_lock(is_held);
    is_held = true;
  }
  void unlock() {
    is_held = false;
    ModelWaits::explorer().after_unlock();
  }
};

// Taken only when the list has given its answer, which is then all that the waiter has to remember.
struct LateMutex {
  CallersMutex& mutex;
  void lock() {}
  void unlock() { mutex.unlock(); }
};

template <typename List>
class Model final : public Scene {
 public:
  Model(Explorer& run, const Scenario& scenario, bool& signal_beat_the_time)
      : scenario_(scenario), stage_(run), signal_beat_the_time_(signal_beat_the_time) {
    stage_.leaving_takes_time = scenario.last_one_deletes;
    is_early_ = scenario.last_one_deletes;
    for (const std::uint32_t timeout_ms : scenario.timeouts_ms) {
      run.add_thread(timeout_ms == kForeverMs ? -1 : -2, [this, timeout_ms] { wait(timeout_ms); });
    }
    for (const int signals : scenario.wakers) {
      run.add_thread(signals, [this, signals] { wake(signals); });
    }
  }

  [[nodiscard]] ModelStage& stage() { return stage_; }

  void describe_thread(std::size_t thread, Notes& notes) const override {
    const WaitState* word = stage_.parts.at(thread).word;
    notes.add(word == nullptr ? 0 : 1 + static_cast<unsigned>(*word));
    notes.add_thread(word == nullptr ? std::nullopt : Explorer::owner(ModelWaits::next_of(word)));
  }

  void describe_rest(Notes& notes) const override {
    const void* first_and_last[2];  // The end of a list.
    static_assert(sizeof(list_) >= sizeof(first_and_last));
    std::memcpy(first_and_last, reinterpret_cast<const char*>(&list_ + 1) - sizeof(first_and_last),
                sizeof(first_and_last));
    notes.add_thread(Explorer::owner(first_and_last[0]));
    notes.add_thread(Explorer::owner(first_and_last[1]));
    notes.add(static_cast<unsigned>(ready_));
    notes.add(static_cast<unsigned>(waiting_));
    notes.add(static_cast<unsigned>(woken_));
    notes.add(mutex_.is_held ? 1 : 0);
  }

  [[nodiscard]] const char* fault_at_rest() const override {
    const bool somebody_waits = std::any_of(stage_.parts.begin(), stage_.parts.end(),
                                            [](const auto& part) { return part.word != nullptr; });
    return somebody_waits && ready_ > 0 ? "a wake-up was lost" : nullptr;
  }

 private:
  void wait(std::uint32_t timeout_ms) {
    mutex_.lock();
    while (ready_ == 0) {
      ++waiting_;
      is_early_ = is_early_ && waiting_ < waiters();
      LateMutex late{mutex_};
      const bool is_woken = list_.wait(late, timeout_ms);
      check_answer(is_woken);
      stage_.explorer.forget_all_but(is_woken ? kWasWoken : kRanOutOfTime);
      mutex_.lock();
      --waiting_;
      if (scenario_.last_one_deletes && ++woken_ == waiters()) {
        stage_.is_deleted = true;
      }
      if (!is_woken) {
        break;
      }
    }
    ready_ -= ready_ > 0 ? 1 : 0;
    mutex_.unlock();
  }

  void check_answer(bool is_woken) {
    signal_beat_the_time_ = signal_beat_the_time_ || (is_woken && stage_.self().ran_out_of_time);
    if (is_woken != stage_.self().was_picked) {
      stage_.explorer.fault(is_woken ? "a wait ended without a signal of its own"
                                     : "a signal was lost in a wait that ran out of time");
    }
  }

  void wake(int signals) {
    stage_.explorer.before_lock(is_early_);
    mutex_.lock();
    ready_ += signals == kBroadcast ? waiters() : signals;
    mutex_.unlock();
    stage_.explorer.forget_all_but(kGoesToWake);
    if (signals == kBroadcast) {
      list_.broadcast();
      return;
    }
    for (int sent = 0; sent < signals; ++sent) {
      stage_.self().picked = 0;
      list_.signal();
      if (stage_.self().picked > 1) {
        stage_.explorer.fault("a signal woke two");
      }
      stage_.explorer.forget_all_but(static_cast<Note>(kGoesToWake + 1 + sent));
    }
  }

  [[nodiscard]] int waiters() const { return static_cast<int>(scenario_.timeouts_ms.size()); }

  const Scenario& scenario_;
  ModelStage stage_;
  List list_;
  CallersMutex mutex_;
  int ready_ = 0;    // How many may go on. The mutex's, as the next.
  int waiting_ = 0;  // Waits that have begun and not ended.
  int woken_ = 0;
  bool is_early_ = false;  // Wakers have to wait until all are on the list.
  bool& signal_beat_the_time_;
};

// What makes a fault on purpose.
enum class Platform { kGood, kSleepsWithoutAnotherLook };

struct Outcome {
  Explored explored;
  bool signal_beat_the_time = false;
};

template <typename List = WaitList<ModelWaits>>
Outcome explore(const Scenario& scenario, Platform platform = Platform::kGood) {
  Outcome outcome;
  outcome.explored = orsin::explore([&](Explorer& run) {
    auto model = std::make_unique<Model<List>>(run, scenario, outcome.signal_beat_the_time);
    model->stage().sleeps_without_look = platform == Platform::kSleepsWithoutAnotherLook;
    return model;
  });
  return outcome;
}

constexpr std::uint32_t kForever = kForeverMs;
constexpr std::uint32_t kTimed = 5;
const std::vector<std::string> kNoFaults;

std::vector<Scenario> all_scenarios() {
  std::vector<Scenario> scenarios;
  for (std::size_t waiters = 1; waiters <= 3; ++waiters) {
    for (std::size_t timed = 0; timed <= waiters; ++timed) {
      std::vector<std::uint32_t> timeouts(waiters, kForever);
      std::fill_n(timeouts.begin(), timed, kTimed);
      const std::string who =
          std::to_string(timed) + "Timed" + std::to_string(waiters - timed) + "Patient";
      scenarios.push_back({who + "TwoSignals", timeouts, {1, 1}});
      scenarios.push_back({who + "SignalAndBroadcast", timeouts, {1, kBroadcast}});
      scenarios.push_back({who + "TwoBroadcasts", timeouts, {kBroadcast, kBroadcast}});
    }
  }
  return scenarios;
}

class WaitListModel : public testing::TestWithParam<Scenario> {};

TEST_P(WaitListModel, HoldsInEveryOrderOfItsThreads) {
  const Outcome outcome = explore(GetParam());

  EXPECT_EQ(outcome.explored.faults, kNoFaults);
  EXPECT_TRUE(outcome.explored.is_finished);
  EXPECT_GT(outcome.explored.ends, 0U);
  EXPECT_EQ(outcome.signal_beat_the_time, GetParam().timeouts_ms.front() != kForever);
  std::printf("%llu states, %llu of them ends\n", outcome.explored.states, outcome.explored.ends);
}

INSTANTIATE_TEST_SUITE_P(, WaitListModel, testing::ValuesIn(all_scenarios()),
                         [](const auto& info) { return info.param.what; });

// The scenarios in which the waiter that was woken last deletes the condition at once.
TEST(WaitListDeletion, TouchesNothingOfTheConditionAfterItsLastWaiterWasWoken) {
  const Scenario scenarios[] = {
      {"one signal", {kForever}, {1}, true},
      {"one broadcast", {kForever}, {kBroadcast}, true},
      {"three waiters, one broadcast", {kForever, kForever, kForever}, {kBroadcast}, true},
      {"three waiters, one signal and two", {kForever, kForever, kForever}, {1, 2}, true},
  };
  for (const Scenario& scenario : scenarios) {
    SCOPED_TRACE(scenario.what);

    const Outcome outcome = explore(scenario);

    EXPECT_EQ(outcome.explored.faults, kNoFaults);
    EXPECT_TRUE(outcome.explored.is_finished);
    EXPECT_GT(outcome.explored.ends, 0U);
  }
}

// ---------------------------------------------------------------------------------------------
// What the model must notice
// ---------------------------------------------------------------------------------------------

// Takes a wait whose time was over for one that nobody has picked.
struct ListThatLosesSignals : WaitList<ModelWaits> {
  template <typename Lockable>
  bool wait(Lockable& mutex, std::uint32_t timeout_ms) {
    const bool is_woken = WaitList::wait(mutex, timeout_ms);
    return is_woken && !ModelWaits::stage().self().ran_out_of_time;
  }
};

// Looks at itself when it has woken somebody.
struct ListThatLingers : WaitList<ModelWaits> {
  void signal() {
    WaitList::signal();
    ModelWaits::explorer().before_step();
    ModelWaits::stage().check_condition();
  }
};

struct ListThatWakesTwo : WaitList<ModelWaits> {
  void signal() {
    WaitList::signal();
    WaitList::signal();
  }
};

TEST(WaitListFaults, AreNoticedWhenATimeOutLosesASignal) {
  const Outcome outcome =
      explore<ListThatLosesSignals>({"", {kTimed, kTimed, kForever}, {1, kBroadcast}});

  EXPECT_EQ(outcome.explored.faults,
            std::vector<std::string>{"a signal was lost in a wait that ran out of time"});
}

TEST(WaitListFaults, AreNoticedWhenTheListIsTouchedAfterTheLastWakeUp) {
  const Outcome outcome =
      explore<ListThatLingers>({"", {kForever, kForever, kForever}, {1, 2}, true});

  EXPECT_EQ(outcome.explored.faults,
            std::vector<std::string>{"the condition was touched after it was deleted"});
}

TEST(WaitListFaults, AreNoticedWhenOneSignalWakesTwo) {
  const Outcome outcome = explore<ListThatWakesTwo>({"", {kTimed, kForever, kForever}, {1, 1}});

  EXPECT_EQ(outcome.explored.faults, std::vector<std::string>{"a signal woke two"});
}

TEST(WaitListFaults, AreNoticedWhenAWaitSleepsWithoutAnotherLook) {
  const Outcome outcome = explore({"", {kForever, kForever, kForever}, {kBroadcast, kBroadcast}},
                                  Platform::kSleepsWithoutAnotherLook);

  EXPECT_EQ(outcome.explored.faults, std::vector<std::string>{"a wake-up was lost"});
}

}  // namespace
}  // namespace orsin

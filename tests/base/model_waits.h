// The platform of the list of waiters, in a model that is tried in every order.
//
// Every step that another thread could tell apart goes through the explorer. What is guarded by the
// section is not a step of its own, and that it is guarded is checked: the list's pointers change inside
// of the section alone, and a word that says "woken" never changes again.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <type_traits>

#include "base/wait_list.h"
#include "order_explorer.h"

namespace orsin {

/// What a run knows of the condition and of its threads, whatever the list itself thinks.
struct ModelStage {
  static constexpr std::size_t kThreadsMax = 5;

  struct Part {
    const WaitState* word = nullptr;  // While the thread has a node.
    bool was_picked = false;          // When the last node went.
    bool ran_out_of_time = false;     // In its wait.
    bool is_inside = false;           // Of the section.
    int picked = 0;                   // How many words it has set.
    std::size_t notes_before_look = 0;
  };

  static ModelStage* current;

  Explorer& explorer;
  std::array<Part, kThreadsMax> parts = {};
  bool is_deleted = false;           // The condition.
  bool leaving_takes_time = false;   // Time for others to delete the condition.
  bool sleeps_without_look = false;  // A fault on purpose: a wake-up just before the sleep is lost.

  explicit ModelStage(Explorer& run) : explorer(run) { current = this; }

  [[nodiscard]] Part& self() { return parts[explorer.self()]; }  // NOLINT: as many as stacks.

  void check_condition() const {
    if (is_deleted) {
      explorer.fault("the condition was touched after it was deleted");
    }
  }
};

struct ModelWaits {
  static ModelStage& stage() { return *ModelStage::current; }
  static Explorer& explorer() { return stage().explorer; }

  // Places at which a thread has nothing in its variables.
  static constexpr Note kJoinedTheList = 1;
  static constexpr Note kGoesToSleep = 2;
  static constexpr Note kWasNotOnTheList = 3;

  // Where a node's successor stands: right before its word.
  static const void* next_of(const WaitState* word) {
    const void* next = nullptr;
    std::memcpy(&next, reinterpret_cast<const char*>(word) - sizeof(next), sizeof(next));
    return next;
  }

  // Whoever follows a node that has gone comes here.
  alignas(void*) static constexpr std::array<char, 2 * sizeof(void*)> kGoneNode = {};

  class Section {
   public:
    void lock() {
      explorer().before_lock(is_held_);
      stage().check_condition();
      is_held_ = true;
      stage().self().is_inside = true;
      // The list looks again at what it has seen outside.
      explorer().forget_since(std::min<std::size_t>(explorer().notes().size(), 1));
    }
    void unlock() {
      stage().check_condition();
      is_held_ = false;
      stage().self().is_inside = false;
      explorer().after_unlock();
      if (stage().self().ran_out_of_time) {
        explorer().forget_all_but(kWasNotOnTheList);  // Else its wait ends here.
      }
      if (stage().leaving_takes_time) {
        explorer().before_step();
        stage().check_condition();
      }
    }

   private:
    bool is_held_ = false;
  };

  // The list's pointer to its first node.
  template <typename T>
  class Atomic {
   public:
    Atomic(T value) : value_(value) {}  // NOLINT: as std::atomic.
    Atomic(const Atomic&) = delete;
    Atomic& operator=(const Atomic&) = delete;

    T load() {
      if (!stage().self().is_inside) {
        explorer().before_step();
      }
      stage().check_condition();
      explorer().notes().add_thread(Explorer::owner(value_));
      return value_;
    }
    void store(T value) {
      explorer().before_step();
      stage().check_condition();
      if (!stage().self().is_inside) {
        explorer().fault("the list was changed outside of its section");
      }
      value_ = value;
    }

   private:
    T value_;
  };

  // The explorer decides when a time is over.
  struct Deadline {
    explicit Deadline(std::uint32_t timeout_ms) : timeout(timeout_ms) {}
    [[nodiscard]] std::uint32_t left_ms() const { return timeout; }
    std::uint32_t timeout;
  };

  template <typename Condition>
  [[nodiscard]] static bool spin(Condition is_done) {
    explorer().forget_all_but(kJoinedTheList);
    return is_done();
  }

  [[nodiscard]] static bool wait(Atomic<WaitState>& word, WaitState value,
                                 std::uint32_t timeout_ms);

  static void wake(const void* address) { explorer().wake(address); }
};

// A waiter's word.
template <>
class ModelWaits::Atomic<WaitState> {
 public:
  Atomic(WaitState value) : value_(value) {  // NOLINT: as std::atomic.
    stage().self().word = &value_;
    stage().self().ran_out_of_time = false;
  }
  ~Atomic() {
    ModelStage::Part& part = stage().self();
    part.was_picked = value_ == WaitState::kWoken;
    part.word = nullptr;
    // Volatile, as nobody may look at a node after this, and yet somebody might.
    *reinterpret_cast<const void* volatile*>(reinterpret_cast<char*>(&value_) - sizeof(void*)) =
        kGoneNode.data();
  }
  Atomic(const Atomic&) = delete;
  Atomic& operator=(const Atomic&) = delete;

  WaitState load() {
    stage().self().notes_before_look = explorer().notes().size();
    if (value_ == WaitState::kWoken) {
      explorer().before_last_look();
    } else {
      explorer().before_step();
    }
    return seen();
  }
  WaitState exchange(WaitState value) {
    explorer().before_step();
    const WaitState before = seen();
    explorer().notes().add_thread(Explorer::owner(next_of(&value_)));  // A broadcast goes on there.
    set(value);
    return before;
  }
  bool compare_exchange_strong(WaitState& expected, WaitState value) {
    explorer().before_step();
    if (seen() != expected) {
      expected = value_;
      return false;
    }
    set(value);
    explorer().forget_all_but(kGoesToSleep);
    return true;
  }

  /// A step, too.
  [[nodiscard]] bool is_still(WaitState value) {
    explorer().before_step();
    return seen() == value;
  }

 private:
  WaitState seen() {
    const std::optional<std::size_t> owner = Explorer::owner(this);
    if (!owner || stage().parts.at(*owner).word != &value_) {
      explorer().fault("a node was touched after it had gone");
    }
    explorer().notes().add(static_cast<unsigned>(value_));
    return value_;
  }
  void set(WaitState value) {
    if (value_ == WaitState::kWoken) {
      explorer().fault("a wait was ended twice");
    }
    stage().self().picked += value == WaitState::kWoken ? 1 : 0;
    value_ = value;
  }

  WaitState value_;
};

inline bool ModelWaits::wait(Atomic<WaitState>& word, WaitState value, std::uint32_t timeout_ms) {
  const std::size_t notes_before_look = stage().self().notes_before_look;
  const bool has_timeout = timeout_ms != kForeverMs;
  if (word.is_still(value)) {
    if (stage().sleeps_without_look) {
      explorer().before_step();
    }
    if (explorer().sleep(&word, has_timeout) == Explorer::WaitEnd::kTimedOut) {
      explorer().notes().add(0);
      stage().self().ran_out_of_time = true;
      return false;
    }
  }
  explorer().forget_since(notes_before_look);  // The list looks again, as if for the first time.
  return true;
}

}  // namespace orsin

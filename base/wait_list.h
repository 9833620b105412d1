// The waiters of a condition block.
//
// Each waiting thread has a node on its own stack with a word of its own to wait at:
//
//   - waking nobody, the common case in an executor or a heap, costs one read;
//   - a waiter looks at its word for some microseconds before it sleeps, so that a turn handed over
//     quickly costs no system call on either side;
//   - a signal picks its waiter, the one that has waited longest, and no wait ends without one.
//
//   first --> node --> node --> node --> null        word: waiting --> asleep --> woken
//                               ^-- last                     +-----------------> woken
//
// The section guards the list, never a word. Whoever takes a node off the list owes it the word
// "woken", and pays outside of the section: the thread that is woken may delete the condition at
// once, so the condition is not touched after the last word is set, nor a node after its own. A
// waiter whose time is over, but who is not on the list any more, waits for its word: it has been
// picked, and its node is still in the waker's hands.
//
// What it asks of the platform stands in the concept below. Windows and the native stand-in answer
// it, and tests/base/wait_list_model_test.cpp, which tries every order in which threads can run.
#pragma once

#include <concepts>
#include <cstdint>

#include "base/wait_time.h"

namespace orsin {

enum class WaitState : std::uint32_t { kWaiting, kAsleep, kWoken };

/// - Section: lock() and unlock(), for a few instructions, never held during a wait.
/// - Atomic<T>: as std::atomic<T>.
/// - Deadline: made from a time-out in milliseconds; left_ms() rounds up, 0 when it is over.
/// - spin(done): looks for a moment whether done() is true, while nobody else wants the processor.
/// - wait(word, value, timeout_ms): returns true when the word is not `value`, when it is woken, or for
///   no reason; false when the time is over.
/// - wake(address): ends the wait at that address, if there is one. Nothing need stand there any more.
template <typename P>
concept WaitPlatform = requires(typename P::Section& section,
                                typename P::template Atomic<WaitState>& word,
                                typename P::Deadline& deadline, std::uint32_t timeout_ms,
                                const void* address, bool (*done)()) {
  section.lock();
  section.unlock();
  { word.load() } -> std::same_as<WaitState>;
  { word.exchange(WaitState::kWoken) } -> std::same_as<WaitState>;
  requires std::constructible_from<typename P::Deadline, std::uint32_t>;
  { deadline.left_ms() } -> std::same_as<std::uint32_t>;
  { P::spin(done) } -> std::same_as<bool>;
  { P::wait(word, WaitState::kAsleep, timeout_ms) } -> std::same_as<bool>;
  P::wake(address);
};

template <WaitPlatform P>
class WaitList {
 public:
  WaitList() = default;
  WaitList(const WaitList&) = delete;
  WaitList& operator=(const WaitList&) = delete;

  /// Lets go of the held mutex, waits for a signal, takes the mutex again. False when the time was
  /// over first; kForeverMs waits without limit.
  template <typename Lockable>
  [[nodiscard]] bool wait(Lockable& mutex, std::uint32_t timeout_ms) {
    typename P::Deadline deadline(timeout_ms);
    Waiter waiter;
    append(waiter);
    mutex.unlock();
    const bool is_woken = P::spin([&] { return waiter.state.load() == WaitState::kWoken; }) ||
                          sleep(waiter, deadline, timeout_ms) || was_picked(waiter);
    mutex.lock();
    return is_woken;
  }

  /// Wakes the thread that has waited longest, if there is one.
  void signal() {
    // A waiter is on the list before it lets go of its mutex. Whoever then changes what it waits for,
    // under that mutex, sees it; a signal that overtakes the change would be missed in any case.
    if (first_.load() == nullptr) {
      return;
    }
    section_.lock();
    Waiter* waiter = first_.load();
    if (waiter != nullptr) {
      first_.store(waiter->next);
    }
    section_.unlock();
    if (waiter != nullptr) {
      wake(*waiter);
    }
  }

  /// Wakes all who wait now.
  void broadcast() {
    if (first_.load() == nullptr) {
      return;
    }
    section_.lock();
    Waiter* waiter = first_.load();
    first_.store(nullptr);
    section_.unlock();
    while (waiter != nullptr) {
      Waiter* next = waiter->next;
      wake(*waiter);
      waiter = next;
    }
  }

 private:
  struct Waiter {
    Waiter* next = nullptr;  // The section's.
    typename P::template Atomic<WaitState> state = WaitState::kWaiting;
  };

  void append(Waiter& waiter) {
    section_.lock();
    if (first_.load() == nullptr) {
      first_.store(&waiter);
    } else {
      last_->next = &waiter;
    }
    last_ = &waiter;
    section_.unlock();
  }

  // False when the waiter is not on the list any more.
  bool remove(const Waiter& waiter) {
    section_.lock();
    Waiter* before = nullptr;
    Waiter* found = first_.load();
    while (found != nullptr && found != &waiter) {
      before = found;
      found = found->next;
    }
    if (found != nullptr) {
      if (before != nullptr) {
        before->next = found->next;
      } else {
        first_.store(found->next);
      }
      if (last_ == found) {
        last_ = before;
      }
    }
    section_.unlock();
    return found != nullptr;
  }

  // False when the time was over first.
  static bool sleep(Waiter& waiter, typename P::Deadline& deadline, std::uint32_t timeout_ms) {
    WaitState expected = WaitState::kWaiting;
    if (!waiter.state.compare_exchange_strong(expected, WaitState::kAsleep)) {
      return true;
    }
    while (waiter.state.load() != WaitState::kWoken) {
      const std::uint32_t left_ms = timeout_ms == kForeverMs ? kForeverMs : deadline.left_ms();
      if (left_ms == 0 || !P::wait(waiter.state, WaitState::kAsleep, left_ms)) {
        return waiter.state.load() == WaitState::kWoken;
      }
    }
    return true;
  }

  // Whether a signal has picked the waiter whose time is over; its word is set then.
  bool was_picked(Waiter& waiter) {
    if (remove(waiter)) {
      return false;
    }
    while (waiter.state.load() != WaitState::kWoken) {
      static_cast<void>(P::wait(waiter.state, WaitState::kAsleep, kForeverMs));
    }
    return true;
  }

  static void wake(Waiter& waiter) {
    const void* address = &waiter.state;
    if (waiter.state.exchange(WaitState::kWoken) == WaitState::kAsleep) {
      P::wake(address);
    }
  }

  typename P::Section section_;
  typename P::template Atomic<Waiter*> first_ = nullptr;
  Waiter* last_ = nullptr;  // Of a list that is not empty. The section's.
};

}  // namespace orsin

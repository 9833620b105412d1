// The threads that do the work of a soak run, and the rests at which it is looked at.
//
//   work ... work | all are between two steps: figures are taken, the log is read | work ...
//
// A step is short, and may keep what it wants for the next (blocks in a heap, files on a disk): what
// a process keeps at rest shall be the same all the time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "orsincore/primitives.h"

namespace orsin::soak {

/// Random numbers; a seed gives the same ones again. Not every step: threads take turns as they like.
class Dice {
 public:
  explicit Dice(std::uint64_t seed) : state_(seed) {}

  /// From 0 on, below `limit`.
  std::uint32_t below(std::uint32_t limit) {
    state_ += 0x9E3779B97F4A7C15;  // SplitMix64.
    std::uint64_t bits = (state_ ^ state_ >> 30) * 0xBF58476D1CE4E5B9;
    bits = (bits ^ bits >> 27) * 0x94D049BB133111EB;
    return static_cast<std::uint32_t>((bits ^ bits >> 31) >> 32) % limit;
  }

  /// True once in so many throws.
  bool once_in(std::uint32_t throws) { return below(throws) == 0; }

 private:
  std::uint64_t state_;
};

/// One kind of work on one thread.
class Work {
 public:
  Work(std::string_view family, std::uint64_t seed) : dice_(seed), family_(family) {}
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  virtual ~Work() = default;

  /// Well below a second.
  virtual void step() = 0;

  [[nodiscard]] const std::string& family() const { return family_; }
  [[nodiscard]] std::uint64_t done() const { return done_.load(); }
  [[nodiscard]] std::uint64_t refused() const { return refused_.load(); }

  /// What went wrong, the first few of them; for when the work rests.
  [[nodiscard]] const std::vector<std::string>& faults() const { return faults_; }

 protected:
  void count_done(std::uint64_t count = 1) { done_ += count; }
  void count_refused() { ++refused_; }  // As it was meant to be.

  /// Says what is not as it should be, unless it is. Returns `holds`.
  bool expect(bool holds, const std::string& claim);

  Dice dice_;

 private:
  std::string family_;
  std::atomic<std::uint64_t> done_ = 0;
  std::atomic<std::uint64_t> refused_ = 0;
  std::vector<std::string> faults_;
};

class Crew {
 public:
  Crew();
  Crew(const Crew&) = delete;
  Crew& operator=(const Crew&) = delete;
  ~Crew();

  void add(std::unique_ptr<Work> work);
  [[nodiscard]] std::vector<const Work*> works() const;

  /// Starts every thread, at work. False when the system refuses one.
  [[nodiscard]] bool start();

  /// Waits until all rest; they do until go_on(). Returns what still works after two minutes: empty
  /// when all is well.
  [[nodiscard]] std::string rest();
  void go_on();

  /// Ends the threads, which rest. False when one does not.
  [[nodiscard]] bool stop();

 private:
  struct Member {
    Crew* crew = nullptr;
    std::unique_ptr<Work> work;
    unsigned int thread = 0;
    bool rests = false;
  };
  enum class Order { kWork, kRest, kStop };

  static void run(void* member);
  [[nodiscard]] bool take_orders(Member& member);
  [[nodiscard]] std::string busy_families() const;

  __mutex_str* mutex_;  // Guards all below.
  __cond_str* changed_;
  Order order_ = Order::kWork;
  std::vector<std::unique_ptr<Member>> members_;
};

}  // namespace orsin::soak

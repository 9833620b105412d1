// Runs a few threads in every order in which they can run.
#include "order_explorer.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <unordered_set>
#include <utility>

namespace orsin {
namespace {

constexpr std::size_t kStackBytes = 128 * 1024;
constexpr std::size_t kTopBytes = 64;  // A function begins 8 below a multiple of 16.
constexpr std::size_t kThreadsMax = 5;

// Far above what any scene needs: a fault that goes on for ever is a result, too.
constexpr std::uint64_t kStatesMax = 4'000'000;
constexpr std::size_t kStepsMax = 1000;

// Used again in every run, whatever the run before has left on them.
alignas(64) std::array<std::array<char, kStackBytes>, kThreadsMax> stacks;

#if !defined(__x86_64__)
#error "Write switch_stacks for this processor."
#endif

// Leaves this stack, with what a function has to keep for its caller, and goes on where the other was
// left. swapcontext does the same with two system calls, which would be most of the time.
[[gnu::naked, gnu::noinline]] void switch_stacks(void** /*left*/, void* /*entered*/) {
  __asm__(
      "pushq %rbp\n\tpushq %rbx\n\tpushq %r12\n\tpushq %r13\n\tpushq %r14\n\tpushq %r15\n\t"
      "movq %rsp, (%rdi)\n\tmovq %rsi, %rsp\n\t"
      "popq %r15\n\tpopq %r14\n\tpopq %r13\n\tpopq %r12\n\tpopq %rbx\n\tpopq %rbp\n\tret");
}

std::uint64_t mixed(std::uint64_t hash, std::uint64_t value) {
  hash = (hash ^ value) * 0x9E3779B97F4A7C15ull;
  return hash ^ (hash >> 32);
}

// Names for the threads, by number.
using Names = std::vector<std::size_t>;

std::uint64_t mixed(std::uint64_t hash, const Notes& notes, const Names& names) {
  for (const Note note : notes) {
    const bool is_name = note > Notes::kNames;
    hash = mixed(hash, is_name ? Notes::kNames + 1 + names[note - Notes::kNames - 1u] : note);
  }
  return mixed(hash, 0xFFFF);
}

}  // namespace

void Notes::add(std::uint64_t number) {
  if (number >= kNames || size_ == notes_.size()) {
    std::abort();  // The model is written wrongly.
  }
  notes_[size_++] = static_cast<Note>(number);
}

void Notes::add_thread(std::optional<std::size_t> thread) {
  if (size_ == notes_.size()) {
    std::abort();
  }
  notes_[size_++] = static_cast<Note>(kNames + (thread ? *thread + 1 : 0));
}

// ---------------------------------------------------------------------------------------------
// One run
// ---------------------------------------------------------------------------------------------

Explorer* Explorer::current = nullptr;

void Explorer::add_thread(int kind, std::function<void()> body) {
  threads_.reserve(kThreadsMax);
  threads_.emplace_back();
  threads_.back().kind = kind;
  threads_.back().body = std::move(body);
}

void Explorer::stop() {
  thread().notes.add(0);
  switch_stacks(&thread().stack, main_);
  thread().has_stepped = false;
}

void Explorer::before_step() {
  if (thread().has_stepped) {
    stop();
  }
  thread().has_stepped = true;
}

void Explorer::before_lock(const bool& is_held) {
  if (thread().has_stepped || is_held) {
    thread().lock = &is_held;
    stop();
    thread().lock = nullptr;
  }
}

void Explorer::before_last_look() {
  if (thread().has_stepped) {
    stop();
  }
}

Explorer::WaitEnd Explorer::sleep(const void* address, bool has_timeout) {
  thread().asleep_at = address;
  thread().has_timeout = has_timeout;
  stop();
  thread().asleep_at = nullptr;
  return thread().wait_end;
}

void Explorer::wake(const void* address) {
  before_step();
  const auto asleep = std::find_if(threads_.begin(), threads_.end(), [&](const Thread& thread) {
    return thread.asleep_at == address;
  });
  if (asleep != threads_.end()) {
    asleep->asleep_at = nullptr;
  }
}

void Explorer::forget_all_but(Note note) {
  thread().notes.cut(0);
  thread().notes.add(note);
}

void Explorer::fault(const char* text) {
  faults_.emplace_back(text);
}

std::optional<std::size_t> Explorer::owner(const void* address) {
  const auto offset = static_cast<const char*>(address) - stacks.front().data();
  if (offset < 0 || static_cast<std::size_t>(offset) >= sizeof(stacks)) {
    return {};
  }
  return static_cast<std::size_t>(offset) / kStackBytes;
}

void Explorer::start() {
  for (std::size_t i = 0; i < threads_.size(); ++i) {
    // As switch_stacks leaves it: six registers, where to go on; and no caller above.
    auto* top = reinterpret_cast<void**>(stacks.at(i).data() + kStackBytes - kTopBytes);
    std::fill_n(top, 6, nullptr);
    top[6] = reinterpret_cast<void*>(&Explorer::run_current);
    top[7] = nullptr;
    threads_[i].stack = top;
  }
}

void Explorer::run_current() {
  current->thread().body();
  current->thread().is_done = true;
  switch_stacks(&current->thread().stack, current->main_);
}

void Explorer::take(Choice choice) {
  running_ = choice.thread;
  thread().wait_end = choice.wait_end;
  switch_stacks(&main_, thread().stack);
}

std::vector<Explorer::Choice> Explorer::choices() const {
  std::vector<Choice> result;
  for (std::size_t i = 0; i < threads_.size(); ++i) {
    const Thread& thread = threads_[i];
    if (thread.is_done || (thread.lock != nullptr && *thread.lock)) {
      continue;
    }
    if (thread.asleep_at == nullptr) {
      result.push_back({i, WaitEnd::kWoken});
      continue;
    }
    result.push_back({i, WaitEnd::kForNoReason});
    if (thread.has_timeout) {
      result.push_back({i, WaitEnd::kTimedOut});
    }
  }
  return result;
}

bool Explorer::is_at_rest() const {
  return std::all_of(threads_.begin(), threads_.end(), [](const Thread& thread) {
    return thread.is_done || thread.asleep_at != nullptr ||
           (thread.lock != nullptr && *thread.lock);
  });
}

// ---------------------------------------------------------------------------------------------
// All runs
// ---------------------------------------------------------------------------------------------

class Exploration {
 public:
  explicit Exploration(const SceneMaker& make_scene) : make_scene_(make_scene) {}

  Explored run() {
    do {
      if (!run_once()) {
        return result_;
      }
    } while (find_next_path());
    result_.is_finished = true;
    return result_;
  }

 private:
  struct Fork {
    std::vector<Explorer::Choice> choices;
    std::size_t taken;
  };

  // False when there is nothing more to find out.
  bool run_once() {
    Explorer run;
    Explorer::current = &run;
    const std::unique_ptr<Scene> scene = make_scene_(run);
    if (namings_.empty()) {
      find_namings(run);
    }
    run.start();
    for (const Fork& fork : path_) {
      run.take(fork.choices[fork.taken]);
    }
    while (run.faults_.empty() && met_.insert(state(run, *scene)).second) {
      ++result_.states;
      if (result_.states > kStatesMax || path_.size() > kStepsMax) {
        return false;
      }
      check_rest(run, *scene);
      std::vector<Explorer::Choice> choices = run.choices();
      if (choices.empty() || !run.faults_.empty()) {
        break;
      }
      run.take(choices[0]);
      path_.push_back({std::move(choices), 0});
    }
    result_.faults = run.faults_;
    result_.is_finished = !run.faults_.empty();
    return run.faults_.empty();
  }

  bool find_next_path() {
    while (!path_.empty() && path_.back().taken + 1 == path_.back().choices.size()) {
      path_.pop_back();
    }
    if (path_.empty()) {
      return false;
    }
    ++path_.back().taken;
    return true;
  }

  void check_rest(Explorer& run, const Scene& scene) {
    if (!run.is_at_rest()) {
      return;
    }
    ++result_.ends;
    for (const Explorer::Thread& thread : run.threads_) {
      if (thread.lock != nullptr) {
        run.fault("a thread waits for a lock for ever");
      }
    }
    if (const char* text = scene.fault_at_rest(); text != nullptr) {
      run.fault(text);
    }
  }

  // Every way to number the threads that keeps kinds where they are.
  void find_namings(const Explorer& run) {
    Names names(run.threads_.size());
    std::iota(names.begin(), names.end(), std::size_t{0});
    do {
      bool keeps_kinds = true;
      for (std::size_t i = 0; i < names.size(); ++i) {
        keeps_kinds = keeps_kinds && run.threads_[i].kind == run.threads_[names[i]].kind;
      }
      if (keeps_kinds) {
        namings_.push_back(names);
      }
    } while (std::next_permutation(names.begin(), names.end()));
  }

  // The same for states that differ by the numbers of equal threads alone.
  std::uint64_t state(const Explorer& run, const Scene& scene) {
    described_.assign(run.threads_.size(), {});
    for (std::size_t i = 0; i < run.threads_.size(); ++i) {
      const Explorer::Thread& thread = run.threads_[i];
      Notes& notes = described_[i];
      notes = thread.notes;
      notes.add(thread.is_done ? 1 : 0);
      notes.add(thread.asleep_at != nullptr ? 1 : 0);
      scene.describe_thread(i, notes);
    }
    Notes rest;
    scene.describe_rest(rest);
    std::uint64_t least = ~std::uint64_t{0};
    std::array<std::size_t, kThreadsMax> order = {};
    for (const Names& names : namings_) {
      for (std::size_t i = 0; i < names.size(); ++i) {
        order[names[i]] = i;
      }
      std::uint64_t hash = mixed(1, rest, names);
      for (std::size_t i = 0; i < names.size(); ++i) {
        hash = mixed(hash, described_[order[i]], names);
      }
      least = std::min(least, hash);
    }
    return least;
  }

  const SceneMaker& make_scene_;
  Explored result_;
  std::unordered_set<std::uint64_t> met_;
  std::vector<Fork> path_;
  std::vector<Names> namings_;
  std::vector<Notes> described_;
};

Explored explore(const SceneMaker& make_scene) {
  return Exploration(make_scene).run();
}

}  // namespace orsin

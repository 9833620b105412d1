// Ten thousand numbered lines a second from four threads; log_check.h reads them back.
#include <algorithm>
#include <string>

#include "orsincore/log.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 4;
constexpr double kLinesASecond = 10'000.0 / kThreads;
constexpr int kBurst = 100;
constexpr double kBacklogSeconds =
    0.5;  // What was missed beyond it, at a rest, is not made up for.
constexpr std::string_view kWords =
    "the quick brown fox jumps over the lazy dog and reads the take once more from its beginning";

class LogWork : public Work {
 public:
  LogWork(int writer, std::uint64_t seed) : Work("log", seed), writer_(writer) {}

  void step() override {
    for (int i = 0; i < kBurst; ++i) {
      write_line();
    }
    count_done(kBurst);
    wait_for_the_next_burst();
  }

 private:
  void write_line() {
    const auto length =
        static_cast<int>(1 + dice_.below(static_cast<std::uint32_t>(kWords.size())));
    const unsigned long long number = number_++;
    expect(msginfo("soak %d %llu %.*s %llu", writer_, number, length, kWords.data(), number) == 1,
           "a line was not written");
    if (dice_.once_in(50)) {
      msgcont("and this belongs to it");
      msgdebug("below the level of the log");
      msgwarn("said twice");
      msgwarn("said twice");
    }
  }

  void wait_for_the_next_burst() {
    const double now = mp_getclock();
    due_ = std::max(due_, now - kBacklogSeconds) + kBurst / kLinesASecond;
    if (due_ > now) {
      mp_timedwait(static_cast<long long>((due_ - now) * 1e9));
    }
  }

  int writer_;
  unsigned long long number_ = 0;
  double due_ = 0.0;
};

}  // namespace

Works log_works(std::uint64_t seed) {
  Works works;
  for (int i = 0; i < kThreads; ++i) {
    works.push_back(std::make_unique<LogWork>(i, seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak

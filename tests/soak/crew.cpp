// Orders and rests, over the library's own threads, mutexes and conditions.
#include "tests/soak/crew.h"

#include <utility>

#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "tests/soak/log_check.h"

namespace orsin::soak {
namespace {

constexpr std::size_t kFaultsMax = 10;  // A work that fails every time shall not fill the memory.
constexpr long long kSecondNs = 1'000'000'000;
constexpr int kDeadlineSeconds = 120;

class Guard {
 public:
  explicit Guard(__mutex_str* mutex) : mutex_(mutex) { mp_get_mutex(mutex_); }
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() { mp_release_mutex(mutex_); }

 private:
  __mutex_str* mutex_;
};

}  // namespace

bool Work::expect(bool holds, const std::string& claim) {
  if (!holds && faults_.size() < kFaultsMax) {
    faults_.push_back(claim);
    msgwarn("%s%s: %s", LogCheck::kFault.data(), family_.c_str(), claim.c_str());
  }
  return holds;
}

Crew::Crew() : mutex_(mp_new_mutex(0, 0)), changed_(mp_new_cond_block()) {}

Crew::~Crew() {
  mp_delete_cond_block(changed_);
  mp_delete_mutex(mutex_);
}

void Crew::add(std::unique_ptr<Work> work) {
  members_.push_back(std::make_unique<Member>());
  members_.back()->crew = this;
  members_.back()->work = std::move(work);
}

std::vector<const Work*> Crew::works() const {
  std::vector<const Work*> works;
  for (const auto& member : members_) {
    works.push_back(member->work.get());
  }
  return works;
}

bool Crew::start() {
  constexpr unsigned int kRefused = 0xFFFFFFFF;
  for (const auto& member : members_) {
    member->thread = mp_start_thread(member->work->family().c_str(), run, member.get());
    if (member->thread == kRefused) {
      return false;
    }
  }
  return true;
}

std::string Crew::rest() {
  const Guard guard(mutex_);
  order_ = Order::kRest;
  for (int second = 0; second < kDeadlineSeconds && !busy_families().empty();) {
    second += mp_cond_timedwait(changed_, mutex_, kSecondNs) == 0 ? 1 : 0;
  }
  return busy_families();
}

void Crew::go_on() {
  const Guard guard(mutex_);
  order_ = Order::kWork;
  mp_cond_broadcast(changed_);
}

bool Crew::stop() {
  {
    const Guard guard(mutex_);
    order_ = Order::kStop;
    mp_cond_broadcast(changed_);
  }
  bool all = true;
  for (const auto& member : members_) {
    all = mp_join_thread(member->thread, kDeadlineSeconds * 1000) == 1 && all;
  }
  return all;
}

void Crew::run(void* member) {
  auto& self = *static_cast<Member*>(member);
  while (self.crew->take_orders(self)) {
    self.work->step();
  }
}

// Rests as long as that is the order. False: the thread is to end.
bool Crew::take_orders(Member& member) {
  const Guard guard(mutex_);
  if (order_ == Order::kRest) {
    member.rests = true;
    mp_cond_broadcast(changed_);
    while (order_ == Order::kRest) {
      mp_cond_wait(changed_, mutex_);
    }
    member.rests = false;
  }
  return order_ != Order::kStop;
}

std::string Crew::busy_families() const {
  std::string names;
  for (const auto& member : members_) {
    if (!member->rests) {
      names += (names.empty() ? "" : ", ") + member->work->family();
    }
  }
  return names;
}

}  // namespace orsin::soak
